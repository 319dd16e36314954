#include <gtest/gtest.h>

#include "ArchiveWriting.h"
#include "Decoders.h"
#include "RecordingContext.h"

namespace harvest {
namespace {

using testing::fixture;

TEST(PdfDecoder, ReadsEachPageAndTheAuthor) {
    for (const char* name : {"two-pages.pdf", "two-pages-owner.pdf"}) {
        SCOPED_TRACE(name);
        const std::string bytes = fixture(name);
        ASSERT_FALSE(bytes.empty()) << "GLEANMARK_TEST_DATA not set?";
        RecordingContext context;
        decodePdf(testing::blob(bytes, "a.pdf", 0), context);
        EXPECT_TRUE(context.problems.empty());
        ASSERT_EQ(context.pieces.size(), 3u);
        EXPECT_EQ(context.pieces[0].origin.page, 1);
        EXPECT_NE(context.pieces[0].text.find("ann.lee@example.org"), std::string::npos);
        EXPECT_EQ(context.pieces[1].origin.page, 2);
        EXPECT_NE(context.pieces[1].text.find("bob@example.net"), std::string::npos);
        EXPECT_GT(context.pieces[1].firstLine, context.pieces[0].firstLine);
        EXPECT_GT(context.pieces[1].firstOffset, context.pieces[0].firstOffset);
        EXPECT_EQ(context.pieces[2].origin.field, "metadata");
        EXPECT_FALSE(context.pieces[2].origin.page.has_value());
        EXPECT_NE(context.pieces[2].text.find("carol@example.com"), std::string::npos);
        for (const TextPiece& piece : context.pieces) {
            EXPECT_EQ(piece.origin.source, "a.pdf");
        }
    }
}

TEST(PdfDecoder, UnreadablePdfsAreProblems) {
    const std::string good = fixture("two-pages.pdf");
    struct Case {
        const char* what;
        std::string bytes;
        std::int64_t maxDocumentBytes;
        const char* reason;
    };
    const Case cases[] = {
        {"locked", fixture("two-pages-locked.pdf"), 1 << 20, "encrypted PDF: a password is needed"},
        {"truncated", good.substr(0, good.size() / 2), 1 << 20, "damaged PDF"},
        {"not a PDF", "hello, world", 1 << 20, "damaged PDF"},
        {"empty", "", 1 << 20, "damaged PDF"},
        {"too large", good, 100, "larger than"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        RecordingContext context;
        context.limitsInUse.maxDocumentBytes = c.maxDocumentBytes;
        decodePdf(testing::blob(c.bytes, "b.pdf", 0), context);
        ASSERT_FALSE(context.problems.empty());
        EXPECT_EQ(context.problems[0].source, "b.pdf");
        EXPECT_NE(context.problems[0].reason.find(c.reason), std::string::npos)
            << context.problems[0].reason;
        // Whatever poppler rebuilds of a cut-off file is still read.
        for (const TextPiece& piece : context.pieces) {
            EXPECT_EQ(piece.origin.source, "b.pdf");
        }
    }
}

}  // namespace
}  // namespace harvest

#include <gtest/gtest.h>
#include <sys/resource.h>

#include "ArchiveWriting.h"
#include "Decoders.h"
#include "RecordingContext.h"

namespace harvest {
namespace {

using testing::Member;
using testing::noise;
using testing::zip;

const std::string kW =
    R"(xmlns:w="http://schemas.openxmlformats.org/wordprocessingml/2006/main" )"
    R"(xmlns:r="http://schemas.openxmlformats.org/officeDocument/2006/relationships")";
const std::string kContentTypes = R"(<?xml version="1.0"?><Types/>)";
const std::string kCore =
    R"(<cp:coreProperties xmlns:cp="http://schemas.openxmlformats.org/package/2006/metadata/core-properties" )"
    R"(xmlns:dc="http://purl.org/dc/elements/1.1/"><dc:creator>Dana Kim</dc:creator>)"
    R"(<cp:lastModifiedBy>dana@example.com</cp:lastModifiedBy></cp:coreProperties>)";
const std::string kODF = R"(xmlns:office="urn:oasis:names:tc:opendocument:xmlns:office:1.0" )"
                         R"(xmlns:text="urn:oasis:names:tc:opendocument:xmlns:text:1.0" )"
                         R"(xmlns:table="urn:oasis:names:tc:opendocument:xmlns:table:1.0" )"
                         R"(xmlns:style="urn:oasis:names:tc:opendocument:xmlns:style:1.0" )"
                         R"(xmlns:xlink="http://www.w3.org/1999/xlink")";

struct DocumentCase {
    const char* file;
    std::vector<Member> members;
    std::string firstText;           // in the first piece: the main part comes first
    std::vector<std::string> texts;  // anywhere in the text
    std::string absent;              // nowhere in the text
    std::string metadata;            // in the piece with field "metadata"
    NameHint name;                   // a mailto: link's text
};

std::vector<DocumentCase> documentCases() {
    return {
        {"report.docx",
         {{"[Content_Types].xml", kContentTypes},
          {"docProps/core.xml", kCore},
          {"word/header1.xml",
           "<w:hdr " + kW + "><w:p><w:r><w:t>head@example.com</w:t></w:r></w:p></w:hdr>"},
          {"word/_rels/document.xml.rels",
           R"(<Relationships><Relationship Id="rId5" Target="mailto:bob%40example.org" TargetMode="External"/>)"
           R"(<Relationship Id="rId6" Target="styles.xml"/></Relationships>)"},
          {"word/document.xml",
           "<w:document " + kW +
               "><w:body>"
               "<w:p><w:r><w:t>Write to ann</w:t></w:r><w:r><w:t>@example.org</w:t></w:r></w:p>"
               "<w:p><w:r><w:t>Next</w:t><w:tab/><w:t>line</w:t><w:br/><w:t>broken</w:t></w:r></"
               "w:p>"
               "<w:tbl><w:tr><w:tc><w:p><w:r><w:t>cell1</w:t></w:r></w:p></w:tc>"
               "<w:tc><w:p><w:r><w:t>cell2</w:t></w:r></w:p></w:tc></w:tr></w:tbl>"
               "<w:p><w:hyperlink r:id=\"rId5\"><w:r><w:t>Bob Stone</w:t></w:r></w:hyperlink></w:p>"
               "<w:p><w:del><w:r><w:delText>gone@example.org</w:delText></w:r></w:del></w:p>"
               "</w:body></w:document>"}},
         "Write to ann@example.org\nNext\tline\nbroken",
         {"cell1", "cell2", "head@example.com", "mailto:bob@example.org"},
         "gone@example.org",
         "dana@example.com",
         {"bob@example.org", "Bob Stone"}},
        {"sheet.xlsx",
         {{"[Content_Types].xml", kContentTypes},
          {"xl/worksheets/sheet1.xml",
           R"(<worksheet xmlns="http://schemas.openxmlformats.org/spreadsheetml/2006/main"><sheetData>)"
           R"(<row><c t="s"><v>0</v></c><c t="inlineStr"><is><t>inline@example.com</t></is></c></row>)"
           R"(<row><c><v>4242</v></c></row></sheetData></worksheet>)"},
          {"xl/sharedStrings.xml",
           R"(<sst xmlns="http://schemas.openxmlformats.org/spreadsheetml/2006/main">)"
           R"(<si><t>sales@example.com</t></si><si><r><t>rich</t></r><r><t>text</t></r></si></sst>)"},
          {"xl/worksheets/_rels/sheet1.xml.rels",
           R"(<Relationships><Relationship Id="rId1" Target="https://example.com/team"/></Relationships>)"}},
         "sales@example.com\nrichtext",
         {"inline@example.com", "https://example.com/team"},
         "4242",
         "",
         {}},
        {"deck.pptx",
         {{"[Content_Types].xml", kContentTypes},
          {"ppt/slides/slide10.xml",
           R"(<p:sld xmlns:p="p" xmlns:a="http://schemas.openxmlformats.org/drawingml/2006/main">)"
           R"(<a:p><a:r><a:t>tenth</a:t></a:r></a:p></p:sld>)"},
          {"ppt/slides/slide2.xml",
           R"(<p:sld xmlns:p="p" xmlns:a="http://schemas.openxmlformats.org/drawingml/2006/main">)"
           R"(<a:p><a:r><a:t>second slide</a:t></a:r></a:p></p:sld>)"},
          {"ppt/notesSlides/notesSlide1.xml",
           R"(<p:notes xmlns:p="p" xmlns:a="http://schemas.openxmlformats.org/drawingml/2006/main">)"
           R"(<a:p><a:r><a:t>notes@example.com</a:t></a:r></a:p></p:notes>)"}},
         "second slide",
         {"tenth", "notes@example.com"},
         "",
         "",
         {}},
        {"letter.odt",
         {{"mimetype", "application/vnd.oasis.opendocument.text"},
          {"meta.xml",
           R"(<office:document-meta xmlns:office="urn:oasis:names:tc:opendocument:xmlns:office:1.0" )"
           R"(xmlns:meta="urn:oasis:names:tc:opendocument:xmlns:meta:1.0"><office:meta>)"
           R"(<meta:initial-creator>eve@example.com</meta:initial-creator></office:meta></office:document-meta>)"},
          {"styles.xml", "<office:document-styles " + kODF +
                             "><style:header><text:p>footer@example.com</text:p></style:header></"
                             "office:document-styles>"},
          {"content.xml",
           "<office:document-content " + kODF +
               "><office:body><office:text>"
               "<text:p>Ask <text:span>fay</text:span><text:span>@example.org</text:span>"
               "<text:s text:c=\"2\"/>now<text:tab/>tabbed<text:line-break/>down</text:p>"
               "<table:table><table:table-row><table:table-cell><text:p>c1</text:p></"
               "table:table-cell>"
               "<table:table-cell><text:p>c2</text:p></table:table-cell></table:table-row></"
               "table:table>"
               "<text:p><text:a xlink:href=\"mailto:gus@example.org\">Gus Hall</text:a></text:p>"
               "</office:text></office:body></office:document-content>"}},
         "Ask fay@example.org  now\ttabbed\ndown",
         {"c1\t", "c2", "footer@example.com", "mailto:gus@example.org"},
         "",
         "eve@example.com",
         {"gus@example.org", "Gus Hall"}},
    };
}

TEST(ZipDecoder, ReadsOfficeDocumentsAsOneSource) {
    for (const DocumentCase& c : documentCases()) {
        SCOPED_TRACE(c.file);
        const std::string bytes = zip(c.members);
        RecordingContext context;
        decodeZip(testing::blob(bytes, c.file, 0), context);
        EXPECT_TRUE(context.problems.empty());
        EXPECT_TRUE(context.nestedSources.empty());
        ASSERT_FALSE(context.pieces.empty());
        EXPECT_EQ(context.pieces[0].text.find(c.firstText), 0u) << context.pieces[0].text;
        const std::string all = context.allText();
        for (const std::string& text : c.texts) {
            EXPECT_NE(all.find(text), std::string::npos) << text << " in\n" << all;
        }
        if (!c.absent.empty()) {
            EXPECT_EQ(all.find(c.absent), std::string::npos);
        }
        std::string metadata;
        std::vector<NameHint> names;
        for (size_t i = 0; i < context.pieces.size(); ++i) {
            const TextPiece& piece = context.pieces[i];
            EXPECT_EQ(piece.origin.source, c.file);
            if (piece.origin.field == "metadata") {
                metadata += piece.text;
            }
            names.insert(names.end(), piece.names.begin(), piece.names.end());
            if (i > 0) {
                EXPECT_GT(piece.firstOffset, context.pieces[i - 1].firstOffset);
            }
        }
        EXPECT_NE(metadata.find(c.metadata), std::string::npos) << metadata;
        if (!c.name.address.empty()) {
            ASSERT_EQ(names.size(), 1u);
            EXPECT_EQ(names[0].address, c.name.address);
            EXPECT_EQ(names[0].name, c.name.name);
        }
    }
}

TEST(ZipDecoder, HandsEpubPagesOnAndReadsItsMetadata) {
    const std::string bytes = zip(
        {{"mimetype", "application/epub+zip"},
         {"OEBPS/content.opf",
          R"(<package xmlns="http://www.idpf.org/2007/opf" xmlns:dc="http://purl.org/dc/elements/1.1/">)"
          R"(<metadata><dc:creator>Hal Ito</dc:creator><dc:publisher>books@example.com</dc:publisher>)"
          R"(</metadata><manifest><item id="c1" href="ch1.xhtml"/></manifest></package>)"},
         {"OEBPS/ch1.xhtml", "<html><body>ida@example.org</body></html>"},
         {"OEBPS/cover.png", "\x89PNG"}});
    RecordingContext context;
    decodeZip(testing::blob(bytes, "book.epub", 2), context);
    ASSERT_EQ(context.nestedSources.size(), 1u);
    EXPECT_EQ(context.nestedSources[0].origin.source, "book.epub!OEBPS/ch1.xhtml");
    EXPECT_EQ(context.nestedSources[0].depth, 3);
    ASSERT_EQ(context.pieces.size(), 1u);
    EXPECT_EQ(context.pieces[0].origin.field, "metadata");
    EXPECT_EQ(context.pieces[0].text, "Hal Ito\nbooks@example.com\n");
}

TEST(ZipDecoder, HandsMembersOfAContainerOnInOrder) {
    const std::string pdf = testing::fixture("two-pages.pdf");
    const std::string bytes =
        zip({{"inner/", "", true}, {"inner/a.pdf", pdf}, {"notes.txt", "jo@example.org"}});
    RecordingContext context;
    context.onNested = [](const Blob& blob, DecodeContext& inner) {
        if (blob.bytes.starts_with("%PDF")) {
            decodePdf(blob, inner);
        }
    };
    decodeZip(testing::blob(bytes, "outer.zip", 0), context);
    EXPECT_TRUE(context.problems.empty());
    ASSERT_EQ(context.nestedSources.size(), 2u);
    EXPECT_EQ(context.nestedSources[0].origin.source, "outer.zip!inner/a.pdf");
    EXPECT_EQ(context.nestedSources[0].bytes, pdf);
    EXPECT_EQ(context.nestedSources[1].origin.source, "outer.zip!notes.txt");
    EXPECT_EQ(context.nestedSources[1].depth, 1);
    ASSERT_FALSE(context.pieces.empty());
    EXPECT_EQ(context.pieces[0].origin.source, "outer.zip!inner/a.pdf");
    EXPECT_EQ(context.pieces[0].origin.page, 1);
}

TEST(ZipDecoder, DamagedZipKeepsTheMembersItCanRead) {
    const std::string good =
        zip({{"1.txt", noise(20000, 1)}, {"2.txt", noise(20000, 2)}, {"3.txt", noise(20000, 3)}});
    std::string mangled = good;
    const size_t middle = mangled.find("2.txt") + 2000;  // inside the second member's data
    for (size_t i = middle; i < middle + 64; ++i) {
        mangled[i] = static_cast<char>(mangled[i] ^ 0x5a);
    }
    struct Case {
        const char* what;
        std::string bytes;
        std::vector<std::string> handedOn;
    };
    // With its central directory whole, the zip goes on after the damage;
    // cut off, it is read by its local headers up to the damage.
    const Case cases[] = {
        {"mangled in the middle", mangled, {"1.txt", "3.txt"}},
        {"cut off in the middle", good.substr(0, good.size() / 2), {"1.txt"}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        RecordingContext context;
        decodeZip(testing::blob(c.bytes, "bad.zip", 0), context);
        ASSERT_EQ(context.nestedSources.size(), c.handedOn.size());
        for (size_t i = 0; i < c.handedOn.size(); ++i) {
            EXPECT_EQ(context.nestedSources[i].origin.source, "bad.zip!" + c.handedOn[i]);
            EXPECT_EQ(context.nestedSources[i].bytes,
                      noise(20000, static_cast<unsigned>(c.handedOn[i][0] - '0')));
        }
        ASSERT_EQ(context.problems.size(), 1u);
        EXPECT_EQ(context.problems[0].source, "bad.zip!2.txt");
        EXPECT_TRUE(context.problems[0].reason.starts_with("damaged zip: "))
            << context.problems[0].reason;
    }
}

TEST(ZipDecoder, EncryptedMemberIsAProblemAndTheOthersGoOn) {
    const std::string bytes = testing::writeArchive(
        {{"secret.txt", "kim@example.org"}, {"open.txt", "lou@example.org"}}, ARCHIVE_FORMAT_ZIP,
        ARCHIVE_FILTER_NONE, "zip:encryption=zipcrypt", "pass");
    RecordingContext context;
    decodeZip(testing::blob(bytes, "e.zip", 0), context);
    ASSERT_EQ(context.problems.size(), 2u);
    EXPECT_EQ(context.problems[0].source, "e.zip!secret.txt");
    EXPECT_NE(context.problems[0].reason.find("password"), std::string::npos);
    EXPECT_EQ(context.problems[1].source, "e.zip!open.txt");
    EXPECT_TRUE(context.nestedSources.empty());
}

// Runs nested zips through decodeZip again, as the dispatcher would, and
// forgets the bytes it was handed so that only the decoders' memory counts.
void decodeNestedZips(RecordingContext& context, int* deepest = nullptr) {
    context.onNested = [&context, deepest](const Blob& blob, DecodeContext& inner) {
        const std::string bytes(blob.bytes);
        const Origin origin = blob.origin;
        context.nestedSources.pop_back();
        if (deepest) {
            EXPECT_EQ(blob.depth, *deepest + 1);
            *deepest = blob.depth;
        }
        if (bytes.starts_with("PK")) {
            decodeZip(Blob{bytes, origin, blob.depth}, inner);
        } else {
            context.nestedSources.push_back({"", origin, blob.depth});
        }
    };
}

TEST(ZipDecoder, ZipsNestedTwentyDeepReachEveryDepth) {
    std::string bytes = zip({{"leaf.txt", "max@example.org"}});
    for (int level = 19; level >= 1; --level) {
        bytes = zip({{"z" + std::to_string(level) + ".zip", bytes}});
    }
    RecordingContext context;
    int deepest = 0;
    decodeNestedZips(context, &deepest);
    decodeZip(testing::blob(bytes, "z0.zip", 0), context);
    EXPECT_EQ(deepest, 20);
    ASSERT_EQ(context.nestedSources.size(), 1u);
    EXPECT_EQ(context.nestedSources[0].depth, 20);
    EXPECT_TRUE(context.nestedSources[0].origin.source.starts_with("z0.zip!z1.zip!z2.zip!"));
    EXPECT_TRUE(context.nestedSources[0].origin.source.ends_with("!z19.zip!leaf.txt"));
}

long maxResidentKb() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss;
}

TEST(ZipDecoder, StopsAZipBombQuicklyInLittleMemory) {
    // Ten leaves of 10 MB of zeros a zip, three levels: 10 GB from a few KB.
    std::string level = zip({{"zeros.bin", std::string(10 << 20, '\0')}});
    for (int depth = 0; depth < 3; ++depth) {
        std::vector<Member> members;
        for (int i = 0; i < 10; ++i) {
            members.push_back({std::to_string(i) + ".zip", level});
        }
        level = zip(members);
    }
    ASSERT_LT(level.size(), 16u << 10);
    const long before = maxResidentKb();
    RecordingContext context;
    decodeNestedZips(context);
    decodeZip(testing::blob(level, "bomb.zip", 0), context);
    EXPECT_LT(maxResidentKb() - before, 64 << 10);
    ASSERT_EQ(context.problems.size(), 1u);
    EXPECT_TRUE(context.problems[0].source.starts_with("bomb.zip!0.zip!0.zip!"));
    // Caught by its steepness in the first leaf, long before the total limit.
    EXPECT_NE(context.problems[0].reason.find("times over; a zip bomb?"), std::string::npos);
    EXPECT_TRUE(context.nestedSources.empty());
}

TEST(ZipDecoder, LimitsSkipAMemberOrStopTheSource) {
    struct Case {
        const char* what;
        std::int64_t maxMemberBytes;
        std::int64_t maxExpandedBytes;
        std::vector<std::string> handedOn;
        std::string problemSource;
        std::string reason;
    };
    const Case cases[] = {
        {"member too large",
         1 << 20,
         1LL << 30,
         {"l.zip!a", "l.zip!c"},
         "l.zip!b",
         "larger than 1 MB; skipped"},
        {"source too large",
         16 << 20,
         2 << 20,
         {"l.zip!a"},
         "l.zip!b",
         "expands to more than 2 MB; a zip bomb?"},
    };
    const std::string bytes =
        zip({{"a", noise(1 << 20, 4)}, {"b", noise(2 << 20, 5)}, {"c", noise(1 << 20, 6)}},
            "zip:compression=store");
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        RecordingContext context;
        context.limitsInUse.maxMemberBytes = c.maxMemberBytes;
        context.limitsInUse.maxExpandedBytes = c.maxExpandedBytes;
        decodeZip(testing::blob(bytes, "l.zip", 0), context);
        std::vector<std::string> handedOn;
        for (const NestedSource& source : context.nestedSources) {
            handedOn.push_back(source.origin.source);
        }
        EXPECT_EQ(handedOn, c.handedOn);
        ASSERT_EQ(context.problems.size(), 1u);
        EXPECT_EQ(context.problems[0].source, c.problemSource);
        EXPECT_EQ(context.problems[0].reason, c.reason);
    }
}

}  // namespace
}  // namespace harvest

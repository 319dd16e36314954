// Compressed files read as streams are checked against the same content
// decoded whole: decodeText and decodeMbox on the expanded bytes are the
// reference for every piece, line, offset and message number.
#include "CompressedStream.h"

#include <gtest/gtest.h>

#include <tuple>

#include "ArchiveWriting.h"
#include "Decoders.h"
#include "Finders.h"
#include "RecordingContext.h"
#include "TempDir.h"

namespace harvest {
namespace {

using testing::Member;
using testing::writeArchive;

// Small pieces, long lines and blocks, so that small inputs cross many cuts.
constexpr StreamCuts kSmall{4096, 1024, 256, 1000};

class CompressedStream : public ::testing::Test {
protected:
    std::string file(const std::string& name, const std::string& bytes) {
        return dir_.write(name, bytes);
    }
    bool decode(const std::string& path, RecordingContext& context, StreamCuts cuts = kSmall) {
        return decodeCompressedFile(path, Origin{path, {}, {}, {}, {}, {}, {}}, context, cuts);
    }

    TempDir dir_;
};

std::string compress(const std::string& bytes, int filter) {
    if (filter == ARCHIVE_FILTER_GZIP) {
        return testing::gzip(bytes);
    }
    // Small bzip2 blocks, so that a cut stream still holds whole ones.
    const char* options = filter == ARCHIVE_FILTER_BZIP2 ? "bzip2:compression-level=1" : nullptr;
    return writeArchive({{"data", bytes}}, ARCHIVE_FORMAT_RAW, filter, options);
}

using Found = std::tuple<std::string, std::int64_t, std::int64_t>;  // address, line, offset

std::vector<Found> found(const std::vector<TextPiece>& pieces) {
    Finders finders;
    std::vector<Sighting> sightings;
    for (const TextPiece& piece : pieces) {
        finders.find(piece, sightings);
    }
    std::vector<Found> out;
    for (const Sighting& s : sightings) {
        out.emplace_back(s.address, s.line, s.offset);
    }
    return out;
}

// The pieces must join up to the whole text, each numbered from the ones before.
void expectJoined(const std::vector<TextPiece>& pieces, const std::string& whole) {
    std::string joined;
    std::int64_t line = 1;
    for (const TextPiece& piece : pieces) {
        EXPECT_EQ(piece.firstOffset, static_cast<std::int64_t>(joined.size()));
        EXPECT_EQ(piece.firstLine, line);
        joined += piece.text;
        line += std::count(piece.text.begin(), piece.text.end(), '\n');
    }
    EXPECT_EQ(joined, whole);
}

// Lines of words and addresses, some of them longer than a piece's long-line
// bound, in the charset the text is made for.
std::string sampleText(std::size_t size, const std::string& accented) {
    std::string text;
    for (int i = 0; text.size() < size; ++i) {
        text += "line " + std::to_string(i) + " " + accented + " <user" + std::to_string(i) +
                "@example.com> and www.site" + std::to_string(i % 7) + ".org\n";
        if (i % 40 == 39) {  // a line without ends, cut at a space
            text += testing::noise(3000, i) + " long" + std::to_string(i) + "@example.net " +
                    testing::noise(2000, i + 1) + "\n";
        }
    }
    return text;
}

struct TextCase {
    const char* name;
    int filter;
    std::string text;
    std::string inner;
};

TEST_F(CompressedStream, TextPiecesEqualTheWholeDecoding) {
    const std::string utf8 = sampleText(150000, "Zo\xC3\xAB");
    const std::string latin1 = sampleText(150000, "Zo\xEB");
    const std::string marked = "\xEF\xBB\xBF" + utf8;
    const TextCase cases[] = {
        {"notes.txt.gz", ARCHIVE_FILTER_GZIP, utf8, "notes.txt"},
        {"latin.txt.gz", ARCHIVE_FILTER_GZIP, latin1, "latin.txt"},
        {"marked.gz", ARCHIVE_FILTER_GZIP, marked, "marked"},
        {"log.txt.bz2", ARCHIVE_FILTER_BZIP2, utf8, "log.txt"},
        {"dump.xz", ARCHIVE_FILTER_XZ, latin1, "dump"},
    };
    for (const TextCase& c : cases) {
        SCOPED_TRACE(c.name);
        const std::string path = file(c.name, compress(c.text, c.filter));
        RecordingContext whole;
        decodeText(testing::blob(c.text, path + "!" + c.inner, 1), whole);
        RecordingContext streamed;
        ASSERT_TRUE(decode(path, streamed));
        EXPECT_TRUE(streamed.problems.empty());
        EXPECT_GT(streamed.pieces.size(), 30u);
        for (const TextPiece& piece : streamed.pieces) {
            EXPECT_EQ(piece.origin.source, path + "!" + c.inner);
            EXPECT_LE(piece.text.size(), 4096u + 100);
        }
        expectJoined(streamed.pieces, whole.pieces.at(0).text);
        EXPECT_EQ(found(streamed.pieces), found(whole.pieces));
        EXPECT_EQ(streamed.expanded, static_cast<std::int64_t>(c.text.size()));
    }
}

TEST_F(CompressedStream, WhatTouchesACutIsFoundWhole) {
    auto check = [&](const std::string& text) {
        const std::string path = file("cut.gz", testing::gzip(text));
        RecordingContext whole;
        decodeText(testing::blob(text, path + "!cut", 1), whole);
        RecordingContext streamed;
        ASSERT_TRUE(decode(path, streamed));
        ASSERT_GT(streamed.pieces.size(), 1u);
        expectJoined(streamed.pieces, whole.pieces.at(0).text);
        EXPECT_EQ(found(streamed.pieces), found(whole.pieces));
    };
    // In a Latin-1 text, a line at every position around the first cut; one
    // of them starts like a UTF-8 byte-order mark, which is text here.
    const std::string lines[] = {
        "amy@example.org\n",
        "\xEF\xBB\xBF"
        "bob@example.org starts like a byte-order mark\n",
    };
    for (const std::string& line : lines) {
        for (std::size_t at = 4096 - 60; at <= 4096 + 4; ++at) {
            SCOPED_TRACE(line.substr(0, 20) + " at " + std::to_string(at));
            std::string text;
            while (text.size() + 11 <= at) {
                text += "caf\xE9 1234\n";
            }
            check(text + std::string(at - text.size() - 1, '.') + "\n" + line + text);
        }
    }
    // An address at every position around the cut of a line without ends.
    const std::string words[] = {"word ", "w<>", "\"w\""};
    for (const std::string& word : words) {
        for (std::size_t at = 4096 - 20; at <= 4096 + 4; ++at) {
            SCOPED_TRACE(word + " at " + std::to_string(at));
            std::string text;
            while (text.size() + word.size() <= at) {
                text += word;
            }
            text += std::string(at - text.size(), ' ') + "cy@example.org ";
            while (text.size() < 6000) {
                text += word;
            }
            check(text);
        }
    }
}

std::string sampleMbox(int messages) {
    std::string mbox;
    for (int i = 1; i <= messages; ++i) {
        // Some separators end in a year, some are known by the header field after them.
        mbox += "From sender" + std::to_string(i) +
                (i % 4 == 1 ? "@example.com\n" : "@example.com Mon Jan  1 00:00:00 2024\n");
        mbox += "From: Sender " + std::to_string(i) + " <sender" + std::to_string(i) +
                "@example.com>\nTo: list@example.org\nMessage-ID: <m" + std::to_string(i) +
                "@example.com>\nSubject: note\n\n";
        mbox += "Body of " + std::to_string(i) + ", write to reply" + std::to_string(i) +
                "@example.net\n";
        if (i % 3 == 0) {
            mbox += "\n>From the quoted line\nFrom here, not a separator\n\nFrom the desk of " +
                    std::to_string(i) + ", not one either\nregards\n";
        }
        mbox += testing::noise(static_cast<std::size_t>(100 + (i * 37) % 700), i) + "\n\n";
    }
    return mbox;
}

using PieceKey = std::tuple<std::string, std::optional<int>, std::string, std::string, std::string,
                            std::int64_t>;

std::vector<PieceKey> keys(const RecordingContext& context) {
    std::vector<PieceKey> out;
    for (const TextPiece& p : context.pieces) {
        out.emplace_back(p.origin.source, p.origin.message, p.origin.messageId, p.origin.field,
                         p.text, p.firstLine);
    }
    return out;
}

TEST_F(CompressedStream, MboxMessagesEqualTheWholeDecoding) {
    // With a byte-order mark, the first message comes before any separator.
    for (const std::string& mbox : {sampleMbox(60), "\xEF\xBB\xBF" + sampleMbox(60)}) {
        const std::string path = file("mail.mbox.gz", testing::gzip(mbox));
        RecordingContext whole;
        decodeMbox(testing::blob(mbox, path + "!mail.mbox", 1), whole);
        ASSERT_EQ(whole.pieces.back().origin.message, 60);
        // Blocks smaller than a separator's look-ahead, odd sizes, and one for all.
        for (std::int64_t block : {7, 97, 1000, 1 << 20}) {
            SCOPED_TRACE(std::to_string(mbox.size()) + " in blocks of " + std::to_string(block));
            RecordingContext streamed;
            StreamCuts cuts = kSmall;
            cuts.readBytes = block;
            ASSERT_TRUE(decode(path, streamed, cuts));
            EXPECT_EQ(keys(streamed), keys(whole));
            ASSERT_EQ(streamed.problems.size(), whole.problems.size());
            for (std::size_t i = 0; i < whole.problems.size(); ++i) {
                EXPECT_EQ(streamed.problems[i].reason, whole.problems[i].reason);
            }
        }
    }
}

TEST_F(CompressedStream, AMessageTooLargeIsSkippedAndTheOthersKeepTheirNumbers) {
    std::string mbox = sampleMbox(3);
    mbox +=
        "From big@example.com Mon Jan  1 00:00:00 2024\nFrom: big@example.com\n"
        "To: x@example.org\n\n" +
        testing::noise(20000, 9) + "\n\n" + sampleMbox(2);
    const std::string path = file("big.mbox.xz", compress(mbox, ARCHIVE_FILTER_XZ));
    RecordingContext streamed;
    streamed.limitsInUse.maxMemberBytes = 5000;
    ASSERT_TRUE(decode(path, streamed));
    ASSERT_EQ(streamed.problems.size(), 1u);
    EXPECT_EQ(streamed.problems[0].reason.rfind("message 4: larger than", 0), 0u);
    std::vector<int> numbers;
    for (const TextPiece& p : streamed.pieces) {
        if (numbers.empty() || numbers.back() != *p.origin.message) {
            numbers.push_back(*p.origin.message);
        }
        EXPECT_EQ(p.text.find("big@"), std::string::npos);
    }
    EXPECT_EQ(numbers, (std::vector<int>{1, 2, 3, 5, 6}));
}

TEST_F(CompressedStream, ADamagedStreamIsOneProblemAndKeepsWhatCameBefore) {
    const std::string text = sampleText(600000, "plain");
    for (int filter : {ARCHIVE_FILTER_GZIP, ARCHIVE_FILTER_BZIP2, ARCHIVE_FILTER_XZ}) {
        SCOPED_TRACE(filter);
        const std::string packed = compress(text, filter);
        const std::string path = file("cut.gz", packed.substr(0, packed.size() * 6 / 10));
        RecordingContext streamed;
        ASSERT_TRUE(decode(path, streamed));
        ASSERT_EQ(streamed.problems.size(), 1u);
        EXPECT_EQ(streamed.problems[0].source, path + "!cut");
        const std::string kept = streamed.allText();
        EXPECT_GT(kept.size(), text.size() / 3);
        std::string joined;
        for (const TextPiece& p : streamed.pieces) {
            joined += p.text;
        }
        EXPECT_EQ(text.substr(0, joined.size()), joined);
    }
}

TEST_F(CompressedStream, ABombStopsAtTheLimits) {
    struct Case {
        const char* name;
        std::string text;
        Limits limits;
        const char* reason;
    };
    Limits low;
    low.maxExpandedBytes = 300000;
    const Case cases[] = {
        {"a.gz", std::string(8 << 20, 'a'), {}, "times over"},
        {"a.bz2", std::string(8 << 20, 'a'), {}, "times over"},
        {"a.xz", std::string(8 << 20, 'a'), {}, "times over"},
        {"lines.gz", sampleText(600000, "x"), low, "expands to more than"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        const std::string name = c.name;
        const int filter = name.ends_with(".bz2")  ? ARCHIVE_FILTER_BZIP2
                           : name.ends_with(".xz") ? ARCHIVE_FILTER_XZ
                                                   : ARCHIVE_FILTER_GZIP;
        const std::string path = file(c.name, compress(c.text, filter));
        RecordingContext streamed;
        streamed.limitsInUse = c.limits;
        ASSERT_TRUE(decode(path, streamed));
        ASSERT_EQ(streamed.problems.size(), 1u);
        EXPECT_NE(streamed.problems[0].reason.find(c.reason), std::string::npos);
        EXPECT_LT(streamed.allText().size(), 2u << 20);
    }
}

TEST_F(CompressedStream, OtherContentIsLeftToTheCaller) {
    const std::string text = "amy@example.org\n";
    const std::string cases[][2] = {
        {"x.tar.gz",
         writeArchive({{"a.txt", text}}, ARCHIVE_FORMAT_TAR_PAX_RESTRICTED, ARCHIVE_FILTER_GZIP)},
        {"x.cpio.gz",
         writeArchive({{"a.txt", text}}, ARCHIVE_FORMAT_CPIO_POSIX, ARCHIVE_FILTER_GZIP)},
        {"doc.pdf.gz", testing::gzip("%PDF-1.4\n" + text)},
        {"page.html.gz", testing::gzip("<html><body>" + text + "</body></html>")},
        {"crawl.warc.gz", testing::gzip("WARC/1.0\r\nWARC-Type: warcinfo\r\n\r\n" + text)},
        {"wide.txt.gz", testing::gzip(std::string("\xFF\xFE\x61\0\x40\0", 6))},
        {"binary.gz", testing::gzip(std::string("\x7F"
                                                "ELF\0\0\x01\x02",
                                                8) +
                                    text)},
        {"plain.txt", text},
        {"empty.gz", testing::gzip("")},
    };
    for (const auto& [name, bytes] : cases) {
        SCOPED_TRACE(name);
        const std::string path = file(name, bytes);
        RecordingContext context;
        EXPECT_FALSE(decode(path, context));
        EXPECT_TRUE(context.pieces.empty() && context.problems.empty());
        EXPECT_EQ(context.expanded, 0);
    }
    RecordingContext missing;
    EXPECT_FALSE(decode(dir_.file("missing.gz"), missing));
    EXPECT_TRUE(missing.problems.empty());
}

}  // namespace
}  // namespace harvest

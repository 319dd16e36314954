// Sources are recognised by their first bytes, whatever their names.
#include <gtest/gtest.h>

#include <string>

#include "SourceKind.h"

namespace harvest {
namespace {

struct KindCase {
    const char* name;
    std::string bytes;
    SourceKind kind;
};

class Recognise : public ::testing::TestWithParam<KindCase> {};

TEST_P(Recognise, NamesTheKindByContent) {
    EXPECT_EQ(recognise(GetParam().bytes), GetParam().kind);
}

std::string tarHead() {
    std::string head(512, '\0');
    head.replace(0, 5, "a.txt");
    head.replace(257, 6, std::string("ustar\0", 6));
    return head;
}

INSTANTIATE_TEST_SUITE_P(
    Signatures, Recognise,
    ::testing::Values(
        KindCase{"Empty", "", SourceKind::Text},
        KindCase{"PlainText", "Write to ann@x.org\n", SourceKind::Text},
        KindCase{"Pdf", "%PDF-1.4\n%\xE2\xE3\n1 0 obj", SourceKind::Pdf},
        KindCase{"PdfAfterJunk", "junk\r\n%PDF-1.7\n", SourceKind::Pdf},
        KindCase{"Zip", std::string("PK\x03\x04\x14\0", 6), SourceKind::Zip},
        KindCase{"EmptyZip", std::string("PK\x05\x06\0\0", 6), SourceKind::Zip},
        KindCase{"Gzip", std::string("\x1F\x8B\x08\0", 4), SourceKind::Archive},
        KindCase{"Bzip2", "BZh91AY&SY", SourceKind::Archive},
        KindCase{"Xz",
                 std::string("\xFD"
                             "7zXZ\0\0",
                             7),
                 SourceKind::Archive},
        KindCase{"Tar", tarHead(), SourceKind::Archive},
        KindCase{"Warc", "WARC/1.1\r\nWARC-Type: warcinfo\r\n", SourceKind::Warc},
        KindCase{"Mail", "Return-Path: <a@x.org>\nFrom: Ann <a@x.org>\nSubject: hi\n\nbody\n",
                 SourceKind::Mail},
        KindCase{"MailWithFoldedField",
                 "Received: from a\n\tby b\r\nDate: Mon, 1 Jan 2024\r\nFrom: a@x.org\r\n\r\nx",
                 SourceKind::Mail},
        KindCase{"OneMailFieldIsText", "From: the editor\n\nDear reader", SourceKind::Text},
        KindCase{"ProseWithAColon", "Note: this is text\nand more\n", SourceKind::Text},
        KindCase{"Mbox", "From a@x.org Mon Jan  1 00:00:00 2024\nFrom: a@x.org\nDate: x\n\nhi\n",
                 SourceKind::Mbox},
        KindCase{"ProseStartingWithFrom", "From the start, we knew.\nIt was late.\n",
                 SourceKind::Text},
        KindCase{"Html", "<!DOCTYPE html><html><body>x</body></html>", SourceKind::Html},
        KindCase{"HtmlAfterBomAndAsp", "\xEF\xBB\xBF<%@ Page %>\n<HTML><BODY>", SourceKind::Html},
        KindCase{"XmlIsText", "<?xml version=\"1.0\"?><feed>a@x.org</feed>", SourceKind::Text}),
    [](const auto& info) { return std::string(info.param.name); });

TEST(KindName, TellsOfficeFilesFromOtherZips) {
    std::string docx = std::string("PK\x03\x04", 4) + std::string(26, '\0') + "[Content_Types].xml";
    std::string odt = std::string("PK\x03\x04", 4) + std::string(26, '\0') +
                      "mimetypeapplication/vnd.oasis.opendocument.text";
    std::string zip = std::string("PK\x03\x04", 4) + std::string(26, '\0') + "notes.txt";
    EXPECT_STREQ(kindName(recognise(docx), docx), "office");
    EXPECT_STREQ(kindName(recognise(odt), odt), "opendocument");
    EXPECT_STREQ(kindName(recognise(zip), zip), "zip");
}

}  // namespace
}  // namespace harvest

#include <gtest/gtest.h>

#include "EngineRig.h"
#include "TempDir.h"

namespace {

struct StripCase {
    const char* name;
    std::string text;
    bool chkStrip;
    std::string expected;
};

class StripTagsCases : public ::testing::TestWithParam<StripCase> {};

TEST_P(StripTagsCases, RemovesMarkUpByItsStopRules) {
    EngineRig rig(GetParam().text);
    rig.engine.chkStrip = GetParam().chkStrip;
    rig.engine.StripTags();
    EXPECT_EQ(rig.engine.strScanText, GetParam().expected);
    EXPECT_EQ(rig.progress.value(), GetParam().chkStrip ? 100.0f : 50.0f);
}

INSTANTIATE_TEST_SUITE_P(
    Cases, StripTagsCases,
    ::testing::Values(
        StripCase{"EachTagOneSpace", "a<b>c</b>d", false, "a c d "},
        StripCase{"IdenticalTagsAtOnce", "<i>a<i>b</i>", false, " a b  "},
        StripCase{"Comment", "x <!-- note --> y", false, "x  y "},
        StripCase{"EqualCommentsAtOnce", "a<!--b-->c<!--b-->d", false, "acd "},
        StripCase{"CommentEndBeforeStartStopsLoop", "x -> y <!-- z -->", false, "x -> y   "},
        StripCase{"ScriptEndInsideOpeningTag", "<script>x</script>y", false, "x y "},
        StripCase{"ScriptWithAttributes", "<SCRIPT src=a.js></SCRIPT>body", false, "body "},
        StripCase{"ScriptWithoutEnd", "a <SCRIPT b", false, "a <SCRIPT b "},
        StripCase{"LoneOpenBracket", "a < b", false, "a < b "},
        StripCase{"OpenBracketWithCloseOnlyBefore", "> a < b", false, "> a < b "},
        StripCase{"CloseBeforeTag", "a > b <i> c", false, "a > b   c "},
        StripCase{"Entities", "sample &amp; example", false, "sle    exle "},
        // Each removal reads what the one before leaves, left to right,
        // without looking again where it just took something out.
        StripCase{"NbspJoinedByAmpRemovalGoes", "a nbampsp b", false, "a  b "},
        StripCase{"NbspJoinedByNbspRemovalStays", "nbnbspsp", false, "nbsp "},
        StripCase{"AmpJoinedByAmpRemovalStays", "amampp", false, "amp "},
        StripCase{"QuotEntityLeavesWord", "&quot;hi&quot;", false, " quot hi quot  "},
        StripCase{"LineTagsBecomeLineBreaks", "<p>x<BR>y</Tr>z", true, "\r\nx\r\ny\r\nz "},
        StripCase{"LineTagsAreSpacesWithoutStrip", "<p>x<BR>y", false, " x y "},
        StripCase{"DeleteCharGoesWithStrip", "a\x7f b", true, "a b "},
        StripCase{"DeleteCharStaysWithoutStrip", "a\x7f b", false, "a\x7f b "},
        StripCase{"EmptyText", "", false, " "},
        StripCase{"NulBytesStay", std::string("a\0<b>\0", 6), false, std::string("a\0 \0 ", 5)}),
    [](const auto& info) { return info.param.name; });

// "SCRIPT>" right in front of "<SCRIPT" (or "->" in front of "<!") gives an
// empty block: the loop removes nothing and keeps yielding until Cancel. It
// says so once, so that the command line can count it as Cancel. The empty
// block may also come after a removal, or be joined together by one.
TEST(StripTagsCancel, EmptyBlockLoopsUntilCancelled) {
    for (const std::string text : {"a SCRIPT><SCRIPT b", "a -><! b", "<!-- x --><i>a -><! b",
                                   "<!-- x -->-><! b", "a -<!-- x -->><! b"}) {
        EngineRig rig(text);
        int endless = 0;
        rig.engine.onEndlessLoop = [&] { ++endless; };
        rig.cancelAt(500);
        rig.engine.StripTags();
        EXPECT_EQ(rig.pump.count, 500);
        EXPECT_EQ(endless, 1) << text;
        EXPECT_EQ(rig.engine.intCancel, 1);
        EXPECT_EQ(rig.progress.value(), 0.0f);
    }
    EngineRig rig("a SCRIPT><SCRIPT b");
    rig.cancelAt(500);
    rig.engine.StripTags();
    EXPECT_EQ(rig.engine.strScanText, "a SCRIPT><SCRIPT b ");
}

TEST(StripTagsCancel, CancelInTagLoopLeavesTextPartlyStripped) {
    // Yields: script loop 1, comment loop 2, tag loop 3 and 4.
    EngineRig rig("<i>a</i> &amp;");
    rig.cancelAt(4);
    rig.engine.StripTags();
    EXPECT_EQ(rig.engine.strScanText, " a</i> &amp; ");
    EXPECT_FLOAT_EQ(rig.progress.value(), 5.0f);
}

TEST(StrippedFile, NameDropsDotsAndFileHoldsTextAndLineBreak) {
    for (const auto& [source, name] : std::vector<std::pair<std::string, std::string>>{
             {"index.htm", "indexhtm.txt"}, {"a.b.c", "abc.txt"}, {"plain", "plain.txt"}}) {
        EXPECT_EQ(StrippedFileName(source), name);
    }
    TempDir dir;
    ASSERT_TRUE(WriteStrippedFile(dir.path(), "/some/where/page.html", "old"));
    ASSERT_TRUE(WriteStrippedFile(dir.path() + "/", "/some/where/page.html", "new"));
    EXPECT_EQ(ReadBytes(dir.file("pagehtml.txt")), "new\r\n");
    EXPECT_TRUE(WriteStrippedFile(dir.path(), "page.html", std::string("a\0b", 3)));
    EXPECT_EQ(ReadBytes(dir.file("pagehtml.txt")), std::string("a\0b\r\n", 5));
    EXPECT_FALSE(WriteStrippedFile(dir.file("missing"), "page.html", "x"));
    EXPECT_FALSE(WriteStrippedFile("", "page.html", "x"));
}

}  // namespace

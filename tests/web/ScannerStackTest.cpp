// The document scanner's four modes and the crawl stack's pointer rules.
#include <gtest/gtest.h>

#include <functional>

#include "Fakes.h"
#include "HtmlStrip.h"
#include "Stack.h"

namespace {

// ---- HtmlStrip ----

struct StripCase {
    const char* name;
    void (HtmlStrip::*mode)();
    const char* document;
    std::vector<std::string> blocks;
};

class Strip : public ::testing::TestWithParam<StripCase> {};

TEST_P(Strip, FindsTheModesBlocksInOrder) {
    const auto& c = GetParam();
    ScriptedPump pump;
    HtmlStrip strip(pump);
    (strip.*c.mode)();
    strip.StripDocument(c.document, false);
    ASSERT_EQ(strip.blockCount(), static_cast<int>(c.blocks.size()));
    for (size_t i = 0; i < c.blocks.size(); ++i) {
        EXPECT_EQ(strip.aGet(static_cast<int>(i)).toText(), c.blocks[i]) << i;
    }
    EXPECT_TRUE(strip.aGet(static_cast<int>(c.blocks.size())).isEmpty());
}

INSTANTIATE_TEST_SUITE_P(
    Modes, Strip,
    ::testing::Values(
        StripCase{"Links",
                  &HtmlStrip::SetClassToFindLinks,
                  R"(<a href="a.htm">x</a><a href="b.htm">)",
                  {"a.htm", "b.htm"}},
        StripCase{"LinksCaseSensitive", &HtmlStrip::SetClassToFindLinks, R"(<A HREF="a.htm">)", {}},
        StripCase{"Emails",
                  &HtmlStrip::SetClassToFindEmails,
                  R"(<a href="x.htm"><a href="mailto:ann@x.org">Ann</a>)",
                  {"mailto:ann@x.org"}},
        // The closing quote of a string opens the next block.
        StripCase{
            "AllBlocks", &HtmlStrip::SetClassToFindAllBlocks, R"("a" x "b")", {"a", " x ", "b"}},
        StripCase{
            "Scr", &HtmlStrip::SetClassToFindScr, R"(<img scr="p.gif" src="q.gif">)", {"p.gif"}},
        StripCase{"UnclosedBlock", &HtmlStrip::SetClassToFindLinks, R"(<a href="a.htm)", {}}),
    [](const auto& info) { return std::string(info.param.name); });

TEST(Strip, AppendingSkipsOneEntryAndKeepsEarlierBlocks) {
    ScriptedPump pump;
    HtmlStrip strip(pump);
    strip.SetClassToFindLinks();
    strip.StripDocument(R"(<a href="a.htm">)", false);
    strip.StripDocument("no links", true);
    EXPECT_EQ(strip.blockCount(), 2);
    strip.StripDocument(R"(<a href="b.htm">)", true);
    EXPECT_EQ(strip.blockCount(), 4);
    EXPECT_EQ(strip.aGet(0).toText(), "a.htm");
    EXPECT_TRUE(strip.aGet(1).isEmpty());
    EXPECT_TRUE(strip.aGet(2).isEmpty());
    EXPECT_EQ(strip.aGet(3).toText(), "b.htm");
    strip.StripDocument("", false);
    EXPECT_EQ(strip.blockCount(), 0);
}

TEST(Strip, MoreThan501BlocksRaiseTheBoundsErrorKeepingTheFirst501) {
    ScriptedPump pump;
    HtmlStrip strip(pump);
    strip.SetClassToFindLinks();
    std::string doc;
    for (int i = 0; i < 600; ++i) {
        doc += "<a href=\"p" + std::to_string(i) + ".htm\">";
    }
    EXPECT_THROW(strip.StripDocument(doc, false), SubscriptError);
    EXPECT_EQ(strip.blockCount(), 501);
    EXPECT_EQ(strip.aGet(500).toText(), "p500.htm");
    EXPECT_THROW(strip.aGet(501), SubscriptError);
    EXPECT_THROW(strip.aPut(-1, 1), SubscriptError);
    EXPECT_EQ(pump.count, 501);  // one yield per block taken
}

// ---- Stack ----

struct StackCase {
    const char* name;
    std::function<void(Stack&)> steps;
    int stack;
    int pointer;
    std::vector<Variant> entries;  // positions 0.. as Peek reads them
};

class Stacks : public ::testing::TestWithParam<StackCase> {};

TEST_P(Stacks, KeepThePointerConvention) {
    const auto& c = GetParam();
    static Stack s;  // one table of 16 x 90,001 entries, reused: each case uses its own stack
    c.steps(s);
    EXPECT_EQ(s.GetStackPointer(c.stack), Variant(c.pointer));
    EXPECT_EQ(s.lne(c.stack), c.pointer == 0);
    for (size_t i = 0; i < c.entries.size(); ++i) {
        EXPECT_EQ(s.Peek(c.stack, static_cast<int>(i)), c.entries[i]) << i;
    }
}

INSTANTIATE_TEST_SUITE_P(
    Rules, Stacks,
    ::testing::Values(StackCase{"PushWritesAtThePointer",
                                [](Stack& s) {
                                    s.Push(0, "a");
                                    s.Push(0, "b");
                                },
                                0,
                                2,
                                {"a", "b", false}},
                      StackCase{"PopLeavesTheEntryInPlace",
                                [](Stack& s) {
                                    s.Push(1, "a");
                                    s.Push(1, "b");
                                    EXPECT_EQ(s.pop(1), Variant("b"));
                                    EXPECT_EQ(s.pop(1), Variant("a"));
                                    EXPECT_EQ(s.pop(1), Variant(false));
                                    EXPECT_EQ(s.pop(1).toText(), "False");
                                },
                                1,
                                0,
                                {"a", "b"}},
                      StackCase{"ResetKeepsStaleEntriesAboveZero",
                                [](Stack& s) {
                                    s.Push(3, "a");
                                    s.Push(3, "b");
                                    s.Reset(3);
                                },
                                3,
                                0,
                                {0, "b"}},
                      StackCase{"CopyTakesOnePositionPastTheTop",
                                [](Stack& s) {
                                    s.poke(4, 2, "stale");
                                    s.Push(4, "a");
                                    s.Push(4, "b");
                                    s.CopyStack(4, 5);
                                },
                                5,
                                2,
                                {"a", "b", "stale", false}},
                      StackCase{
                          "PeekOfEmptyTextIsFalse", [](Stack& s) { s.Push(6, ""); }, 6, 1, {false}},
                      StackCase{"PokeLeavesThePointer",
                                [](Stack& s) { s.poke(7, 5, 2.5); },
                                7,
                                0,
                                {false, false, false, false, false, 2.5}}),
    [](const auto& info) { return std::string(info.param.name); });

TEST(Stack, RelativeReadsAndBounds) {
    auto s = std::make_unique<Stack>();
    s->Push(2, "top");
    EXPECT_EQ(s->ppeek(2, -1), Variant("top"));
    EXPECT_EQ(s->ppeek(2, -2), Variant(false));
    EXPECT_TRUE(s->ppeek(2, 0).isEmpty());

    EXPECT_THROW(s->Push(16, "x"), SubscriptError);
    EXPECT_THROW(s->Reset(-1), SubscriptError);
    EXPECT_THROW(s->Peek(0, 90001), SubscriptError);
    EXPECT_THROW(s->poke(0, -1, 1), SubscriptError);
    for (int i = 0; i < Stack::kPositions; ++i) {
        s->Push(9, i);
    }
    EXPECT_THROW(s->Push(9, "full"), SubscriptError);
    EXPECT_EQ(s->GetStackPointer(9), Variant(Stack::kPositions));
    EXPECT_EQ(s->pop(9), Variant(90000));
}

class RecordingDebugWindow : public StackDebugWindow {
public:
    void push(const Variant& v) override { pushed.push_back(v.toText()); }
    void show() override { ++shown; }
    bool cmdFlag() const override { return flag; }
    void setCmdFlag(bool f) override { flag = f; }
    std::vector<std::string> pushed;
    int shown = 0;
    bool flag = true;
};

TEST(Stack, DebugAidsHandOverEntriesThenStopAtStackSixteen) {
    auto s = std::make_unique<Stack>();
    // Unconnected: nothing is handed over, but the walk still fails at 16.
    EXPECT_THROW(s->LoadDebugWindow(), SubscriptError);
    RecordingDebugWindow window;
    ScriptedPump pump;
    s->debugWindow = &window;
    s->pump = &pump;
    s->Push(1, "a");
    EXPECT_THROW(s->LoadDebugWindow(), SubscriptError);
    EXPECT_EQ(window.pushed, (std::vector<std::string>{"a", ""}));
    EXPECT_EQ(window.shown, 0);

    pump.at(3, [&] { window.flag = true; });
    s->WaitForDebugWindow();
    EXPECT_EQ(pump.count, 3);
}

}  // namespace

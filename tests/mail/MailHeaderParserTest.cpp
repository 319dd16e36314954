#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "MailHeaderParser.h"
#include "MailList.h"
#include "RunErrors.h"

namespace {

struct Person {
    std::string displayName;
    std::string emailAddress;
    bool operator==(const Person&) const = default;
};

void PrintTo(const Person& p, std::ostream* os) {
    *os << "{\"" << testing::PrintToString(p.displayName) << "\", "
        << testing::PrintToString(p.emailAddress) << "}";
}

std::vector<Person> People(const MailHeaderParser& parser) {
    std::vector<Person> out;
    for (size_t r = 0; r < parser.rstRecipients.rowCount(); ++r) {
        out.push_back({parser.rstRecipients.value(r, 0), parser.rstRecipients.value(r, 1)});
    }
    return out;
}

MailHeaderParser ParserFor(const std::string& headerName, int16_t everyOccurrence = 0) {
    MailListOptions options;
    options.chkFrom = options.chkTo = options.chkCC = true;
    options.intEveryOccurrence = everyOccurrence;
    MailHeaderParser parser;
    parser.Reset(options);
    parser.strHeaderName = headerName;
    return parser;
}

struct RecipientCase {
    std::string item;
    Person expected;
};

class ParseRecipientRules : public testing::TestWithParam<RecipientCase> {};

TEST_P(ParseRecipientRules, SplitsNameAndAddressByFirstMatchingRule) {
    MailHeaderParser parser = ParserFor("To:");
    std::string item = GetParam().item;
    parser.ParseRecipient(item);
    ASSERT_EQ(parser.rstRecipients.rowCount(), 1u);
    EXPECT_EQ(People(parser)[0], GetParam().expected);
    EXPECT_EQ(parser.rstRecipients.value(0, 2), "To:");
    EXPECT_EQ(parser.rstRecipients.value(0, 3), "1");
}

INSTANTIATE_TEST_SUITE_P(
    Rules, ParseRecipientRules,
    testing::Values(
        // Rule 1: quotes. The address keeps the blank before it.
        RecipientCase{"\"Ann Lee\" <ann@example.com>", {"Ann Lee", " ann@example.com"}},

        // An opening quote without a closing one: no name, the whole item
        // less the angle brackets as address.
        RecipientCase{"\"Ann <ann@example.com>", {"", "\"Ann ann@example.com"}},
        RecipientCase{"Ann \"Lee\" <ann@example.com>", {"Ann Lee", " ann@example.com"}},
        // Rule 2: first blank; it and the next character go, ">" stays.
        RecipientCase{"Ann <ann@example.com>", {"Ann", "ann@example.com>"}},
        RecipientCase{"Ann Lee <ann@example.com>", {"Ann", "ee <ann@example.com>"}},
        RecipientCase{"Ann Lee", {"Ann", "ee"}},
        RecipientCase{"a@example.com; b@example.com", {"a@example.com;", "@example.com"}},
        // Rule 3: an address alone; a trailing CR stays.
        RecipientCase{"ann@example.com", {"", "ann@example.com"}},

        // Rule 4: anything else is a name; even nothing makes a row.
        RecipientCase{"Undisclosed", {"Undisclosed", ""}}, RecipientCase{"", {"", ""}}));

struct ListCase {
    std::string name;
    std::string list;
    std::vector<Person> expected;
};

class SplitRecipientListCases : public testing::TestWithParam<ListCase> {};

TEST_P(SplitRecipientListCases, OneRowPerCommaSeparatedItem) {
    MailHeaderParser parser = ParserFor("CC:");
    std::string list = GetParam().list;
    parser.SplitRecipientList(list);
    EXPECT_EQ(People(parser), GetParam().expected);
    for (size_t r = 0; r < parser.rstRecipients.rowCount(); ++r) {
        EXPECT_EQ(parser.rstRecipients.value(r, 2), "CC:");
        EXPECT_EQ(parser.rstRecipients.value(r, 3), std::to_string(r + 1));
    }
}

INSTANTIATE_TEST_SUITE_P(
    Lists, SplitRecipientListCases,
    testing::Values(ListCase{"CommaBlank",
                             " a@example.com, b@example.com\r",
                             {{"", "a@example.com"}, {"", "b@example.com\r"}}},
                    ListCase{"CommaAloneLosesNextCharacter",
                             " a@example.com,b@example.com\r",
                             {{"", "a@example.com"}, {"", "@example.com\r"}}},
                    ListCase{"EmptyLine", "\r", {}}, ListCase{"OnlyBlanks", "    ", {}},
                    ListCase{"BlanksThenCR", "   \r", {}}, ListCase{"Nothing", "", {}},
                    ListCase{"CommaRightBeforeCR", "a@example.com,\r", {{"", "a@example.com"}}},
                    ListCase{"LeadingComma", ", a@example.com", {{"", ""}, {"", "a@example.com"}}},
                    ListCase{"SemicolonDoesNotSeparate",
                             "a@example.com;b@example.com",
                             {{"", "a@example.com;b@example.com"}}},
                    ListCase{"CommaInsideQuotesSplits",
                             "\"Lee, Ann\" <ann@example.com>",
                             {{"", "\"Lee"}, {"", "Ann\" ann@example.com"}}},
                    ListCase{"ExtraBlanksAfterComma",
                             "a@example.com,    Bo <bo@example.com>",
                             {{"", "a@example.com"}, {"Bo", "bo@example.com>"}}}),
    [](const testing::TestParamInfo<ListCase>& info) { return info.param.name; });

TEST(SplitRecipientList, TrimsTheCallersListInPlace) {
    MailHeaderParser parser = ParserFor("To:");
    std::string list = "  a@example.com, b@example.com  ";
    parser.SplitRecipientList(list);
    EXPECT_EQ(list, "a@example.com, b@example.com");
}

TEST(SplitRecipientList, CommaAtTheVeryEndIsAnInvalidArgument) {
    // The rest after a final comma would be a negative count of characters.
    // Only comma-CR-LF wraps are joined, so a header wrapped after a comma in
    // a file with bare line feeds ends in a comma and fails this way.
    for (std::string text : {"To: a@example.com, b@example.com,\n c@example.com\n",
                             "To: a@example.com, b@example.com,   \n"}) {
        MailHeaderParser parser = ParserFor("To:");
        EXPECT_THROW(parser.ExtractHeader(text), InvalidArgumentError);
        EXPECT_EQ(People(parser), (std::vector<Person>{{"", "a@example.com"}}));
    }
}

// ExtractHeader on short texts: how a header is found and what its value is.
struct ExtractCase {
    std::string name;
    std::string header;
    int16_t every;
    std::string text;
    std::vector<std::string> values;  // content, or "name|address" per person
};

class ExtractHeaderCases : public testing::TestWithParam<ExtractCase> {};

std::vector<std::string> Values(const MailHeaderParser& parser) {
    std::vector<std::string> out;
    for (size_t r = 0; r < parser.rstHeaderContent.rowCount(); ++r) {
        out.push_back(parser.rstHeaderContent.value(r, 1));
    }
    for (const Person& p : People(parser)) {
        out.push_back(p.displayName + "|" + p.emailAddress);
    }
    return out;
}

TEST_P(ExtractHeaderCases, FindsHeaderLinesAndTheirValues) {
    MailHeaderParser parser = ParserFor(GetParam().header, GetParam().every);
    std::string text = GetParam().text;
    parser.ExtractHeader(text);
    EXPECT_EQ(Values(parser), GetParam().values);
}

INSTANTIATE_TEST_SUITE_P(
    Search, ExtractHeaderCases,
    testing::Values(
        ExtractCase{"FoundInsideOtherWords",
                    "To:",
                    0,
                    "X-Original-To: list@example.com\nTo: me@example.com\n",
                    {"|list@example.com"}},
        ExtractCase{"BodyTextBeforeHeaderWins",
                    "From:",
                    0,
                    "Saved from: the archive\nFrom: real@example.com\n",
                    {"the|rchive"}},
        ExtractCase{"EveryOccurrence",
                    "From:",
                    1,
                    "Saved from: the archive\nFrom: real@example.com\n",
                    {"the|rchive", "|real@example.com"}},
        ExtractCase{"EveryOccurrenceTwoOnOneLineTakesTheFirst",
                    "Sent:",
                    1,
                    "Sent: one Sent: two\nSent: three\n",
                    {" one Sent: two", " three"}},
        ExtractCase{
            "NoLineFeedEndsEverySearch", "Sent:", 1, "Sent: Sunday\nSent: Monday", {" Sunday"}},
        ExtractCase{
            "JoinIsOnePassLeftToRight", "Subject:", 0, "Subject: a,\r\n\r\nb\r\n", {" a,\r"}}),
    [](const testing::TestParamInfo<ExtractCase>& info) { return info.param.name; });

TEST(ExtractHeader, FindsHeadersBeyondSixteenBitPositions) {
    MailHeaderParser parser = ParserFor("Subject:", 1);
    const std::string filler(70000, 'x');
    std::string text = "Subject: early\n" + filler + "\nSubject: late\n";
    parser.ExtractHeader(text);
    EXPECT_EQ(Values(parser), (std::vector<std::string>{" early", " late"}));
}

TEST(ExtractHeader, WorkingTableValuesAreCutTo100Characters) {
    MailHeaderParser parser = ParserFor("Subject:");
    std::string subject = "Subject:" + std::string(150, 's') + "\n";
    parser.ExtractHeader(subject);
    EXPECT_EQ(Values(parser), (std::vector<std::string>{std::string(100, 's')}));
    parser.strHeaderName = "To:";
    std::string to = "To: " + std::string(120, 'n') + "@example.com\n";
    parser.ExtractHeader(to);
    EXPECT_EQ(parser.rstRecipients.value(0, 1).size(), 100u);
}

TEST(ExtractHeader, JoinedWrapsStayForTheLaterHeaderNamesOfTheFile) {
    // Each call joins comma-CR-LF in the file's own text, so a header line
    // ending in a comma before a blank line reaches the next line on the
    // second call.
    MailHeaderParser parser = ParserFor("From:");
    std::string text = "From: a@example.com\r\nSubject: hello,\r\n\r\nSent: Monday\r\n";
    parser.ExtractHeader(text);
    EXPECT_EQ(text, "From: a@example.com\r\nSubject: hello,\r\nSent: Monday\r\n");
    parser.strHeaderName = "Subject:";
    parser.ExtractHeader(text);
    parser.strHeaderName = "Sent:";
    parser.ExtractHeader(text);
    EXPECT_EQ(text, "From: a@example.com\r\nSubject: hello,Sent: Monday\r\n");
    EXPECT_EQ(Values(parser),
              (std::vector<std::string>{" hello,Sent: Monday\r", " Monday\r", "|a@example.com\r"}));
}

}  // namespace

#include <gtest/gtest.h>

#include "EngineRig.h"
#include "RunErrors.h"

namespace {

enum class Scan { Email, MailTo, WebSite };

struct Call {
    Scan scanner;
    std::string expected;
};

struct ScanCase {
    const char* name;
    std::string text;
    std::vector<Call> calls;
    std::string textAfter;
};

std::string CallScanner(ScanEngine& e, Scan s) {
    switch (s) {
        case Scan::Email:
            return e.GetEmail();
        case Scan::MailTo:
            return e.GetMailTo();
        case Scan::WebSite:
            return e.GetWebSite();
    }
    return {};
}

class AddressScanners : public ::testing::TestWithParam<ScanCase> {};

TEST_P(AddressScanners, ConsumeOneMarkerPerCall) {
    EngineRig rig(GetParam().text);
    long found = 0;
    for (const Call& call : GetParam().calls) {
        EXPECT_EQ(CallScanner(rig.engine, call.scanner), call.expected);
        found += call.expected.empty() ? 0 : 1;
    }
    EXPECT_EQ(rig.engine.strScanText, GetParam().textAfter);
    EXPECT_EQ(rig.pump.count, found) << "one yield per address found";
}

const std::string k250(250, 'w');

INSTANTIATE_TEST_SUITE_P(
    Cases, AddressScanners,
    ::testing::Values(
        ScanCase{"WorkedExample",
                 "mail a@b.c or see http://b.c/d e ",
                 {{Scan::Email, "a@b.c"}, {Scan::WebSite, "http://b.c/d"}, {Scan::Email, ""}},
                 "mail ab.c or see httpb.c/d e "},
        ScanCase{"LocalPartAfterLastSpace", "a b@c d ", {{Scan::Email, "b@c"}}, "a bc d "},
        ScanCase{"NoSpaceBeforeAtLosesLocalPart", "b@c d ", {{Scan::Email, "c"}}, "bc d "},
        ScanCase{"OnlyTheAtSignIsConsumed",
                 "x a@b@c y ",
                 {{Scan::Email, "a@b@c"}, {Scan::Email, "ab@c"}, {Scan::Email, ""}},
                 "x abc y "},
        ScanCase{"PunctuationStaysInEmail",
                 "see <a@b.c>, ",
                 {{Scan::Email, "<a@b.c>,"}},
                 "see <ab.c>, "},
        ScanCase{"MailToTurnsMarksIntoSpaces",
                 "see <a@b.c>, ",
                 {{Scan::MailTo, "a@b.c"}},
                 "see  ab.c , "},
        ScanCase{"MailToInLink",
                 "a href=mailto:a@b.c>x ",
                 {{Scan::MailTo, "a@b.c"}},
                 "a href mailto ab.c x "},
        ScanCase{"MailToLeavesNoWebSite",
                 "x a@b.c http://w.v ",
                 {{Scan::MailTo, "a@b.c"}, {Scan::WebSite, ""}},
                 "x ab.c http   w.v "},
        ScanCase{"EmailAndMailToTakeTurns",
                 " a@b c@d ",
                 {{Scan::Email, "a@b"}, {Scan::MailTo, "c@d"}, {Scan::Email, ""}},
                 " ab cd "},
        ScanCase{
            "WebSiteKeepsCase", "x HTTP://A.B y ", {{Scan::WebSite, "HTTP://A.B"}}, "x HTTPA.B y "},
        ScanCase{"SpaceRightBeforeMarker", "x ://y z ", {{Scan::WebSite, "://y"}}, "x y z "},
        ScanCase{"NoMarkerChangesNothing",
                 "plain text ",
                 {{Scan::Email, ""}, {Scan::WebSite, ""}},
                 "plain text "},
        ScanCase{"AtSignScannersCapAt199",
                 "x a@" + k250 + " ",
                 {{Scan::Email, "a@" + k250.substr(0, 197)}},
                 "x a" + k250 + " "},
        ScanCase{"MailToCapsAt199",
                 "x " + k250 + "@b ",
                 {{Scan::MailTo, k250.substr(0, 199)}},
                 "x " + k250 + "b "},
        ScanCase{"WebSiteHasNoCap",
                 "x http://" + k250 + " ",
                 {{Scan::WebSite, "http://" + k250}},
                 "x http" + k250 + " "}),
    [](const auto& info) { return info.param.name; });

TEST(AddressScanners, MissingSpaceAroundMarkerIsInvalidArgument) {
    for (const auto& [scanner, text] :
         std::vector<std::pair<Scan, std::string>>{{Scan::WebSite, "http://a.b c "},
                                                   {Scan::WebSite, "://a.b c "},
                                                   {Scan::WebSite, "x http://a.b"},
                                                   {Scan::Email, "x a@b"},
                                                   {Scan::MailTo, "x a@b"}}) {
        EngineRig rig(text);
        EXPECT_THROW(CallScanner(rig.engine, scanner), InvalidArgumentError) << text;
        EXPECT_EQ(rig.engine.strScanText.find_first_of("@:"), text.find_first_of("@:"))
            << "the marker stays";
    }
}

}  // namespace

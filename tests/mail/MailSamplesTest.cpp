#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <set>

#include "MailRunFixture.h"

namespace {

std::string Sample(const std::string& name) {
    std::ifstream in(std::string(GLEANMARK_SAMPLES) + "/mail/" + name, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

// The shipped sample messages read as a mail list over the whole text:
// every person and header once, and the people that each sample shows off.
TEST(MailSamples, RunOverAllSamplesListsEachPersonOnce) {
    MailListOptions options = AllAddressHeaders(1);
    options.chkFileName = true;
    options.intUseFileName = 1;
    MailRun run(options);
    for (const char* name :
         {"team_update.eml", "re_catering.eml", "volunteer_roster.eml", "board_invite.eml"}) {
        const std::string text = Sample(name);
        ASSERT_FALSE(text.empty()) << name;
        run.Process(text, name);
    }
    std::set<std::vector<std::string>> seen;
    std::multiset<std::string> names;
    for (const auto& person : run.People()) {
        EXPECT_TRUE(seen.insert(person).second);
        names.insert(person[0] + person[1]);
    }
    for (const char* expected :
         {"From:Nadia Ferreira", "To:Jonas Weber", "CC:Aiko Tanaka", "CC:Samuel Oduya",
          "CC:Ruth Adeyemi", "CC:Pablo Ortega", "To:Dr. Eleanor Price", "To:Sofia Lindqvist",
          "From:Office of the Chair", "Subject: Invitation: annual board meeting\r"}) {
        EXPECT_EQ(names.count(expected), 1u) << expected;
    }
    // The roster's "To:" is wrapped after a comma and read as one header.
    for (const char* address : {"lena.berg@example.org", "marco.ricci@example.org",
                                "hana.novak@example.net", "tom.hughes@example.com\r"}) {
        EXPECT_EQ(seen.count({"To:", "", address}), 1u) << address;
    }
}

}  // namespace

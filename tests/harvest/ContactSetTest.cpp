// Sightings add up to one contact per address, in the order first seen.
#include <gtest/gtest.h>

#include "ContactSet.h"

namespace harvest {
namespace {

Sighting seen(std::string address, std::string name, std::string source) {
    Sighting s;
    s.address = std::move(address);
    s.name = std::move(name);
    s.kind = "personal";
    s.domain = "x.org";
    s.origin.source = std::move(source);
    return s;
}

TEST(ContactSet, OneContactPerAddressInFirstSeenOrderWithEveryName) {
    ContactSet set;
    set.add(seen("b@x.org", "", "1.txt"));
    set.add(seen("a@x.org", "Ann", "2.txt"));
    set.add(seen("b@x.org", "Bob", "3.txt"));
    set.add(seen("a@x.org", "Ann Green", "4.txt"));
    set.add(seen("a@x.org", "Ann", "5.txt"));
    set.add(seen("A@x.org", "", "6.txt"));  // the local part as written is a key of its own
    ASSERT_EQ(set.size(), 3u);
    const std::vector<Contact> all = set.contacts();
    const Contact& b = all[0];
    const Contact& a = all[1];
    EXPECT_EQ(b.address, "b@x.org");
    EXPECT_EQ(b.name, "Bob");
    EXPECT_EQ(b.sightings, 2);
    EXPECT_EQ(b.firstSource, "1.txt");
    EXPECT_EQ(a.name, "Ann");
    EXPECT_EQ(a.names, (std::vector<std::string>{"Ann", "Ann Green"}));
    EXPECT_EQ(a.sightings, 3);
    EXPECT_EQ(all[2].address, "A@x.org");
    EXPECT_EQ(set.sightingCount(), 6);
}

}  // namespace
}  // namespace harvest

#pragma once
// The contacts a harvest adds up to: one per address, in the order of each
// address's first sighting.
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "HarvestTypes.h"

namespace harvest {

class ContactSet {
public:
    void add(const Sighting& sighting);
    // Adds the contacts of a set built from later sightings, as if each of
    // its sightings were added here in turn: a worker adds up its own part
    // and the merge only folds parts together. New contacts are moved over.
    void merge(ContactSet&& part);
    const std::vector<Contact>& contacts() const { return contacts_; }
    size_t size() const { return contacts_.size(); }

private:
    // The contact of address: its place, and whether it was made just now
    // (the caller fills it in).
    std::pair<std::size_t, bool> place(std::string_view address);
    void grow();

    // The index is an open-addressed table of the contacts' places, keyed by
    // the address's hash: no allocation per contact, and the addresses are
    // not copied a second time.
    struct Slot {
        std::uint64_t hash = 0;
        std::uint32_t contact = 0;  // place + 1; 0 for an empty slot
    };
    std::vector<Contact> contacts_;
    std::vector<Slot> slots_;
};

}  // namespace harvest

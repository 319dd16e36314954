#pragma once
// The contacts a harvest adds up to: one per address, in the order of each
// address's first sighting.
#include <string>
#include <unordered_map>
#include <vector>

#include "HarvestTypes.h"

namespace harvest {

class ContactSet {
public:
    void add(const Sighting& sighting);
    // Adds the contacts of a set built from later sightings, as if each of
    // its sightings were added here in turn: a worker adds up its own part
    // and the merge only folds parts together.
    void merge(const ContactSet& part);
    const std::vector<Contact>& contacts() const { return contacts_; }
    size_t size() const { return contacts_.size(); }

private:
    std::vector<Contact> contacts_;
    std::unordered_map<std::string, size_t> index_;
};

}  // namespace harvest

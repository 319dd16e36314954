#include "ContactSet.h"

#include <algorithm>

namespace harvest {

void ContactSet::add(const Sighting& sighting) {
    auto [it, added] = index_.try_emplace(sighting.address, contacts_.size());
    if (added) {
        Contact contact;
        contact.address = sighting.address;
        contact.kind = sighting.kind;
        contact.domain = sighting.domain;
        contact.reserved = sighting.reserved;
        contact.firstSource = sighting.origin.source;
        contacts_.push_back(std::move(contact));
    }
    Contact& contact = contacts_[it->second];
    ++contact.sightings;
    if (!sighting.name.empty() && std::find(contact.names.begin(), contact.names.end(),
                                            sighting.name) == contact.names.end()) {
        contact.names.push_back(sighting.name);
        if (contact.name.empty()) {
            contact.name = sighting.name;
        }
    }
}

void ContactSet::merge(const ContactSet& part) {
    for (const Contact& c : part.contacts_) {
        auto [it, added] = index_.try_emplace(c.address, contacts_.size());
        if (added) {
            contacts_.push_back(c);
            continue;
        }
        Contact& contact = contacts_[it->second];
        contact.sightings += c.sightings;
        for (const std::string& name : c.names) {
            if (std::find(contact.names.begin(), contact.names.end(), name) ==
                contact.names.end()) {
                contact.names.push_back(name);
                if (contact.name.empty()) {
                    contact.name = name;
                }
            }
        }
    }
}

}  // namespace harvest

#include "ContactSet.h"

#include <algorithm>
#include <functional>

namespace harvest {
namespace {

void addName(Contact& contact, const std::string& name) {
    if (std::find(contact.names.begin(), contact.names.end(), name) == contact.names.end()) {
        contact.names.push_back(name);
        if (contact.name.empty()) {
            contact.name = name;
        }
    }
}

}  // namespace

void ContactSet::grow() {
    std::vector<Slot> old = std::move(slots_);
    slots_.assign(std::max<std::size_t>(64, old.size() * 2), Slot{});
    const std::size_t mask = slots_.size() - 1;
    for (const Slot& s : old) {
        if (s.contact != 0) {
            std::size_t i = s.hash & mask;
            while (slots_[i].contact != 0) {
                i = (i + 1) & mask;
            }
            slots_[i] = s;
        }
    }
}

std::pair<std::size_t, bool> ContactSet::place(std::string_view address) {
    if ((contacts_.size() + 1) * 4 > slots_.size() * 3) {  // at most three quarters full
        grow();
    }
    const std::uint64_t hash = std::hash<std::string_view>{}(address);
    const std::size_t mask = slots_.size() - 1;
    for (std::size_t i = hash & mask;; i = (i + 1) & mask) {
        Slot& s = slots_[i];
        if (s.contact == 0) {
            s = {hash, static_cast<std::uint32_t>(contacts_.size() + 1)};
            contacts_.emplace_back();
            return {contacts_.size() - 1, true};
        }
        if (s.hash == hash && contacts_[s.contact - 1].address == address) {
            return {s.contact - 1, false};
        }
    }
}

void ContactSet::add(const Sighting& sighting) {
    auto [at, added] = place(sighting.address);
    Contact& contact = contacts_[at];
    if (added) {
        contact.address = sighting.address;
        contact.kind = sighting.kind;
        contact.domain = sighting.domain;
        contact.reserved = sighting.reserved;
        contact.firstSource = sighting.origin.source;
    }
    ++contact.sightings;
    if (!sighting.name.empty()) {
        addName(contact, sighting.name);
    }
}

void ContactSet::merge(ContactSet&& part) {
    if (contacts_.empty()) {
        *this = std::move(part);
        return;
    }
    for (Contact& c : part.contacts_) {
        auto [at, added] = place(c.address);
        if (added) {
            contacts_[at] = std::move(c);
            continue;
        }
        Contact& contact = contacts_[at];
        contact.sightings += c.sightings;
        for (const std::string& name : c.names) {
            addName(contact, name);
        }
    }
}

}  // namespace harvest

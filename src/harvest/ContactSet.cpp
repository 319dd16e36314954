#include "ContactSet.h"

#include <algorithm>
#include <cstring>
#include <functional>

namespace harvest {
namespace {

constexpr std::size_t kFirstBlock = 4 << 10;  // a worker's set for one file stays small
constexpr std::size_t kLastBlock = 1 << 20;

}  // namespace

std::uint64_t ContactSet::TextStore::add(std::string_view text) {
    const std::size_t need = sizeof(std::uint32_t) + text.size();
    if (blocks_.empty() || used_ + need > blockSize_) {
        blockSize_ = std::max(need, std::clamp(blockSize_ * 2, kFirstBlock, kLastBlock));
        blocks_.push_back(std::make_unique<char[]>(blockSize_));
        used_ = 0;
    }
    char* at = blocks_.back().get() + used_;
    const auto length = static_cast<std::uint32_t>(text.size());
    std::memcpy(at, &length, sizeof length);
    std::memcpy(at + sizeof length, text.data(), text.size());
    const std::uint64_t ref = (static_cast<std::uint64_t>(blocks_.size() - 1) << 32) | used_;
    used_ += need;
    return ref;
}

std::string_view ContactSet::TextStore::view(std::uint64_t ref) const {
    const char* at = blocks_[ref >> 32].get() + (ref & 0xffffffff);
    std::uint32_t length = 0;
    std::memcpy(&length, at, sizeof length);
    return {at + sizeof length, length};
}

std::uint32_t ContactSet::TextTable::id(std::string_view text) {
    if (auto it = ids_.find(text); it != ids_.end()) {
        return it->second;
    }
    const auto id = static_cast<std::uint32_t>(texts_.size());
    texts_.emplace_back(text);
    ids_.emplace(texts_.back(), id);
    return id;
}

std::uint32_t ContactSet::sourceId(std::string_view source) {
    if (sources_.empty() || source != lastSource_) {
        sources_.push_back(text_.add(source));
        lastSource_ = text_.view(sources_.back());
    }
    return static_cast<std::uint32_t>(sources_.size() - 1);
}

void ContactSet::grow() {
    std::vector<Slot> old = std::move(slots_);
    slots_.assign(std::max<std::size_t>(64, old.size() * 2), Slot{});
    const std::size_t mask = slots_.size() - 1;
    for (const Slot& s : old) {
        if (s.entry != 0) {
            std::size_t i = s.hash & mask;
            while (slots_[i].entry != 0) {
                i = (i + 1) & mask;
            }
            slots_[i] = s;
        }
    }
}

std::pair<std::size_t, bool> ContactSet::place(std::string_view address) {
    if ((entries_.size() + 1) * 4 > slots_.size() * 3) {  // at most three quarters full
        grow();
    }
    const std::uint64_t hash = std::hash<std::string_view>{}(address);
    const std::size_t mask = slots_.size() - 1;
    for (std::size_t i = hash & mask;; i = (i + 1) & mask) {
        Slot& s = slots_[i];
        if (s.entry == 0) {
            s = {hash, static_cast<std::uint32_t>(entries_.size() + 1)};
            entries_.emplace_back().address = text_.add(address);
            return {entries_.size() - 1, true};
        }
        if (s.hash == hash && text_.view(entries_[s.entry - 1].address) == address) {
            return {s.entry - 1, false};
        }
    }
}

void ContactSet::addName(Entry& entry, std::string_view name) {
    for (std::uint32_t n = entry.firstName; n != kNone; n = names_[n].next) {
        if (text_.view(names_[n].text) == name) {
            return;
        }
    }
    const auto index = static_cast<std::uint32_t>(names_.size());
    names_.push_back({text_.add(name), kNone});
    if (entry.lastName == kNone) {
        entry.firstName = index;
    } else {
        names_[entry.lastName].next = index;
    }
    entry.lastName = index;
}

void ContactSet::add(const Sighting& sighting) {
    auto [at, added] = place(sighting.address);
    Entry& entry = entries_[at];
    if (added) {
        entry.kind = kinds_.id(sighting.kind);
        entry.domain = domains_.id(sighting.domain);
        entry.reserved = sighting.reserved;
        entry.source = sourceId(sighting.origin.source);
    }
    ++entry.sightings;
    if (!sighting.name.empty()) {
        addName(entry, sighting.name);
    }
}

void ContactSet::merge(ContactSet&& part) {
    if (entries_.empty()) {
        *this = std::move(part);
        return;
    }
    for (const Entry& theirs : part.entries_) {
        auto [at, added] = place(part.text_.view(theirs.address));
        Entry& entry = entries_[at];
        if (added) {
            entry.kind = kinds_.id(part.kinds_.text(theirs.kind));
            entry.domain = domains_.id(part.domains_.text(theirs.domain));
            entry.reserved = theirs.reserved;
            entry.source = sourceId(part.text_.view(part.sources_[theirs.source]));
        }
        entry.sightings += theirs.sightings;
        for (std::uint32_t n = theirs.firstName; n != kNone; n = part.names_[n].next) {
            addName(entry, part.text_.view(part.names_[n].text));
        }
    }
}

// Fills c in with the contact at index, reusing the room its texts have.
void ContactSet::fill(std::size_t index, Contact& c) const {
    const Entry& entry = entries_[index];
    c.address.assign(text_.view(entry.address));
    std::size_t names = 0;
    for (std::uint32_t n = entry.firstName; n != kNone; n = names_[n].next, ++names) {
        if (names == c.names.size()) {
            c.names.emplace_back();
        }
        c.names[names].assign(text_.view(names_[n].text));
    }
    c.names.resize(names);
    c.name.assign(names > 0 ? std::string_view(c.names.front()) : std::string_view());
    c.kind.assign(kinds_.text(entry.kind));
    c.domain.assign(domains_.text(entry.domain));
    c.reserved = entry.reserved;
    c.sightings = entry.sightings;
    c.firstSource.assign(text_.view(sources_[entry.source]));
}

Contact ContactSet::contact(std::size_t index) const {
    Contact c;
    fill(index, c);
    return c;
}

std::int64_t ContactSet::sightingCount() const {
    std::int64_t count = 0;
    for (const Entry& entry : entries_) {
        count += entry.sightings;
    }
    return count;
}

RecordRange<Contact> ContactSet::range() const {
    return RecordRange<Contact>(
        [this](const RecordRange<Contact>::Each& each) {
            Contact c;  // one contact, filled in again and again
            for (std::size_t i = 0; i < entries_.size(); ++i) {
                fill(i, c);
                each(c);
            }
        },
        entries_.size());
}

std::vector<Contact> ContactSet::contacts() const {
    std::vector<Contact> all;
    all.reserve(entries_.size());
    for (std::size_t i = 0; i < entries_.size(); ++i) {
        all.push_back(contact(i));
    }
    return all;
}

}  // namespace harvest

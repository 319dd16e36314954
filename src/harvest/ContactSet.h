#pragma once
// The contacts a harvest adds up to: one per address, in the order of each
// address's first sighting.
//
// A large harvest has millions of contacts, so they are kept compact: their
// texts in blocks of a text store, each domain, kind and first source once,
// a contact a small record. Contacts are made whole only as they are read.
#include <cstdint>
#include <deque>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "HarvestTypes.h"
#include "RecordRange.h"

namespace harvest {

class ContactSet {
public:
    ContactSet() = default;
    ContactSet(ContactSet&&) = default;
    ContactSet& operator=(ContactSet&&) = default;

    void add(const Sighting& sighting);
    // Adds the contacts of a set built from later sightings, as if each of
    // its sightings were added here in turn: a worker adds up its own part
    // and the merge only folds parts together.
    void merge(ContactSet&& part);

    std::size_t size() const { return entries_.size(); }
    // The sightings of all contacts.
    std::int64_t sightingCount() const;
    Contact contact(std::size_t index) const;
    // Every contact in order, each made as it is walked; the set must outlive
    // the range.
    RecordRange<Contact> range() const;
    // Every contact at once, for a small set.
    std::vector<Contact> contacts() const;

private:
    static constexpr std::uint32_t kNone = 0xffffffff;

    // Texts one after the other in blocks that never move: a reference is
    // the block's number and the offset in it.
    class TextStore {
    public:
        std::uint64_t add(std::string_view text);
        std::string_view view(std::uint64_t ref) const;

    private:
        std::vector<std::unique_ptr<char[]>> blocks_;
        std::size_t blockSize_ = 0;
        std::size_t used_ = 0;
    };
    // Texts that many contacts share, each kept once and known by number.
    class TextTable {
    public:
        std::uint32_t id(std::string_view text);
        const std::string& text(std::uint32_t id) const { return texts_[id]; }

    private:
        std::deque<std::string> texts_;  // a deque: the keys below stay put
        std::unordered_map<std::string_view, std::uint32_t> ids_;
    };
    struct Entry {
        std::uint64_t address = 0;
        std::int64_t sightings = 0;
        std::uint32_t domain = 0;
        std::uint32_t source = 0;
        std::uint32_t firstName = kNone;
        std::uint32_t lastName = kNone;
        std::uint32_t kind = 0;
        bool reserved = false;
    };
    struct Name {
        std::uint64_t text = 0;
        std::uint32_t next = kNone;
    };
    struct Slot {
        std::uint64_t hash = 0;
        std::uint32_t entry = 0;  // place + 1; 0 for an empty slot
    };

    // The entry of address: its place, and whether it was made just now.
    std::pair<std::size_t, bool> place(std::string_view address);
    void fill(std::size_t index, Contact& c) const;
    void grow();
    void addName(Entry& entry, std::string_view name);

    // The first source of a contact: in a store of its own, as most sources
    // are first sources of their contacts and a table of them would cost
    // more than they do; a run of contacts from the same source shares it.
    std::uint32_t sourceId(std::string_view source);

    TextStore text_;
    TextTable domains_, kinds_;
    std::vector<std::uint64_t> sources_;  // texts in text_
    std::string_view lastSource_;
    std::deque<Entry> entries_;
    std::deque<Name> names_;
    // An open-addressed index of the entries by the address's hash.
    std::vector<Slot> slots_;
};

}  // namespace harvest

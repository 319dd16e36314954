#pragma once
// A list of records that keeps a bounded amount in memory and moves the rest
// to a temporary file, so that a harvest of millions of sightings or sources
// needs memory for its contacts only. Records come back in the order added.
#include <cstdint>
#include <cstdio>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "HarvestTypes.h"
#include "RecordRange.h"

namespace harvest {

// The bytes of records, in memory up to a limit and then in a temporary file.
class SpillBytes {
public:
    explicit SpillBytes(std::size_t memoryLimit);
    ~SpillBytes();
    SpillBytes(const SpillBytes&) = delete;
    SpillBytes& operator=(const SpillBytes&) = delete;

    void append(std::string_view record);
    void appendRun(std::string_view lengthPrefixedRecords);
    // Calls each(record) for every record in order.
    void forEach(const std::function<void(std::string_view)>& each) const;

private:
    void spill();
    std::size_t memoryLimit_;
    std::string memory_;  // length-prefixed records not yet written out
    std::FILE* file_ = nullptr;
};

void encodeRecord(const Sighting& s, std::string& out);
// Appends the record with its length in front, as SpillList keeps it; a run
// of such records can be added whole with SpillList::addEncoded.
template <typename T>
void appendEncoded(const T& record, std::string& out);
// Adds lineDelta to the line, offsetDelta to the offset and messageDelta to
// the message number (where there is one) of every sighting in a run made by
// appendEncoded, in place.
void shiftSightings(std::string& run, std::int64_t lineDelta, int messageDelta,
                    std::int64_t offsetDelta = 0);
// Calls each(record bytes) for every record in a run made by appendEncoded.
void forEachEncoded(std::string_view run, const std::function<void(std::string_view)>& each);
bool decodeRecord(std::string_view in, Sighting& s);
void encodeRecord(const SourceInfo& s, std::string& out);
bool decodeRecord(std::string_view in, SourceInfo& s);

template <typename T>
class SpillList {
public:
    // A few MB in memory: they are written again and again, not grown anew.
    explicit SpillList(std::size_t memoryLimit = 4u << 20) : bytes_(memoryLimit) {}

    void add(const T& record) {
        scratch_.clear();
        encodeRecord(record, scratch_);
        bytes_.append(scratch_);
        ++size_;
    }
    std::size_t size() const { return size_; }
    // Adds a run of records made by appendEncoded.
    void addEncoded(std::string_view run, std::size_t count) {
        bytes_.appendRun(run);
        size_ += count;
    }

    void forEach(const std::function<void(const T&)>& each) const {
        T record;
        bytes_.forEach([&](std::string_view bytes) {
            if (decodeRecord(bytes, record)) {
                each(record);
            }
        });
    }
    // The records that keep() keeps, as a range for the writers.
    RecordRange<T> range(std::function<bool(const T&)> keep = {}) const {
        std::size_t kept = size_;
        if (keep) {
            kept = 0;
            forEach([&](const T& r) { kept += keep(r) ? 1 : 0; });
        }
        return RecordRange<T>(
            [this, keep](const std::function<void(const T&)>& each) {
                forEach([&](const T& r) {
                    if (!keep || keep(r)) {
                        each(r);
                    }
                });
            },
            kept);
    }

private:
    SpillBytes bytes_;
    std::string scratch_;
    std::size_t size_ = 0;
};

template <typename T>
void appendEncoded(const T& record, std::string& out) {
    const std::size_t at = out.size();
    out.append(8, '\0');
    encodeRecord(record, out);
    const std::uint64_t n = out.size() - at - 8;
    for (int i = 0; i < 8; ++i) {
        out[at + static_cast<std::size_t>(i)] = static_cast<char>((n >> (8 * i)) & 0xFF);
    }
}

}  // namespace harvest

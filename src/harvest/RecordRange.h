#pragma once
// A sequence of records that a writer walks in order, whether it sits in a
// vector or in a spill file on disk.
#include <cstddef>
#include <functional>
#include <vector>

namespace harvest {

template <typename T>
class RecordRange {
public:
    using Each = std::function<void(const T&)>;
    using Walk = std::function<void(const Each&)>;

    // The records of a vector that outlives the range.
    RecordRange(const std::vector<T>& records)  // NOLINT: a vector is a range
        : walk_([&records](const Each& each) {
              for (const T& r : records) {
                  each(r);
              }
          }),
          size_(records.size()) {}
    RecordRange(Walk walk, std::size_t size) : walk_(std::move(walk)), size_(size) {}

    void forEach(const Each& each) const { walk_(each); }
    std::size_t size() const { return size_; }
    bool empty() const { return size_ == 0; }

private:
    Walk walk_;
    std::size_t size_;
};

}  // namespace harvest

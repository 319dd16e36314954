#pragma once

#include <string>
#include <vector>

// One keyword: the text searched for and the word positions to extract.
struct KeywordRecord {
    std::string Name;
    std::string Position;
};

// The ordered keyword table ("Name", "Position"); both fields hold at most
// kMaxField characters, longer texts are cut.
class KeywordTable {
public:
    static constexpr size_t kMaxField = 100;

    size_t size() const { return records_.size(); }
    bool empty() const { return records_.empty(); }
    const KeywordRecord& operator[](size_t i) const { return records_[i]; }
    const std::vector<KeywordRecord>& records() const { return records_; }

    void add(const std::string& name, const std::string& position);
    void set(size_t i, const std::string& name, const std::string& position);
    void remove(size_t i);
    void swap(size_t i, size_t j);
    void clear() { records_.clear(); }

private:
    std::vector<KeywordRecord> records_;
};

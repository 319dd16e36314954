#include "KeywordTable.h"

#include <utility>

namespace {

std::string Cut(const std::string& text) {
    return text.substr(0, KeywordTable::kMaxField);
}

}  // namespace

void KeywordTable::add(const std::string& name, const std::string& position) {
    records_.push_back(KeywordRecord{Cut(name), Cut(position)});
}

void KeywordTable::set(size_t i, const std::string& name, const std::string& position) {
    if (i < records_.size()) {
        records_[i] = KeywordRecord{Cut(name), Cut(position)};
    }
}

void KeywordTable::remove(size_t i) {
    if (i < records_.size()) {
        records_.erase(records_.begin() + static_cast<std::ptrdiff_t>(i));
    }
}

void KeywordTable::swap(size_t i, size_t j) {
    if (i < records_.size() && j < records_.size()) {
        std::swap(records_[i], records_[j]);
    }
}

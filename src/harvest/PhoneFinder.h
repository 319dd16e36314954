#pragma once
// Phone numbers in text, read as a caller in one region would dial them, and
// keyed in E.164 ("+442079460958").
#include <string>
#include <string_view>
#include <vector>

#include "Find.h"

namespace harvest {

class PhoneFinder {
public:
    // region: a region code such as "GB" or "US".
    explicit PhoneFinder(std::string region) : region_(std::move(region)) {}

    // Appends the valid phone numbers in text to out, in the order of the text.
    void find(std::string_view text, std::vector<Find>& out) const;

private:
    std::string region_;
};

}  // namespace harvest

#include "KeywordEntryCheck.h"

#include <cctype>

namespace {

std::string TrimSpaces(const std::string& text) {
    const size_t first = text.find_first_not_of(' ');
    if (first == std::string::npos) {
        return {};
    }
    return text.substr(first, text.find_last_not_of(' ') - first + 1);
}

bool IsDigit(char c) {
    return std::isdigit(static_cast<unsigned char>(c)) != 0;
}

const char* const kFormatMessage = "The format of the positions' number is not correct!";

}  // namespace

bool IsNumeric(const std::string& text) {
    const std::string t = TrimSpaces(text);
    size_t i = 0;
    if (i < t.size() && (t[i] == '+' || t[i] == '-')) {
        ++i;
    }
    bool digits = false;
    bool point = false;
    for (; i < t.size(); ++i) {
        if (IsDigit(t[i])) {
            digits = true;
        } else if (t[i] == '.' && !point) {
            point = true;
        } else {
            return false;
        }
    }
    return digits;
}

std::string StoredKeywordName(const std::string& typed) {
    return " " + typed + " ";
}

std::optional<std::string> CheckKeywordEntry(const std::string& keyword,
                                             const std::string& positions) {
    if (keyword.empty()) {
        return "Please entry key word";
    }
    if (positions.empty()) {
        return "Please entry position numbers.";
    }
    if (keyword.size() > 100) {
        return "The keyword you 've entered is too big to be accepted";
    }
    std::string rest = TrimSpaces(positions);
    if (rest.empty() || !IsNumeric(rest.substr(rest.size() - 1))) {
        return kFormatMessage;
    }
    // Item by item: the text before the first comma must be a number; then
    // every copy of that text with its comma goes, which may also cut pieces
    // out of later items ("1," inside "11,").
    for (size_t comma = rest.find(','); comma != std::string::npos; comma = rest.find(',')) {
        if (!IsNumeric(rest.substr(0, comma))) {
            return kFormatMessage;
        }
        const std::string item = rest.substr(0, comma + 1);
        std::string kept;
        size_t from = 0;
        for (size_t at = rest.find(item); at != std::string::npos; at = rest.find(item, from)) {
            kept.append(rest, from, at - from);
            from = at + item.size();
        }
        kept.append(rest, from, std::string::npos);
        rest = std::move(kept);
    }
    if (!IsNumeric(rest)) {
        return kFormatMessage;
    }
    return std::nullopt;
}

#include "TextOps.h"

#include <algorithm>

#include <cstring>

namespace textops {

char FoldAscii(char c) {
    return (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : c;
}

size_t FindNoCase(std::string_view text, std::string_view needle, size_t from) {
    if (from > text.size() || needle.size() > text.size() - from) {
        return std::string_view::npos;
    }
    if (needle.empty()) {
        return from;
    }
    const char first = FoldAscii(needle.front());
    const size_t last = text.size() - needle.size();
    for (size_t i = from; i <= last; ++i) {
        if (FoldAscii(text[i]) != first) {
            continue;
        }
        size_t k = 1;
        while (k < needle.size() && FoldAscii(text[i + k]) == FoldAscii(needle[k])) {
            ++k;
        }
        if (k == needle.size()) {
            return i;
        }
    }
    return std::string_view::npos;
}

namespace {

size_t Locate(std::string_view text, std::string_view needle, size_t from, bool ignoreCase) {
    return ignoreCase ? FindNoCase(text, needle, from) : text.find(needle, from);
}

}  // namespace

size_t ReplaceAll(std::string& text, std::string_view from, std::string_view to, bool ignoreCase) {
    if (from.empty()) {
        return 0;
    }
    size_t at = Locate(text, from, 0, ignoreCase);
    if (at == std::string::npos) {
        return 0;
    }
    size_t count = 0;
    if (to.size() <= from.size()) {
        // The text only shrinks: compact it in place behind a write cursor.
        // Everything from `read` on is still the original text, so the search
        // can go on there.
        char* data = text.data();
        size_t write = at;
        size_t read = at;
        while (at != std::string::npos) {
            std::memmove(data + write, data + read, at - read);
            write += at - read;
            if (!to.empty()) {
                std::memcpy(data + write, to.data(), to.size());
            }
            write += to.size();
            read = at + from.size();
            ++count;
            at = Locate(text, from, read, ignoreCase);
        }
        std::memmove(data + write, data + read, text.size() - read);
        text.resize(write + (text.size() - read));
        return count;
    }
    std::string out;
    out.reserve(text.size());
    size_t read = 0;
    while (at != std::string::npos) {
        out.append(text, read, at - read);
        out.append(to);
        read = at + from.size();
        ++count;
        at = Locate(text, from, read, ignoreCase);
    }
    out.append(text, read, std::string::npos);
    text = std::move(out);
    return count;
}

std::string_view TrimLeft(std::string_view text) {
    const size_t first = text.find_first_not_of(' ');
    return first == std::string_view::npos ? std::string_view() : text.substr(first);
}

std::string_view TrimRight(std::string_view text) {
    const size_t last = text.find_last_not_of(' ');
    return last == std::string_view::npos ? std::string_view() : text.substr(0, last + 1);
}

std::string_view Trim(std::string_view text) {
    return TrimLeft(TrimRight(text));
}

std::string_view TrimBlanks(std::string_view text) {
    const auto blank = [](char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; };
    while (!text.empty() && blank(text.front())) {
        text.remove_prefix(1);
    }
    while (!text.empty() && blank(text.back())) {
        text.remove_suffix(1);
    }
    return text;
}

bool EqualsNoCase(std::string_view a, std::string_view b) {
    return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin(), [](char x, char y) {
               return FoldAscii(x) == FoldAscii(y);
           });
}

}  // namespace textops

#include "MboxSplit.h"

#include <algorithm>

namespace harvest {
namespace {

bool endsWithYear(std::string_view line) {
    while (!line.empty() && (line.back() == '\r' || line.back() == ' ')) {
        line.remove_suffix(1);
    }
    if (line.size() < 5 || line[line.size() - 5] != ' ') {
        return false;
    }
    return std::all_of(line.end() - 4, line.end(), [](char c) { return c >= '0' && c <= '9'; });
}

bool isFieldLine(std::string_view line) {
    std::size_t colon = 0;
    while (colon < line.size() && colon < 77 && line[colon] > ' ' && line[colon] < 127 &&
           line[colon] != ':') {
        ++colon;
    }
    return colon > 0 && colon < line.size() && line[colon] == ':';
}

}  // namespace

std::size_t nextMboxSeparator(std::string_view all, std::size_t from) {
    if (from == 0 && all.starts_with("From ")) {
        return 0;
    }
    for (std::size_t hit = all.find("\nFrom ", from == 0 ? 0 : from - 1);
         hit != std::string_view::npos; hit = all.find("\nFrom ", hit + 1)) {
        const bool afterEmpty = hit == 0 || all[hit - 1] == '\n' ||
                                (all[hit - 1] == '\r' && hit >= 2 && all[hit - 2] == '\n');
        const std::size_t eol = all.find('\n', hit + 1);
        if (afterEmpty && eol != std::string_view::npos &&
            (endsWithYear(all.substr(hit + 1, eol - hit - 1)) ||
             isFieldLine(all.substr(eol + 1, 80)))) {
            return hit + 1;
        }
    }
    return std::string_view::npos;
}

void splitMbox(std::string_view all, const std::function<bool(std::string_view)>& each) {
    std::size_t at = nextMboxSeparator(all, 0);
    if (at != 0) {
        const std::size_t end = at == std::string_view::npos ? all.size() : at;
        if (all.substr(0, end).find_first_not_of(" \t\r\n") != std::string_view::npos &&
            !each(all.substr(0, end))) {
            return;
        }
    }
    while (at != std::string_view::npos && at < all.size()) {
        // at is on a "From " line; the message runs from the next line to the
        // start of the next separator.
        const std::size_t eol = all.find('\n', at);
        if (eol == std::string_view::npos) {
            return;
        }
        const std::size_t next = nextMboxSeparator(all, eol + 1);
        const std::size_t end = next == std::string_view::npos ? all.size() : next;
        if (!each(all.substr(eol + 1, end - eol - 1))) {
            return;
        }
        at = next;
    }
}

}  // namespace harvest

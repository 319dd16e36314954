#include "HttpFields.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <charconv>
#include <chrono>

#include "TextOps.h"

namespace harvest {

namespace {

std::string_view Trimmed(std::string_view s) {
    return textops::TrimBlanks(s);
}

std::string Lower(std::string_view s) {
    std::string out(s);
    for (char& c : out) {
        c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    }
    return out;
}

bool AllDigits(std::string_view s) {
    if (s.empty()) {
        return false;
    }
    for (char c : s) {
        if (c < '0' || c > '9') {
            return false;
        }
    }
    return true;
}

std::optional<int> Number(std::string_view s) {
    int n = 0;
    if (!AllDigits(s) || s.size() > 9) {
        return std::nullopt;
    }
    std::from_chars(s.data(), s.data() + s.size(), n);
    return n;
}

std::optional<int> MonthOf(std::string_view s) {
    static constexpr std::array<std::string_view, 12> kMonths = {
        "jan", "feb", "mar", "apr", "may", "jun", "jul", "aug", "sep", "oct", "nov", "dec"};
    if (s.size() != 3) {
        return std::nullopt;
    }
    const std::string lower = Lower(s);
    for (size_t i = 0; i < kMonths.size(); ++i) {
        if (lower == kMonths[i]) {
            return static_cast<int>(i) + 1;
        }
    }
    return std::nullopt;
}

// "08:49:37" as seconds into the day.
std::optional<int> TimeOfDay(std::string_view s) {
    if (s.size() != 8 || s[2] != ':' || s[5] != ':') {
        return std::nullopt;
    }
    const auto h = Number(s.substr(0, 2));
    const auto m = Number(s.substr(3, 2));
    const auto sec = Number(s.substr(6, 2));
    if (!h || !m || !sec || *h > 23 || *m > 59 || *sec > 60) {
        return std::nullopt;
    }
    return *h * 3600 + *m * 60 + *sec;
}

}  // namespace

std::string HttpHead::value(std::string_view name) const {
    for (const auto& [n, v] : fields) {
        if (n == name) {
            return v;
        }
    }
    return {};
}

std::vector<std::string> HttpHead::values(std::string_view name) const {
    std::vector<std::string> out;
    for (const auto& [n, v] : fields) {
        if (n == name) {
            out.push_back(v);
        }
    }
    return out;
}

bool HttpHead::has(std::string_view name) const {
    for (const auto& field : fields) {
        if (field.first == name) {
            return true;
        }
    }
    return false;
}

std::optional<HttpHead> ParseHttpHead(std::string_view head) {
    const size_t firstEnd = std::min(head.find('\n'), head.size());
    const std::string_view statusLine = Trimmed(head.substr(0, firstEnd));
    // "HTTP/1.1 200 OK"; the reason phrase may be missing.
    if (statusLine.substr(0, 5) != "HTTP/") {
        return std::nullopt;
    }
    const size_t space = statusLine.find(' ');
    if (space == std::string_view::npos) {
        return std::nullopt;
    }
    const std::string_view rest = Trimmed(statusLine.substr(space + 1));
    const std::string_view code = rest.substr(0, 3);
    const auto status = Number(code);
    const std::string_view afterCode = rest.substr(code.size());
    if (code.size() != 3 || !status || (!afterCode.empty() && afterCode.front() != ' ')) {
        return std::nullopt;
    }
    HttpHead out;
    out.status = *status;
    size_t at = firstEnd + 1;
    while (at < head.size()) {
        const size_t end = std::min(head.find('\n', at), head.size());
        const std::string_view line = head.substr(at, end - at);
        at = end + 1;
        if (!line.empty() && (line.front() == ' ' || line.front() == '\t')) {
            if (!out.fields.empty() && !Trimmed(line).empty()) {
                std::string& last = out.fields.back().second;
                last += last.empty() ? "" : " ";
                last += Trimmed(line);
            }
            continue;
        }
        const size_t colon = line.find(':');
        if (colon == std::string_view::npos || colon == 0) {
            continue;  // not a field: left out
        }
        out.fields.emplace_back(Lower(Trimmed(line.substr(0, colon))),
                                std::string(Trimmed(line.substr(colon + 1))));
    }
    return out;
}

std::pair<std::string, std::string> SplitContentType(std::string_view value) {
    const size_t semicolon = value.find(';');
    std::string type = Lower(Trimmed(value.substr(0, semicolon)));
    std::string charset;
    size_t at = semicolon;
    while (at != std::string_view::npos && at < value.size()) {
        const size_t next = value.find(';', at + 1);
        const std::string_view param = Trimmed(value.substr(at + 1, next - at - 1));
        at = next;
        const size_t eq = param.find('=');
        if (eq == std::string_view::npos || Lower(Trimmed(param.substr(0, eq))) != "charset") {
            continue;
        }
        std::string_view v = Trimmed(param.substr(eq + 1));
        if (v.size() >= 2 && v.front() == '"' && v.back() == '"') {
            v = v.substr(1, v.size() - 2);
        }
        charset = Lower(Trimmed(v));
        break;
    }
    return {type, charset};
}

std::optional<std::int64_t> ParseHttpDate(std::string_view text) {
    // Words split at spaces, commas and dashes; the three forms then differ
    // only in the order of day, month and year, which are told apart by
    // their shape.
    std::vector<std::string_view> words;
    size_t at = 0;
    while (at < text.size() && words.size() < 8) {
        while (at < text.size() && (text[at] == ' ' || text[at] == ',' || text[at] == '-')) {
            ++at;
        }
        const size_t start = at;
        while (at < text.size() && text[at] != ' ' && text[at] != ',' && text[at] != '-') {
            ++at;
        }
        if (at > start) {
            words.push_back(text.substr(start, at - start));
        }
    }
    std::optional<int> day, month, year, seconds;
    bool zoneOk = true;
    for (size_t i = 0; i < words.size(); ++i) {
        const std::string_view w = words[i];
        if (i == 0 && !AllDigits(w)) {
            continue;  // the weekday
        }
        if (auto m = MonthOf(w); m && !month) {
            month = m;
        } else if (auto t = TimeOfDay(w); t && !seconds) {
            seconds = t;
        } else if (AllDigits(w) && w.size() <= 2 && !day) {
            day = Number(w);
        } else if (AllDigits(w) && (w.size() == 2 || w.size() == 4) && !year) {
            year = Number(w);
            if (w.size() == 2) {
                *year += *year < 70 ? 2000 : 1900;
            }
        } else {
            const std::string zone = Lower(w);
            zoneOk = zoneOk && (zone == "gmt" || zone == "utc" || zone == "z");
        }
    }
    if (!day || !month || !year || !seconds || !zoneOk) {
        return std::nullopt;
    }
    using namespace std::chrono;
    const year_month_day date{std::chrono::year(*year), std::chrono::month(*month),
                              std::chrono::day(*day)};
    if (!date.ok()) {
        return std::nullopt;
    }
    return static_cast<std::int64_t>(sys_days(date).time_since_epoch().count()) * 86400 + *seconds;
}

std::optional<double> ParseRetryAfter(std::string_view value, std::int64_t now) {
    value = Trimmed(value);
    if (AllDigits(value)) {
        if (value.size() > 12) {
            return std::nullopt;  // past any wait worth keeping
        }
        std::int64_t seconds = 0;
        std::from_chars(value.data(), value.data() + value.size(), seconds);
        return static_cast<double>(seconds);
    }
    const auto date = ParseHttpDate(value);
    if (!date) {
        return std::nullopt;
    }
    return static_cast<double>(std::max<std::int64_t>(0, *date - now));
}

std::string ByteCountText(std::int64_t bytes) {
    if (bytes > 0 && bytes % (1 << 20) == 0) {
        return std::to_string(bytes >> 20) + " MB";
    }
    if (bytes > 0 && bytes % 1024 == 0) {
        return std::to_string(bytes >> 10) + " KB";
    }
    return std::to_string(bytes) + " bytes";
}

}  // namespace harvest

#include "ContactFilter.h"

#include <QFile>
#include <QString>
#include <algorithm>
#include <string_view>

namespace harvest {

namespace {

std::string_view trimmed(std::string_view s) {
    const auto space = [](char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; };
    while (!s.empty() && space(s.front())) {
        s.remove_prefix(1);
    }
    while (!s.empty() && space(s.back())) {
        s.remove_suffix(1);
    }
    return s;
}

// Lower case for comparing without regard to case; Unicode text (an
// internationalised domain, a local part) through Qt's case mapping.
std::string folded(std::string_view s) {
    const bool ascii = std::all_of(s.begin(), s.end(),
                                   [](char c) { return static_cast<unsigned char>(c) < 0x80; });
    if (!ascii) {
        return QString::fromUtf8(s.data(), static_cast<qsizetype>(s.size()))
            .toLower()
            .toStdString();
    }
    std::string out(s);
    for (char& c : out) {
        if (c >= 'A' && c <= 'Z') {
            c = static_cast<char>(c - 'A' + 'a');
        }
    }
    return out;
}

// A domain as the user may write it ("Example.ORG", "@example.org",
// ".example.org.") in the form it is compared in.
std::string domainEntry(std::string_view s) {
    s = trimmed(s);
    while (!s.empty() && (s.front() == '@' || s.front() == '.')) {
        s.remove_prefix(1);
    }
    while (!s.empty() && s.back() == '.') {
        s.remove_suffix(1);
    }
    return folded(s);
}

std::vector<std::string> domainEntries(const std::vector<std::string>& domains) {
    std::vector<std::string> out;
    for (const std::string& d : domains) {
        std::string entry = domainEntry(d);
        if (!entry.empty()) {
            out.push_back(std::move(entry));
        }
    }
    return out;
}

// `domain` (folded) is `entry` or one of its subdomains.
bool underDomain(std::string_view domain, std::string_view entry) {
    if (domain.size() == entry.size()) {
        return domain == entry;
    }
    return domain.size() > entry.size() && domain.ends_with(entry) &&
           domain[domain.size() - entry.size() - 1] == '.';
}

bool underAny(std::string_view domain, const std::vector<std::string>& entries) {
    return std::any_of(entries.begin(), entries.end(),
                       [&](const std::string& e) { return underDomain(domain, e); });
}

// A glob where "*" stands for any run of characters (none included); both
// sides already folded.
bool globMatches(std::string_view text, std::string_view pattern) {
    std::size_t t = 0, p = 0;
    std::size_t star = std::string_view::npos, resume = 0;
    while (t < text.size()) {
        if (p < pattern.size() && pattern[p] == '*') {
            star = p++;
            resume = t;
        } else if (p < pattern.size() && pattern[p] == text[t]) {
            ++p;
            ++t;
        } else if (star != std::string_view::npos) {
            p = star + 1;
            t = ++resume;
        } else {
            return false;
        }
    }
    while (p < pattern.size() && pattern[p] == '*') {
        ++p;
    }
    return p == pattern.size();
}

}  // namespace

void ContactFilter::onlyDomains(std::vector<std::string> domains) {
    only_ = domainEntries(domains);
}

void ContactFilter::excludeDomains(std::vector<std::string> domains) {
    exclude_ = domainEntries(domains);
}

void ContactFilter::kinds(std::vector<std::string> kinds) {
    kinds_.clear();
    for (const std::string& k : kinds) {
        std::string kind = folded(trimmed(k));
        if (!kind.empty()) {
            kinds_.push_back(std::move(kind));
        }
    }
}

void ContactFilter::noReserved(bool on) {
    noReserved_ = on;
}

std::optional<std::string> ContactFilter::loadStopList(const std::string& path) {
    QFile file(QString::fromStdString(path));
    if (!file.open(QIODevice::ReadOnly)) {
        return "cannot read " + path + ": " + file.errorString().toStdString();
    }
    const QByteArray bytes = file.readAll();
    if (file.error() != QFileDevice::NoError) {
        return "cannot read " + path + ": " + file.errorString().toStdString();
    }
    std::string_view text(bytes.constData(), static_cast<std::size_t>(bytes.size()));
    if (text.starts_with("\xEF\xBB\xBF")) {
        text.remove_prefix(3);  // a byte order mark some editors write
    }
    while (!text.empty()) {
        const std::size_t end = std::min(text.find('\n'), text.size());
        const std::string_view line = trimmed(text.substr(0, end));
        text.remove_prefix(std::min(end + 1, text.size()));
        if (!line.empty() && line.front() != '#') {
            addStopEntry(std::string(line));
        }
    }
    return std::nullopt;
}

// Kept folded: a pattern when it holds "*", an address when it holds "@",
// else a domain. "@example.org" reads as the domain.
void ContactFilter::addStopEntry(std::string entry) {
    std::string_view e = trimmed(entry);
    std::string stored;
    if (e.find('*') != std::string_view::npos) {
        stored = folded(e);
    } else if (e.find('@') != std::string_view::npos && !e.starts_with('@')) {
        stored = folded(e);
    } else {
        stored = domainEntry(e);
    }
    if (!stored.empty()) {
        stop_.push_back(std::move(stored));
    }
}

bool ContactFilter::keeps(const Contact& contact) const {
    return keepsAddress(contact.address, contact.domain, contact.kind, contact.reserved);
}

bool ContactFilter::keeps(const Sighting& sighting) const {
    return keepsAddress(sighting.address, sighting.domain, sighting.kind, sighting.reserved);
}

bool ContactFilter::keepsAddress(const std::string& address, const std::string& domain,
                                 const std::string& kind, bool reserved) const {
    if (noReserved_ && reserved) {
        return false;
    }
    if (!kinds_.empty() && std::find(kinds_.begin(), kinds_.end(), folded(kind)) == kinds_.end()) {
        return false;
    }
    if (only_.empty() && exclude_.empty() && stop_.empty()) {
        return true;
    }
    const std::string d = folded(domain);
    if (!only_.empty() && (d.empty() || !underAny(d, only_))) {
        return false;
    }
    if (!d.empty() && underAny(d, exclude_)) {
        return false;
    }
    if (stop_.empty()) {
        return true;
    }
    const std::string a = folded(address);
    for (const std::string& entry : stop_) {
        bool stopped = false;
        if (entry.find('*') != std::string::npos) {
            stopped = globMatches(a, entry);
        } else if (entry.find('@') != std::string::npos) {
            stopped = a == entry;
        } else {
            stopped = !d.empty() && underDomain(d, entry);
        }
        if (stopped) {
            return false;
        }
    }
    return true;
}

}  // namespace harvest

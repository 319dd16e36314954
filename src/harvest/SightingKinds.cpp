#include "SightingKinds.h"

#include "Finders.h"

namespace harvest {

namespace {

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

// A number in E.164: "+" and up to 15 digits.
bool isPhoneNumber(std::string_view address) {
    if (address.size() < 2 || address.size() > 16 || address.front() != '+') {
        return false;
    }
    for (char c : address.substr(1)) {
        if (!isDigit(c)) {
            return false;
        }
    }
    return true;
}

}  // namespace

bool SightingKinds::classify(Sighting& sighting) {
    const std::string_view address = sighting.address;
    if (address.starts_with("http://")) {
        return classifyWeb(sighting, address.substr(7));
    }
    if (address.starts_with("https://")) {
        return classifyWeb(sighting, address.substr(8));
    }
    if (isPhoneNumber(address)) {
        sighting.what = FindKind::Phone;
        sighting.kind = "phone";
        sighting.domain.clear();
        sighting.reserved = false;
        return true;
    }
    const std::size_t at = address.rfind('@');
    if (at == std::string_view::npos || at == 0 || at + 1 == address.size()) {
        return false;
    }
    const std::string_view domain = address.substr(at + 1);
    sighting.what = FindKind::Email;
    sighting.kind = addressKind(address.substr(0, at));
    sighting.reserved = domains_.check(domain).reserved;
    sighting.domain = domain;
    return true;
}

bool SightingKinds::classifyWeb(Sighting& sighting, std::string_view rest) {
    // The finders write the host without user information, the port after it.
    const std::string_view host = rest.substr(0, rest.find_first_of(":/?#"));
    if (host.empty()) {
        return false;
    }
    sighting.what = FindKind::Web;
    sighting.kind = "web";
    sighting.reserved = domains_.check(host).reserved;
    sighting.domain = host;
    return true;
}

}  // namespace harvest

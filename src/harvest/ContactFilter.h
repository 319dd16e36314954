#pragma once
// The user's filters on a harvest's output: --only-domain, --exclude-domain,
// --kind, --no-reserved and --stop-list.
#include <optional>
#include <string>
#include <vector>

#include "HarvestTypes.h"

namespace harvest {

class ContactFilter {
public:
    // A domain matches itself and its subdomains.
    void onlyDomains(std::vector<std::string> domains);
    void excludeDomains(std::vector<std::string> domains);
    void kinds(std::vector<std::string> kinds);
    void noReserved(bool on);
    // One entry a line: an address, a domain, or a pattern with "*"; blank
    // lines and lines starting with "#" are skipped. Returns an error text.
    std::optional<std::string> loadStopList(const std::string& path);
    void addStopEntry(std::string entry);

    // Whether any filter is set: without one every contact is kept.
    bool empty() const {
        return only_.empty() && exclude_.empty() && kinds_.empty() && stop_.empty() && !noReserved_;
    }
    bool keeps(const Contact& contact) const;
    bool keeps(const Sighting& sighting) const;

private:
    bool keepsAddress(const std::string& address, const std::string& domain,
                      const std::string& kind, bool reserved) const;
    std::vector<std::string> only_, exclude_, kinds_, stop_;
    bool noReserved_ = false;
};

}  // namespace harvest

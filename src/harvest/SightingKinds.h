#pragma once
// What a contact's address is, told from the address alone. A sighting row in
// a shard carries the address but not its kind, domain or reserved flag; they
// are worked out again here the way the finders first decided them, so that
// contacts added up from shards match those of one run over the same sources.
#include <string_view>

#include "DomainCheck.h"
#include "HarvestTypes.h"

namespace harvest {

class SightingKinds {
public:
    // Sets what, kind, domain and reserved of sighting from its address:
    // "http://" or "https://" and a host is a web address, "+" and digits a
    // phone number, local part "@" domain an e-mail address. Returns false,
    // leaving them unset, when the address is none of these. The domain is
    // not judged again (the finders only keep valid ones, and another
    // machine's list of public suffixes may be older or newer): it is taken
    // as written, only whether it is reserved is looked up.
    bool classify(Sighting& sighting);

private:
    bool classifyWeb(Sighting& sighting, std::string_view rest);

    DomainCheck domains_;
};

}  // namespace harvest

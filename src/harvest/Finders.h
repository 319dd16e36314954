#pragma once
// The finders run over decoded text and turn it into sightings: e-mail
// addresses (validated against the public suffix list), names, web addresses
// and, on request, phone numbers.
#include <memory>
#include <string>
#include <vector>

#include "HarvestTypes.h"

namespace harvest {

struct FinderOptions {
    bool webAddresses = true;
    std::string phoneRegion;  // a region code such as "GB"; empty: no phone numbers
    bool contexts = true;     // the text around each sighting; off when no one reads it
};

// One per worker: it caches what it learnt of each domain and is not shared
// between threads.
class Finders {
public:
    explicit Finders(FinderOptions options = {});
    ~Finders();
    Finders(const Finders&) = delete;
    Finders& operator=(const Finders&) = delete;

    // Appends every sighting in piece to out, in the order of the text.
    void find(const TextPiece& piece, std::vector<Sighting>& out);

private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

// The kind of an e-mail address by its local part: "role" (info, sales,
// support, postmaster, ...), "no-reply" (noreply, no-reply, donotreply, ...)
// or "personal".
const char* addressKind(std::string_view localPart);

}  // namespace harvest

#pragma once
// The fields of a contact row and of a sighting row, in the order every
// writer puts them, and each value typed so a format can spell it its way.
#include <array>
#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

#include "HarvestTypes.h"
#include "Writers.h"

namespace harvest {

inline constexpr std::array<std::string_view, 7> kContactFields = {
    "address", "name", "kind", "domain", "reserved", "sightings", "first_source"};
inline constexpr std::array<std::string_view, 12> kSightingFields = {
    "address", "name",   "source", "page",    "message",  "message_id",
    "line",    "offset", "field",  "context", "referrer", "depth"};

// One value of a row: null where not known, text, a number or a yes/no.
struct FieldValue {
    enum class Type { Null, Text, Number, Boolean };
    Type type = Type::Null;
    std::string_view text;
    std::int64_t number = 0;
    bool flag = false;
};

void contactRow(const Contact& contact, std::vector<FieldValue>& row);
void sightingRow(const Sighting& sighting, std::vector<FieldValue>& row);

inline std::span<const std::string_view> fieldNames(bool sightingRows) {
    if (sightingRows) {
        return kSightingFields;
    }
    return kContactFields;
}

// Calls `each` with every row of the report, contacts or sightings; the row
// refers to the report's strings and is only good during the call.
template <typename Each>
void forEachRow(const Report& report, bool sightingRows, Each each) {
    std::vector<FieldValue> row;
    if (sightingRows) {
        report.sightings.forEach([&](const Sighting& s) {
            sightingRow(s, row);
            each(row);
        });
    } else {
        report.contacts.forEach([&](const Contact& c) {
            contactRow(c, row);
            each(row);
        });
    }
}

}  // namespace harvest

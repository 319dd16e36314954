#include "ReportFields.h"

namespace harvest {

namespace {

FieldValue text(std::string_view s) {
    return {FieldValue::Type::Text, s, 0, false};
}

// Empty means "not known" for the optional text fields.
FieldValue textOrNull(std::string_view s) {
    return s.empty() ? FieldValue{} : text(s);
}

FieldValue number(std::int64_t n) {
    return {FieldValue::Type::Number, {}, n, false};
}

FieldValue numberOrNull(const std::optional<int>& n) {
    return n ? number(*n) : FieldValue{};
}

FieldValue boolean(bool b) {
    return {FieldValue::Type::Boolean, {}, 0, b};
}

}  // namespace

void contactRow(const Contact& c, std::vector<FieldValue>& row) {
    row.assign({text(c.address), textOrNull(c.name), text(c.kind), text(c.domain),
                boolean(c.reserved), number(c.sightings), text(c.firstSource)});
}

void sightingRow(const Sighting& s, std::vector<FieldValue>& row) {
    row.assign({text(s.address), textOrNull(s.name), text(s.origin.source),
                numberOrNull(s.origin.page), numberOrNull(s.origin.message),
                textOrNull(s.origin.messageId), number(s.line), number(s.offset),
                textOrNull(s.origin.field), text(s.context), textOrNull(s.origin.referrer),
                numberOrNull(s.origin.depth)});
}

}  // namespace harvest

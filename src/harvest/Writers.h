#pragma once
// The writers: a harvest's contacts (or its sightings) as TSV, CSV, JSON
// Lines, SQLite, XLSX or vCard.
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "HarvestTypes.h"
#include "RecordRange.h"

namespace harvest {

enum class Format { Tsv, Csv, Jsonl, Sqlite, Xlsx, VCard };

// "tsv", "csv", "jsonl", "sqlite", "xlsx", "vcf".
std::optional<Format> formatNamed(std::string_view name);
// By the extension of an output path (".tsv", ".txt", ".csv", ".jsonl",
// ".ndjson", ".json", ".sqlite", ".db", ".sqlite3", ".xlsx", ".vcf").
std::optional<Format> formatForPath(std::string_view path);
// Whether a format can go to standard output (the text formats).
bool isTextFormat(Format format);

struct Report {
    RecordRange<Contact> contacts;
    RecordRange<Sighting> sightings;
    const std::vector<Problem>& problems;
    RecordRange<SourceInfo> sources;
};

// Writes the report: one row per contact, or one per sighting when
// sightingRows is set (SQLite always holds both, with sources and problems).
// To path, whole or not at all; an empty path means standard output (text
// formats only). On failure returns false with a message in error.
bool writeReport(Format format, const Report& report, bool sightingRows, const std::string& path,
                 std::string& error);

}  // namespace harvest

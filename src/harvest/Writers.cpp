#include "Writers.h"

#include <algorithm>
#include <array>
#include <exception>
#include <utility>

#include "StagedFile.h"
#include "WriterParts.h"

namespace harvest {

namespace {

std::string lowerAscii(std::string_view s) {
    std::string out(s);
    std::transform(out.begin(), out.end(), out.begin(), [](unsigned char c) {
        return static_cast<char>(c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c);
    });
    return out;
}

constexpr std::array<std::pair<std::string_view, Format>, 8> kNames = {{
    {"tsv", Format::Tsv},
    {"csv", Format::Csv},
    {"jsonl", Format::Jsonl},
    {"json", Format::Jsonl},
    {"sqlite", Format::Sqlite},
    {"xlsx", Format::Xlsx},
    {"vcf", Format::VCard},
    {"vcard", Format::VCard},
}};

constexpr std::array<std::pair<std::string_view, Format>, 12> kExtensions = {{
    {"tsv", Format::Tsv},
    {"txt", Format::Tsv},
    {"csv", Format::Csv},
    {"jsonl", Format::Jsonl},
    {"ndjson", Format::Jsonl},
    {"json", Format::Jsonl},
    {"sqlite", Format::Sqlite},
    {"sqlite3", Format::Sqlite},
    {"db", Format::Sqlite},
    {"xlsx", Format::Xlsx},
    {"vcf", Format::VCard},
    {"vcard", Format::VCard},
}};

template <std::size_t N>
std::optional<Format> lookUp(const std::array<std::pair<std::string_view, Format>, N>& table,
                             std::string_view key) {
    const std::string lower = lowerAscii(key);
    for (const auto& [name, format] : table) {
        if (name == lower) {
            return format;
        }
    }
    return std::nullopt;
}

}  // namespace

std::optional<Format> formatNamed(std::string_view name) {
    return lookUp(kNames, name);
}

std::optional<Format> formatForPath(std::string_view path) {
    const std::size_t slash = path.find_last_of("/\\");
    const std::string_view file = slash == std::string_view::npos ? path : path.substr(slash + 1);
    const std::size_t dot = file.rfind('.');
    // "a.csv" has an extension; ".csv" (a hidden file named so) and "csv" do not.
    if (dot == std::string_view::npos || dot == 0) {
        return std::nullopt;
    }
    return lookUp(kExtensions, file.substr(dot + 1));
}

bool isTextFormat(Format format) {
    return format != Format::Sqlite && format != Format::Xlsx;
}

bool writeReport(Format format, const Report& report, bool sightingRows, const std::string& path,
                 std::string& error) {
    error.clear();
    if (path.empty() && !isTextFormat(format)) {
        error = format == Format::Sqlite ? "SQLite output needs a file name"
                                         : "XLSX output needs a file name";
        return false;
    }
    try {
        switch (format) {
            case Format::Sqlite:
                return writeSqliteReport(report, path, error);
            case Format::Xlsx:
                return writeXlsxReport(report, sightingRows, path, error);
            default:
                return writeTextReport(format, report, sightingRows, path, error);
        }
    } catch (const std::exception& e) {  // out of memory, most likely
        error = (path.empty() ? std::string("cannot write to standard output")
                              : cannotWrite(path, e.what()));
        return false;
    }
}

}  // namespace harvest

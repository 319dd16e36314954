#pragma once
// Builds zip files in memory for tests, with libarchive's writer.
#include <archive.h>
#include <archive_entry.h>

#include <string>
#include <utility>
#include <vector>

namespace harvest {

inline std::string makeZip(const std::vector<std::pair<std::string, std::string>>& members) {
    archive* a = archive_write_new();
    archive_write_set_format_zip(a);
    size_t capacity = 4096;
    for (const auto& m : members) {
        capacity += 2 * (m.first.size() + m.second.size()) + 256;
    }
    std::vector<char> buffer(capacity);
    size_t used = 0;
    archive_write_open_memory(a, buffer.data(), buffer.size(), &used);
    for (const auto& [name, bytes] : members) {
        archive_entry* e = archive_entry_new();
        archive_entry_set_pathname(e, name.c_str());
        archive_entry_set_filetype(e, AE_IFREG);
        archive_entry_set_perm(e, 0644);
        archive_entry_set_size(e, static_cast<la_int64_t>(bytes.size()));
        archive_write_header(a, e);
        archive_write_data(a, bytes.data(), bytes.size());
        archive_entry_free(e);
    }
    archive_write_close(a);
    archive_write_free(a);
    return std::string(buffer.data(), used);
}

}  // namespace harvest

#pragma once
// Archives and compressed streams written in memory by the tests, with
// libarchive's writer and zlib.
#include <archive.h>
#include <archive_entry.h>
#include <zlib.h>

#include <cstdlib>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "DecodeContext.h"

namespace harvest::testing {

inline Blob blob(std::string_view bytes, std::string source, int depth = 0) {
    Blob out;
    out.bytes = bytes;
    out.origin.source = std::move(source);
    out.depth = depth;
    return out;
}

struct Member {
    std::string path;
    std::string bytes;
    bool directory = false;
};

// format: ARCHIVE_FORMAT_ZIP, ARCHIVE_FORMAT_TAR_PAX_RESTRICTED, ARCHIVE_FORMAT_7ZIP,
// ARCHIVE_FORMAT_RAW; filter: ARCHIVE_FILTER_NONE, _GZIP, _BZIP2, _XZ; options
// as archive_write_set_options takes them ("zip:compression=store").
inline std::string writeArchive(const std::vector<Member>& members, int format,
                                int filter = ARCHIVE_FILTER_NONE, const char* options = nullptr,
                                const char* passphrase = nullptr) {
    std::string out;
    archive* a = archive_write_new();
    archive_write_set_format(a, format);
    if (filter != ARCHIVE_FILTER_NONE) {
        archive_write_add_filter(a, filter);
    }
    archive_write_set_bytes_in_last_block(a, 1);
    if (options && archive_write_set_options(a, options) != ARCHIVE_OK) {
        throw std::runtime_error(archive_error_string(a));
    }
    if (passphrase) {
        archive_write_set_passphrase(a, passphrase);
    }
    auto write = [](archive*, void* data, const void* buffer, size_t size) -> la_ssize_t {
        static_cast<std::string*>(data)->append(static_cast<const char*>(buffer), size);
        return static_cast<la_ssize_t>(size);
    };
    archive_write_open(a, &out, nullptr, write, nullptr);
    for (const Member& member : members) {
        archive_entry* entry = archive_entry_new();
        archive_entry_set_pathname(entry, member.path.c_str());
        archive_entry_set_filetype(entry, member.directory ? AE_IFDIR : AE_IFREG);
        archive_entry_set_perm(entry, 0644);
        archive_entry_set_size(entry, static_cast<la_int64_t>(member.bytes.size()));
        if (archive_write_header(a, entry) < ARCHIVE_WARN) {
            throw std::runtime_error(archive_error_string(a));
        }
        archive_write_data(a, member.bytes.data(), member.bytes.size());
        archive_entry_free(entry);
    }
    archive_write_close(a);
    archive_write_free(a);
    return out;
}

inline std::string zip(const std::vector<Member>& members, const char* options = nullptr) {
    return writeArchive(members, ARCHIVE_FORMAT_ZIP, ARCHIVE_FILTER_NONE, options);
}

// One gzip member; name goes into the header's FNAME when not empty.
inline std::string gzip(const std::string& bytes, const std::string& name = {}) {
    z_stream stream{};
    deflateInit2(&stream, Z_BEST_COMPRESSION, Z_DEFLATED, 15 + 16, 9, Z_DEFAULT_STRATEGY);
    gz_header header{};
    std::string nameCopy = name;
    if (!name.empty()) {
        header.name = reinterpret_cast<Bytef*>(nameCopy.data());
        deflateSetHeader(&stream, &header);
    }
    std::string out(deflateBound(&stream, bytes.size()) + 64 + name.size(), '\0');
    stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(bytes.data()));
    stream.avail_in = static_cast<uInt>(bytes.size());
    stream.next_out = reinterpret_cast<Bytef*>(out.data());
    stream.avail_out = static_cast<uInt>(out.size());
    deflate(&stream, Z_FINISH);
    out.resize(stream.total_out);
    deflateEnd(&stream);
    return out;
}

// A text that does not compress well, so that mangled bytes hit real data
// and limits are reached by expansion alone.
inline std::string noise(size_t size, unsigned seed) {
    std::string out;
    while (out.size() < size) {
        seed = seed * 1103515245u + 12345u;
        out += "word" + std::to_string(seed % 100000) + ' ';
    }
    out.resize(size);
    return out;
}

// A fixture from tests/data/harvest.
inline std::string fixture(const std::string& name) {
    const char* root = std::getenv("GLEANMARK_TEST_DATA");
    std::ifstream file(std::string(root ? root : "tests/data") + "/harvest/" + name,
                       std::ios::binary);
    std::ostringstream bytes;
    bytes << file.rdbuf();
    return bytes.str();
}

}  // namespace harvest::testing

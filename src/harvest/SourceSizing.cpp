#include "SourceSizing.h"

#include <zlib.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <string_view>

#include "SourceKind.h"

namespace fs = std::filesystem;

namespace harvest {
namespace {

constexpr std::size_t kHeadBytes = 64 << 10;
// How many entries are walked between looks at the clock.
constexpr int kEntriesPerLook = 64;

std::string readHead(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::string head(kHeadBytes, '\0');
    in.read(head.data(), static_cast<std::streamsize>(head.size()));
    head.resize(static_cast<std::size_t>(std::max<std::streamsize>(0, in.gcount())));
    return head;
}

// The start of a gzip stream's content, as far as `compressed` reaches.
std::string gunzipHead(std::string_view compressed) {
    z_stream stream{};
    if (inflateInit2(&stream, 15 + 16) != Z_OK) {
        return {};
    }
    std::string out(kHeadBytes, '\0');
    stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(compressed.data()));
    stream.avail_in = static_cast<uInt>(compressed.size());
    stream.next_out = reinterpret_cast<Bytef*>(out.data());
    stream.avail_out = static_cast<uInt>(out.size());
    inflate(&stream, Z_SYNC_FLUSH);
    out.resize(out.size() - stream.avail_out);
    inflateEnd(&stream);
    return out;
}

bool isFolder(const fs::path& path) {
    std::error_code error;
    return fs::is_directory(path, error);
}

// The bytes of the regular files under a folder, or -1 when the deadline
// came first.
std::int64_t folderBytes(const fs::path& folder, std::chrono::steady_clock::time_point deadline) {
    std::error_code error;
    fs::recursive_directory_iterator it(folder, fs::directory_options::skip_permission_denied,
                                        error);
    if (error) {
        return 0;
    }
    std::int64_t bytes = 0;
    int untilLook = kEntriesPerLook;
    for (const fs::recursive_directory_iterator end; it != end; it.increment(error)) {
        if (error) {
            // An unreadable entry is left out; the walk goes on past it.
            error.clear();
            continue;
        }
        if (--untilLook == 0) {
            untilLook = kEntriesPerLook;
            if (std::chrono::steady_clock::now() >= deadline) {
                return -1;
            }
        }
        std::error_code entryError;
        if (it->is_regular_file(entryError)) {
            const auto size = it->file_size(entryError);
            if (!entryError) {
                bytes += static_cast<std::int64_t>(size);
            }
        }
    }
    return bytes;
}

}  // namespace

std::string sourcePathKey(const std::string& path) {
    if (path.empty()) {
        return {};
    }
    std::error_code error;
    fs::path absolute = fs::absolute(fs::path(path), error);
    if (error) {
        absolute = fs::path(path);
    }
    std::string key = absolute.lexically_normal().string();
    while (key.size() > 1 && key.back() == fs::path::preferred_separator) {
        key.pop_back();
    }
    return key;
}

SizedSource sizeSource(const std::string& path, std::chrono::steady_clock::time_point deadline) {
    SizedSource source;
    source.path = sourcePathKey(path);
    const fs::path p(source.path);
    std::error_code error;
    const fs::file_status status = fs::status(p, error);
    if (error || !fs::exists(status)) {
        return source;  // Missing: the harvest says why it cannot be read
    }
    if (fs::is_directory(status)) {
        source.what = isFolder(p / "cur") && isFolder(p / "new") ? SizedSource::What::MailFolder
                                                                 : SizedSource::What::Folder;
        source.bytes = folderBytes(p, deadline);
        return source;
    }
    source.what = SizedSource::What::File;
    const auto size = fs::file_size(p, error);
    source.bytes = error ? -1 : static_cast<std::int64_t>(size);
    std::string head = readHead(source.path);
    if (head.starts_with("\x1F\x8B")) {
        head = gunzipHead(head);
    }
    switch (recognise(head)) {
        case SourceKind::Mbox:
            source.what = SizedSource::What::Mbox;
            break;
        case SourceKind::Warc:
            source.what = SizedSource::What::Warc;
            break;
        default:
            break;
    }
    return source;
}

}  // namespace harvest

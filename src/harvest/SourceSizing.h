#pragma once
// What a path the user adds is, and how big: a folder (a Maildir folder is a
// mail archive), or a file recognised by its first bytes (an mbox is a mail
// archive, a WARC a web archive, also when gzip-compressed). A folder's size
// is counted until a deadline, so that a huge one does not hold up the
// window; past it the size is unknown.
#include <chrono>
#include <cstdint>
#include <string>

namespace harvest {

struct SizedSource {
    enum class What { Folder, MailFolder, File, Mbox, Warc, Missing };
    What what = What::Missing;
    std::string path;         // absolute and lexically normal, no trailing separator
    std::int64_t bytes = -1;  // -1 when not known
};

// The path as the sources list keeps it: absolute, lexically normal, without
// a trailing separator; "" for an empty path.
std::string sourcePathKey(const std::string& path);

// Recognises and sizes one path; a folder's files are counted until
// `deadline` passes.
SizedSource sizeSource(const std::string& path, std::chrono::steady_clock::time_point deadline);

}  // namespace harvest

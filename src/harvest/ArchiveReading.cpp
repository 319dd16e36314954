#include "ArchiveReading.h"

#include <archive.h>
#include <archive_entry.h>

#include <QString>
#include <algorithm>
#include <array>

namespace harvest {
namespace {

constexpr std::int64_t kChunk = 64 << 10;
// What a file on disk is read in: large enough for few reads, small enough
// that a file of any size costs this much memory.
constexpr std::size_t kFileBlock = 1 << 20;
// Members smaller than this are never taken for bombs, whatever their ratio.
constexpr std::int64_t kRatioFloor = 1 << 20;

std::string megabytes(std::int64_t bytes) {
    if (bytes >= (1 << 20)) {
        return std::to_string(bytes >> 20) + " MB";
    }
    return std::to_string(bytes) + " bytes";
}

std::string validUtf8(const char* text) {
    return text ? QString::fromUtf8(text).toStdString() : std::string();
}

// The last component of a path, a container member's path included.
std::string lastComponent(const std::string& path) {
    const size_t cut = path.find_last_of("/\\!");
    return cut == std::string::npos ? path : path.substr(cut + 1);
}

// The original name a gzip header carries (FNAME, in Latin-1), without any
// directory part; empty when there is none.
std::string gzipName(std::string_view bytes) {
    if (bytes.size() < 10 || static_cast<unsigned char>(bytes[0]) != 0x1f ||
        static_cast<unsigned char>(bytes[1]) != 0x8b) {
        return {};
    }
    const auto flags = static_cast<unsigned char>(bytes[3]);
    size_t at = 10;
    if (flags & 0x04) {  // FEXTRA: a two-byte length, then that many bytes
        if (bytes.size() < at + 2) {
            return {};
        }
        at += 2 + (static_cast<unsigned char>(bytes[at]) | static_cast<unsigned char>(bytes[at + 1])
                                                               << 8);
    }
    if (!(flags & 0x08) || at >= bytes.size()) {
        return {};
    }
    const size_t end = bytes.find('\0', at);
    if (end == std::string_view::npos || end - at > 1024) {
        return {};
    }
    const std::string latin1(bytes.substr(at, end - at));
    return lastComponent(
        QString::fromLatin1(latin1.data(), qsizetype(latin1.size())).toStdString());
}

}  // namespace

ArchiveReading::ArchiveReading(const Blob& blob, DecodeContext& context, ArchiveFormats formats)
    : context_(context), source_(blob.origin.source), archive_(archive_read_new()) {
    if (setUp(formats) &&
        archive_read_open_memory(archive_, blob.bytes.data(), blob.bytes.size()) != ARCHIVE_OK) {
        stopped_ = damaged_ = true;
    }
}

ArchiveReading::ArchiveReading(const std::string& path, std::string source, DecodeContext& context,
                               ArchiveFormats formats)
    : context_(context), source_(std::move(source)), archive_(archive_read_new()) {
    if (setUp(formats) &&
        archive_read_open_filename(archive_, path.c_str(), kFileBlock) != ARCHIVE_OK) {
        stopped_ = damaged_ = true;
    }
}

bool ArchiveReading::setUp(ArchiveFormats formats) {
    if (!archive_) {
        stopped_ = damaged_ = true;
        return false;
    }
    noun_ = formats == ArchiveFormats::Raw        ? "compressed stream"
            : formats == ArchiveFormats::Archives ? "archive"
                                                  : "zip";
    switch (formats) {
        case ArchiveFormats::Zip:
            archive_read_support_format_zip_seekable(archive_);
            break;
        case ArchiveFormats::ZipStreaming:
            archive_read_support_format_zip_streamable(archive_);
            break;
        case ArchiveFormats::Archives:
            // Not archive_read_support_format_all: mtree would take plain text
            // for a listing, and WARC has a reader of its own.
            archive_read_support_filter_all(archive_);
            archive_read_support_format_tar(archive_);
            archive_read_support_format_cpio(archive_);
            archive_read_support_format_7zip(archive_);
            archive_read_support_format_rar(archive_);
            archive_read_support_format_rar5(archive_);
            archive_read_support_format_cab(archive_);
            archive_read_support_format_lha(archive_);
            archive_read_support_format_xar(archive_);
            archive_read_support_format_iso9660(archive_);
            archive_read_support_format_ar(archive_);
            archive_read_support_format_zip(archive_);
            break;
        case ArchiveFormats::Raw:
            archive_read_support_filter_all(archive_);
            archive_read_support_format_raw(archive_);
            break;
    }
    return true;
}

ArchiveReading::~ArchiveReading() {
    if (archive_) {
        archive_read_free(archive_);
    }
}

std::string ArchiveReading::error() const {
    const char* message = archive_ ? archive_error_string(archive_) : nullptr;
    return message ? validUtf8(message) : std::string("unreadable");
}

bool ArchiveReading::compressed() const {
    for (int i = 0; archive_ && i < archive_filter_count(archive_); ++i) {
        if (archive_filter_code(archive_, i) != ARCHIVE_FILTER_NONE) {
            return true;
        }
    }
    return false;
}

int ArchiveReading::format() const {
    return archive_ ? archive_format(archive_) : 0;
}

std::int64_t ArchiveReading::consumed() const {
    return archive_filter_bytes(archive_, -1);
}

void ArchiveReading::stopWith(const std::string& source, const std::string& reason) {
    stopped_ = true;
    context_.problem(source, reason);
}

bool ArchiveReading::next() {
    entry_ = nullptr;
    if (stopped_) {
        return false;
    }
    // Cancelled, or another level of the same top-level source passed the
    // limit and has said so already.
    if (context_.cancelled() || context_.expandedBytes() > context_.limits().maxExpandedBytes) {
        stopped_ = true;
        return false;
    }
    const int status = archive_read_next_header(archive_, &entry_);
    if (status == ARCHIVE_EOF) {
        entry_ = nullptr;
        return false;
    }
    if (status < ARCHIVE_WARN) {
        entry_ = nullptr;
        stopped_ = damaged_ = true;
        return false;
    }
    memberExpanded_ = 0;
    memberStart_ = consumed();
    return true;
}

std::string ArchiveReading::path() const {
    if (!entry_) {
        return {};
    }
    const char* utf8 = archive_entry_pathname_utf8(entry_);
    return validUtf8(utf8 ? utf8 : archive_entry_pathname(entry_));
}

bool ArchiveReading::isFile() const {
    return entry_ && archive_entry_filetype(entry_) == AE_IFREG;
}

bool ArchiveReading::encrypted() const {
    return entry_ && archive_entry_is_encrypted(entry_);
}

bool ArchiveReading::countExpanded(std::int64_t bytes, const std::string& memberSource) {
    const Limits& limits = context_.limits();
    std::int64_t& shared = context_.expandedBytes();
    if (shared > limits.maxExpandedBytes) {
        stopped_ = true;  // said already, where it was passed
        return false;
    }
    shared += bytes;
    memberExpanded_ += bytes;
    totalExpanded_ += bytes;
    if (shared > limits.maxExpandedBytes) {
        stopWith(memberSource,
                 "expands to more than " + megabytes(limits.maxExpandedBytes) + "; a zip bomb?");
        return false;
    }
    if (memberExpanded_ <= kRatioFloor) {
        return true;
    }
    // Solid formats decompress a block for many members at once: only the
    // archive's total tells how steeply it expands. So does a single stream,
    // which a filter may have used up while its format was being recognised.
    const int format = archive_format(archive_) & ARCHIVE_FORMAT_BASE_MASK;
    const bool solid = format == ARCHIVE_FORMAT_7ZIP || format == ARCHIVE_FORMAT_RAR ||
                       format == ARCHIVE_FORMAT_RAR_V5 || format == ARCHIVE_FORMAT_RAW;
    const std::int64_t expanded = solid ? totalExpanded_ : memberExpanded_;
    const std::int64_t packed = solid ? consumed() : consumed() - memberStart_;
    // Readers that copy stored data out of the input tell what they used only
    // when they come back for more: nothing used yet is no measure at all.
    if (packed > 0 &&
        static_cast<double>(expanded) > limits.maxRatio * static_cast<double>(packed)) {
        stopWith(memberSource, "expands more than " + std::to_string(int(limits.maxRatio)) +
                                   " times over; a zip bomb?");
        // The whole top-level source stops: every enclosing container sees
        // the shared count past the limit and ends without a word.
        shared = std::max(shared, limits.maxExpandedBytes + 1);
        return false;
    }
    return true;
}

std::int64_t ArchiveReading::readSome(char* buffer, std::int64_t size,
                                      const std::string& memberSource) {
    if (stopped_ || !entry_) {
        return -1;
    }
    if (context_.cancelled()) {
        stopped_ = true;
        return -1;
    }
    const la_ssize_t n = archive_read_data(archive_, buffer, static_cast<size_t>(size));
    if (n == ARCHIVE_WARN || n == ARCHIVE_FAILED || n == ARCHIVE_RETRY) {
        // This member is lost; the archive can go on to the next one.
        context_.problem(memberSource, "damaged member: " + error());
        return -1;
    }
    if (n < 0) {
        brokeInMember_ = true;
        stopWith(memberSource, "damaged " + noun_ + ": " + error());
        return -1;
    }
    if (n > 0 && !countExpanded(n, memberSource)) {
        return -1;
    }
    return n;
}

bool ArchiveReading::read(std::string& out, const std::string& memberSource) {
    out.clear();
    const std::int64_t maxBytes = context_.limits().maxMemberBytes;
    if (entry_ && archive_entry_size_is_set(entry_)) {
        // The header's size is only a hint for the allocation, never trusted.
        out.reserve(static_cast<size_t>(std::clamp<std::int64_t>(
            archive_entry_size(entry_), 0, std::min<std::int64_t>(maxBytes + 1, 64 << 20))));
    }
    for (;;) {
        const std::int64_t want =
            std::min<std::int64_t>(kChunk, maxBytes + 1 - static_cast<std::int64_t>(out.size()));
        const size_t old = out.size();
        out.resize(old + static_cast<size_t>(want));
        const std::int64_t n = readSome(out.data() + old, want, memberSource);
        out.resize(old + static_cast<size_t>(std::max<std::int64_t>(n, 0)));
        if (n < 0) {
            out.clear();
            return false;
        }
        if (n == 0) {
            return true;
        }
        if (static_cast<std::int64_t>(out.size()) > maxBytes) {
            out.clear();
            out.shrink_to_fit();
            context_.problem(memberSource, "larger than " + megabytes(maxBytes) + "; skipped");
            return false;
        }
    }
}

int handMembersOn(ArchiveReading& reading, const Blob& blob, DecodeContext& context) {
    int headers = 0;
    std::string bytes;
    while (reading.next()) {
        ++headers;
        if (!reading.isFile()) {
            continue;
        }
        Origin origin;
        origin.source = blob.origin.source + "!" + reading.path();
        if (reading.encrypted()) {
            context.problem(origin.source, "encrypted member: a password is needed");
            continue;
        }
        if (reading.read(bytes, origin.source)) {
            context.nested(bytes, std::move(origin), blob.depth + 1);
        }
    }
    return headers;
}

std::string streamName(std::string_view head, const std::string& source) {
    std::string name = gzipName(head);
    if (!name.empty()) {
        return name;
    }
    name = lastComponent(source);
    static constexpr std::array<std::string_view, 8> kSuffixes = {".gz",   ".bz2", ".xz",  ".zst",
                                                                  ".lzma", ".lz",  ".lz4", ".Z"};
    for (std::string_view suffix : kSuffixes) {
        if (name.size() > suffix.size() && name.ends_with(suffix)) {
            return name.substr(0, name.size() - suffix.size());
        }
    }
    return "data";
}

}  // namespace harvest

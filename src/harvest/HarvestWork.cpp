#include "HarvestWork.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <iterator>

#include "ByteScan.h"
#include "CompressedStream.h"
#include "DecodeDispatch.h"
#include "MboxSplit.h"
#include "SpillList.h"
#include "TriggerScan.h"
#include "WholeFile.h"

namespace harvest {
namespace {

constexpr std::int64_t kLook = 64 << 10;         // how far past a cut to look for a line end
constexpr std::int64_t kLargeFile = 1 << 20;     // read into memory of its own
constexpr std::int64_t kStreamFrom = 8LL << 20;  // a compressed file read as it expands

// Plain text that can be cut by bytes: no byte-order mark of UTF-16 or
// UTF-32 and no NUL bytes in the head (UTF-16 without a mark has them).
bool cutsByBytes(std::string_view head) {
    if (head.starts_with("\xFF\xFE") || head.starts_with("\xFE\xFF")) {
        return false;
    }
    return head.find('\0') == std::string_view::npos;
}

// Where the piece after `target` starts: after the first line end at or past
// it, or at target itself in a line longer than kLook.
std::int64_t textCut(const SourceFile& file, std::int64_t target) {
    std::string bytes;
    if (readRange(file.path, target - 1, std::min(file.bytes, target + kLook), bytes)) {
        return target;
    }
    std::size_t nl = bytes.find('\n');
    return nl == std::string::npos ? target : target - 1 + static_cast<std::int64_t>(nl) + 1;
}

// Where the piece of a page after `target` starts: at a tag that starts a
// line, so no address and almost no link is cut in two; else as text.
std::int64_t htmlCut(const SourceFile& file, std::int64_t target) {
    std::string bytes;
    if (readRange(file.path, target - 1, std::min(file.bytes, target + kLook), bytes)) {
        return target;
    }
    const std::size_t tag = bytes.find("\n<");
    return tag == std::string::npos ? textCut(file, target)
                                    : target - 1 + static_cast<std::int64_t>(tag) + 1;
}

// Where the first message at or after `target` starts; the file's size when
// none does.
std::int64_t mboxCut(const SourceFile& file, std::int64_t target) {
    constexpr std::int64_t kBack = 4;  // to see the empty line before a separator
    constexpr std::int64_t kAhead = 4 << 20;
    for (std::int64_t from = target; from < file.bytes; from += kAhead) {
        const std::int64_t start = std::max<std::int64_t>(0, from - kBack);
        std::string bytes;
        if (readRange(file.path, start, std::min(file.bytes, from + kAhead + 1024), bytes)) {
            return file.bytes;
        }
        std::size_t hit = nextMboxSeparator(bytes, static_cast<std::size_t>(from - start));
        if (hit != std::string::npos && start + static_cast<std::int64_t>(hit) < from + kAhead) {
            return start + static_cast<std::int64_t>(hit);
        }
    }
    return file.bytes;
}

bool isMessageReason(const std::string& reason) {
    return reason.starts_with("message ");
}

}  // namespace

std::optional<std::string> readRange(const std::string& path, std::int64_t begin, std::int64_t end,
                                     std::string& bytes) {
    int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) {
        bytes.clear();
        return std::string("cannot read: ") + std::strerror(errno);
    }
    // Resized, not cleared first: only bytes beyond the old size are zeroed.
    bytes.resize(static_cast<std::size_t>(std::max<std::int64_t>(0, end - begin)));
    std::size_t got = 0;
    while (got < bytes.size()) {
        ssize_t n = ::pread(fd, bytes.data() + got, bytes.size() - got,
                            static_cast<off_t>(begin) + static_cast<off_t>(got));
        if (n < 0 && errno == EINTR) {
            continue;
        }
        if (n < 0) {
            int error = errno;
            ::close(fd);
            bytes.clear();
            return std::string("cannot read: ") + std::strerror(error);
        }
        if (n == 0) {
            break;  // the file shrank while it was read
        }
        got += static_cast<std::size_t>(n);
    }
    bytes.resize(got);
    ::close(fd);
    return std::nullopt;
}

void planWork(const SourceFile& file, const CutOptions& cut,
              const std::function<bool(WorkItem)>& item) {
    WorkItem whole;
    whole.file = file;
    whole.end = file.bytes;
    if (file.bytes <= cut.cutFrom) {
        item(std::move(whole));
        return;
    }
    std::string head;
    if (readRange(file.path, 0, std::min<std::int64_t>(file.bytes, kLook), head)) {
        item(std::move(whole));  // the work reports why it cannot be read
        return;
    }
    const SourceKind kind = recognise(head);
    const bool text = kind == SourceKind::Text && cutsByBytes(head);
    // A large page in UTF-8 is cut before a tag that starts a line.
    bool ascii = false;
    const bool html = kind == SourceKind::Html && cutsByBytes(head) &&
                      !head.starts_with("\xEF\xBB\xBF") && isCleanUtf8(head, ascii);
    if (!text && !html && kind != SourceKind::Mbox) {
        item(std::move(whole));
        return;
    }
    std::int64_t begin = 0;
    bool first = true;
    while (begin < file.bytes) {
        std::int64_t target = begin + cut.pieceBytes;
        std::int64_t end = target >= file.bytes ? file.bytes
                           : text               ? textCut(file, target)
                           : html               ? htmlCut(file, target)
                                                : mboxCut(file, target);
        if (end <= begin) {
            end = std::min(file.bytes, target);
        }
        WorkItem piece;
        piece.file = file;
        piece.cut = true;
        piece.kind = text ? SourceKind::Text : html ? SourceKind::Html : SourceKind::Mbox;
        piece.firstPiece = first;
        piece.begin = begin;
        piece.end = end;
        if (!item(std::move(piece))) {
            return;
        }
        first = false;
        begin = end;
    }
}

namespace {

WorkResult doOne(const WorkItem& item, const CutOptions& cut, Worker& worker, const Limits& limits,
                 const std::atomic<bool>& cancel, bool keepSightings) {
    WorkResult result;
    std::vector<Sighting> sightings;
    // Hands the sightings on encoded, keeping those that start where keep() says.
    auto encode = [&](const std::function<bool(Sighting&)>& keep) {
        for (Sighting& s : sightings) {
            if (!keep || keep(s)) {
                if (keepSightings) {
                    appendEncoded(s, result.sightings);
                }
                result.contacts.add(s);
                ++result.sightingCount;
            }
        }
        sightings.clear();
    };
    if (item.walkProblem) {
        result.problems.push_back(*item.walkProblem);
        return result;
    }
    if (item.document) {
        const FetchedDocument& document = *item.document;
        SourceInfo& source = result.sources.emplace_back();
        source.path = document.origin.source;
        source.bytes = static_cast<std::int64_t>(document.bytes.size());
        source.kind = kindName(recognise(document.bytes), document.bytes);
        SourceHarvest harvest(worker.finders, limits, cancel, sightings, result.problems);
        harvest.afterPiece = [&] { encode({}); };
        harvest.decode(Blob{document.bytes, document.origin, 0});
        encode({});
        return result;
    }
    SourceInfo& source = result.sources.emplace_back();
    source.path = item.file.path;
    source.bytes = item.file.bytes;
    SourceHarvest harvest(worker.finders, limits, cancel, sightings, result.problems);
    Origin origin;
    origin.source = item.file.path;
    std::string& bytes = worker.buffer;
    if (!item.cut) {
        // The sightings of a whole file are filed as each piece of its text
        // is done, not all at its end: a large page or document keeps no
        // more than a piece's worth.
        harvest.afterPiece = [&] { encode({}); };
        // A large compressed text or mbox is read as it expands.
        if (item.file.bytes > kStreamFrom) {
            std::string head;
            if (!readRange(item.file.path, 0, 512, head) &&
                recognise(head) == SourceKind::Archive &&
                decodeCompressedFile(item.file.path, origin, harvest)) {
                source.kind = kindName(SourceKind::Archive, head);
                encode({});
                return result;
            }
        }
        if (item.file.bytes > cut.maxWholeFile) {
            source.kind = "too large";
            result.problems.push_back(
                {item.file.path, "larger than " + std::to_string(cut.maxWholeFile >> 20) +
                                     " MB and not plain text or an mbox; not read"});
            return result;
        }
        // A small file is read into a string; a large one into memory of
        // its own (see WholeFile).
        WholeFile large;
        std::optional<std::string> error = item.file.bytes < kLargeFile
                                               ? readWholeFile(item.file.path, bytes)
                                               : large.read(item.file.path);
        if (error) {
            source.kind = "unreadable";
            result.problems.push_back({item.file.path, *error});
            return result;
        }
        const std::string_view all = item.file.bytes < kLargeFile ? bytes : large.bytes();
        source.bytes = static_cast<std::int64_t>(all.size());
        source.kind = kindName(recognise(all), all);
        harvest.decode(Blob{all, origin, 0});
        encode({});
        return result;
    }
    source.kind = kindName(item.kind, {});
    if (item.kind == SourceKind::Html) {
        // A piece of a page, decoded as a page of its own; its lines and
        // offsets in the decoded text are numbered on by the merge.
        if (auto error = readRange(item.file.path, item.begin, item.end, bytes)) {
            result.problems.push_back({item.file.path, *error});
            return result;
        }
        harvest.measureText = true;
        harvest.decodeAs(SourceKind::Html, Blob{bytes, origin, 0});
        result.newlines = harvest.lastLine();
        result.decodedBytes = harvest.textEnd() + 1;
        encode({});
        return result;
    }
    if (item.kind == SourceKind::Mbox) {
        if (auto error = readRange(item.file.path, item.begin, item.end, bytes)) {
            result.problems.push_back({item.file.path, *error});
            return result;
        }
        harvest.decodeAs(SourceKind::Mbox, Blob{bytes, origin, 0});
        splitMbox(bytes, [&](std::string_view) {
            ++result.messages;
            return true;
        });
        encode({});
        return result;
    }
    // A piece of text, read with its margins; what starts in a margin belongs
    // to the piece beside it.
    const std::int64_t left = std::min(cut.margin, item.begin);
    const std::int64_t right = std::min(cut.margin, item.file.bytes - item.end);
    if (auto error = readRange(item.file.path, item.begin - left, item.end + right, bytes)) {
        result.problems.push_back({item.file.path, *error});
        return result;
    }
    const std::string_view all = bytes;
    const std::int64_t coreEnd = std::min<std::int64_t>(left + (item.end - item.begin),
                                                        static_cast<std::int64_t>(all.size()));
    const std::int64_t marginLines = countNewlines(all.substr(0, left));
    result.newlines = countNewlines(all.substr(left, coreEnd - left));
    // Clean UTF-8, as most of a large text is, decodes to itself: the bytes
    // go to the finders as they are, without a decoded copy. A byte-order
    // mark at the start is left to the decoder, which drops it.
    bool ascii = false;
    if (!all.starts_with("\xEF\xBB\xBF") && isCleanUtf8(all, ascii)) {
        TextPiece piece;
        piece.origin = origin;
        piece.text = std::move(bytes);
        harvest.find(piece);
        bytes = std::move(piece.text);
    } else {
        harvest.decodeAs(SourceKind::Text, Blob{bytes, origin, 0});
    }
    encode([&](Sighting& s) {
        if (s.offset < left || s.offset >= coreEnd) {
            return false;
        }
        s.offset += item.begin - left;
        s.line -= marginLines;
        return true;
    });
    return result;
}

}  // namespace

WorkResult doWork(const WorkItem& item, const CutOptions& cut, Worker& worker, const Limits& limits,
                  const std::atomic<bool>& cancel, bool keepSightings) {
    if (item.group.empty()) {
        return doOne(item, cut, worker, limits, cancel, keepSightings);
    }
    WorkResult all;
    for (const SourceFile& file : item.group) {
        if (cancel.load(std::memory_order_relaxed)) {
            all.cut = true;
            break;
        }
        WorkItem one;
        one.file = file;
        one.end = file.bytes;
        WorkResult r = doOne(one, cut, worker, limits, cancel, keepSightings);
        all.sources.push_back(std::move(r.sources.front()));
        all.sightings += r.sightings;
        all.sightingCount += r.sightingCount;
        all.contacts.merge(std::move(r.contacts));
        std::move(r.problems.begin(), r.problems.end(), std::back_inserter(all.problems));
    }
    return all;
}

// Message numbers in the problems of an mbox piece count from the piece's
// start; the harvester adds the messages before it.
bool renumberMessageProblem(Problem& problem, int messagesBefore) {
    if (!isMessageReason(problem.reason)) {
        return false;
    }
    std::size_t digits = 8;
    int n = 0;
    while (digits < problem.reason.size() && problem.reason[digits] >= '0' &&
           problem.reason[digits] <= '9') {
        n = n * 10 + (problem.reason[digits] - '0');
        ++digits;
    }
    if (digits == 8 || problem.reason.compare(digits, 2, ": ") != 0) {
        return false;
    }
    problem.reason =
        "message " + std::to_string(n + messagesBefore) + problem.reason.substr(digits);
    return true;
}

}  // namespace harvest

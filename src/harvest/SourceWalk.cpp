#include "SourceWalk.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <iostream>
#include <iterator>
#include <set>
#include <utility>

namespace harvest {
namespace {

using FileId = std::pair<dev_t, ino_t>;

std::string systemReason(int error) {
    return std::strerror(error);
}

const char* specialKind(mode_t mode) {
    if (S_ISFIFO(mode)) {
        return "a named pipe";
    }
    if (S_ISCHR(mode) || S_ISBLK(mode)) {
        return "a device";
    }
    if (S_ISSOCK(mode)) {
        return "a socket";
    }
    return "not a regular file";
}

class Walker {
public:
    Walker(const WalkSink& sink, const std::atomic<bool>* cancel) : sink_(sink), cancel_(cancel) {}

    void visit(const std::string& path) {
        if (cancel_ && cancel_->load(std::memory_order_relaxed)) {
            return;
        }
        struct stat st {};
        if (::stat(path.c_str(), &st) != 0) {
            int error = errno;
            struct stat link {};
            if (::lstat(path.c_str(), &link) == 0 && S_ISLNK(link.st_mode)) {
                sink_.problem(Problem{path, error == ELOOP ? "a symbolic link loop; skipped"
                                                           : "a broken symbolic link; skipped"});
            } else {
                sink_.problem(Problem{path, "cannot read: " + systemReason(error)});
            }
            return;
        }
        if (S_ISREG(st.st_mode)) {
            sink_.file(SourceFile{path, static_cast<std::int64_t>(st.st_size)});
        } else if (S_ISDIR(st.st_mode)) {
            visitFolder(path, st);
        } else {
            sink_.problem(Problem{path, std::string(specialKind(st.st_mode)) + "; skipped"});
        }
    }

private:
    void visitFolder(const std::string& path, const struct stat& st) {
        FileId id{st.st_dev, st.st_ino};
        if (std::find(open_.begin(), open_.end(), id) != open_.end()) {
            sink_.problem(Problem{path,
                                  "a symbolic link loop back into a folder being read; "
                                  "skipped"});
            return;
        }
        if (!seen_.insert(id).second) {
            sink_.problem(Problem{path, "a folder already read through another path; skipped"});
            return;
        }
        DIR* dir = ::opendir(path.c_str());
        if (!dir) {
            sink_.problem(Problem{path, "cannot read the folder: " + systemReason(errno)});
            return;
        }
        std::vector<std::string> names;
        while (dirent* entry = ::readdir(dir)) {
            std::string_view name = entry->d_name;
            if (name != "." && name != "..") {
                names.emplace_back(name);
            }
        }
        ::closedir(dir);
        std::sort(names.begin(), names.end());
        open_.push_back(id);
        std::string prefix = path;
        if (prefix.empty() || prefix.back() != '/') {
            prefix += '/';
        }
        for (const std::string& name : names) {
            visit(prefix + name);
        }
        open_.pop_back();
    }

    const WalkSink& sink_;
    const std::atomic<bool>* cancel_;
    std::vector<FileId> open_;  // the folders from the root down to the one being read
    std::set<FileId> seen_;
};

}  // namespace

void walkSources(const std::vector<std::string>& paths, const WalkSink& sink,
                 const std::atomic<bool>* cancel) {
    Walker walker(sink, cancel);
    for (const std::string& path : paths) {
        walker.visit(path);
    }
}

void walkSources(const std::vector<std::string>& paths, std::vector<SourceFile>& files,
                 std::vector<Problem>& problems, const std::atomic<bool>* cancel) {
    walkSources(paths,
                WalkSink{[&](SourceFile f) { files.push_back(std::move(f)); },
                         [&](Problem p) { problems.push_back(std::move(p)); }},
                cancel);
}

std::optional<std::string> readPathList(const std::string& listPath, bool nulSeparated,
                                        std::vector<std::string>& paths) {
    std::string bytes;
    if (listPath == "-") {
        bytes.assign(std::istreambuf_iterator<char>(std::cin), std::istreambuf_iterator<char>());
    } else if (auto error = readWholeFile(listPath, bytes)) {
        return error;
    }
    char separator = nulSeparated ? '\0' : '\n';
    size_t pos = 0;
    while (pos < bytes.size()) {
        size_t end = bytes.find(separator, pos);
        if (end == std::string::npos) {
            end = bytes.size();
        }
        std::string entry = bytes.substr(pos, end - pos);
        if (!nulSeparated && !entry.empty() && entry.back() == '\r') {
            entry.pop_back();
        }
        if (!entry.empty()) {
            paths.push_back(std::move(entry));
        }
        pos = end + 1;
    }
    return std::nullopt;
}

std::optional<std::string> readWholeFile(const std::string& path, std::string& bytes) {
    int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) {
        return "cannot read: " + systemReason(errno);
    }
    // Read straight into the string, sized by the file with one byte to
    // spare: a file that grows while it is read is read on to its end. A
    // read that stops short at the file's size has met its end, so no
    // further call is made to hear it.
    struct stat st {};
    std::size_t size =
        ::fstat(fd, &st) == 0 && st.st_size > 0 ? static_cast<std::size_t>(st.st_size) : 0;
    bytes.resize(size > 0 ? size + 1 : std::size_t{1} << 16);
    std::size_t got = 0;
    for (;;) {
        if (got == bytes.size()) {
            bytes.resize(bytes.size() * 2);
        }
        ssize_t n = ::read(fd, bytes.data() + got, bytes.size() - got);
        if (n == 0) {
            break;
        }
        if (n < 0) {
            if (errno == EINTR) {
                continue;
            }
            int error = errno;
            ::close(fd);
            bytes.clear();
            return "cannot read: " + systemReason(error);
        }
        got += static_cast<std::size_t>(n);
        if (size > 0 && got == size) {
            break;
        }
    }
    bytes.resize(got);
    ::close(fd);
    return std::nullopt;
}

}  // namespace harvest

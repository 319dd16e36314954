#include "WholeFile.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace harvest {

WholeFile::~WholeFile() {
    release();
}

void WholeFile::release() {
    if (data_ != nullptr) {
        ::munmap(data_, capacity_);
    }
    data_ = nullptr;
    capacity_ = size_ = 0;
}

// Room for capacity bytes, keeping what was read so far.
bool WholeFile::reserve(std::size_t capacity) {
    const long page = ::sysconf(_SC_PAGESIZE);
    const std::size_t pageSize = page > 0 ? static_cast<std::size_t>(page) : 4096;
    capacity = (capacity + pageSize - 1) / pageSize * pageSize;
    void* p = data_ == nullptr ? ::mmap(nullptr, capacity, PROT_READ | PROT_WRITE,
                                        MAP_PRIVATE | MAP_ANONYMOUS | MAP_POPULATE, -1, 0)
                               : ::mremap(data_, capacity_, capacity, MREMAP_MAYMOVE);
    if (p == MAP_FAILED) {
        return false;
    }
    data_ = static_cast<char*>(p);
    capacity_ = capacity;
    return true;
}

std::optional<std::string> WholeFile::read(const std::string& path) {
    release();
    const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) {
        return std::string("cannot read: ") + std::strerror(errno);
    }
    struct stat st {};
    const std::size_t size =
        ::fstat(fd, &st) == 0 && st.st_size > 0 ? static_cast<std::size_t>(st.st_size) : 0;
    // One byte more than the file has, so the read that meets its end needs
    // no more room.
    std::optional<std::string> error;
    if (!reserve(size + 1)) {
        error = std::string("cannot read: ") + std::strerror(errno);
    }
    while (!error) {
        if (size_ == capacity_ && !reserve(capacity_ * 2)) {
            error = std::string("cannot read: ") + std::strerror(errno);
            break;
        }
        const ssize_t n = ::read(fd, data_ + size_, capacity_ - size_);
        if (n < 0 && errno == EINTR) {
            continue;
        }
        if (n < 0) {
            error = std::string("cannot read: ") + std::strerror(errno);
        } else if (n == 0) {
            break;
        } else {
            size_ += static_cast<std::size_t>(n);
            if (size > 0 && size_ == size) {
                break;  // stopped short at the file's size: its end
            }
        }
    }
    ::close(fd);
    if (error) {
        release();
    }
    return error;
}

}  // namespace harvest

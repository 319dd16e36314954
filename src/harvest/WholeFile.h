#pragma once
// A large file read whole into memory of its own. The memory is mapped and
// filled in by the system in one call before the file is read into it: a
// zero-filled string would be written twice, and first touching it page by
// page costs a fault for every 4 KB, which on some machines costs more than
// reading the file.
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace harvest {

class WholeFile {
public:
    WholeFile() = default;
    ~WholeFile();
    WholeFile(const WholeFile&) = delete;
    WholeFile& operator=(const WholeFile&) = delete;

    // Reads the file at path, to its end even if it grows meanwhile. Returns
    // an error text (the system's reason).
    std::optional<std::string> read(const std::string& path);
    std::string_view bytes() const { return {data_, size_}; }

private:
    bool reserve(std::size_t capacity);
    void release();

    char* data_ = nullptr;
    std::size_t capacity_ = 0;
    std::size_t size_ = 0;
};

}  // namespace harvest

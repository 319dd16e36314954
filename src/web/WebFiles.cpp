#include "WebFiles.h"

#include <fstream>
#include <iterator>

namespace webfiles {

std::optional<std::vector<std::string>> ReadLines(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    if (!in) {
        return std::nullopt;
    }
    const std::string bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    std::vector<std::string> lines;
    size_t begin = 0;
    while (begin < bytes.size()) {
        const size_t end = bytes.find_first_of("\r\n", begin);
        if (end == std::string::npos) {
            lines.push_back(bytes.substr(begin));
            break;
        }
        lines.push_back(bytes.substr(begin, end - begin));
        begin = end + 1;
        if (bytes[end] == '\r' && begin < bytes.size() && bytes[begin] == '\n') {
            ++begin;
        }
    }
    return lines;
}

namespace {

bool Write(const std::string& path, const std::string& text, std::ios::openmode mode) {
    std::ofstream out(path, std::ios::binary | mode);
    if (!out) {
        return false;
    }
    out << text << "\r\n";
    out.close();
    return static_cast<bool>(out);
}

}  // namespace

bool WriteRecord(const std::string& path, const std::string& text) {
    return Write(path, text, std::ios::trunc);
}

bool AppendRecord(const std::string& path, const std::string& text) {
    return Write(path, text, std::ios::app);
}

}  // namespace webfiles

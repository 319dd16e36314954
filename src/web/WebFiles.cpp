#include "WebFiles.h"

namespace webfiles {
std::optional<std::vector<std::string>> ReadLines(const std::string&) {
    return std::nullopt;
}
bool WriteRecord(const std::string&, const std::string&) {
    return false;
}
bool AppendRecord(const std::string&, const std::string&) {
    return false;
}
}  // namespace webfiles

#include "clsKeyWord.h"

#include <filesystem>
#include <fstream>

namespace {

// One line of a keyword file as a record: the name runs to the first tab, the
// positions from there to the next tab or the end of the line. Without a tab
// the whole line is both.
void AddLine(KeywordTable& table, const std::string& line) {
    const size_t tab = line.find('\t');
    if (tab == std::string::npos) {
        table.add(line, line);
        return;
    }
    const size_t start = tab + 1;
    const size_t end = line.find('\t', start);
    table.add(line.substr(0, tab),
              line.substr(start, end == std::string::npos ? std::string::npos : end - start));
}

}  // namespace

clsKeyWord::clsKeyWord(const std::string& strKeyOpenFile)
    : rstKeyWord(std::make_shared<KeywordTable>()) {
    if (strKeyOpenFile.empty()) {
        return;
    }
    // Only a regular file is read: a folder, a device or a pipe could block or
    // never end. A read error ends the reading; the lines read so far are kept.
    std::error_code ec;
    if (!std::filesystem::is_regular_file(strKeyOpenFile, ec)) {
        return;
    }
    std::ifstream in(strKeyOpenFile, std::ios::binary);
    std::string bytes;
    char buffer[65536];
    while (in.read(buffer, sizeof buffer) || in.gcount() > 0) {
        bytes.append(buffer, static_cast<size_t>(in.gcount()));
    }

    // Lines end at CR LF, at CR alone or at LF alone. Text after the last line
    // end is a line of its own only when it is not empty, so a file that ends
    // with its line break has no extra empty record.
    size_t start = 0;
    while (start < bytes.size()) {
        size_t end = bytes.find_first_of("\r\n", start);
        if (end == std::string::npos) {
            end = bytes.size();
        }
        AddLine(*rstKeyWord, bytes.substr(start, end - start));
        start = end + 1;
        if (end < bytes.size() && bytes[end] == '\r' && start < bytes.size() &&
            bytes[start] == '\n') {
            ++start;
        }
    }
}

bool clsKeyWord::WriteToFile(const std::string& strKeySaveFile) const {
    if (strKeySaveFile.empty()) {
        return false;
    }
    std::ofstream out(strKeySaveFile, std::ios::binary | std::ios::trunc);
    if (!out) {
        return false;
    }
    for (const KeywordRecord& record : rstKeyWord->records()) {
        out << record.Name << '\t' << record.Position << "\r\n";
    }
    out.close();
    return !out.fail();
}

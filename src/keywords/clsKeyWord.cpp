#include "clsKeyWord.h"

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
    // A read error (a folder, a device) ends the reading: the lines read so
    // far are kept.
    std::ifstream in(strKeyOpenFile, std::ios::binary);
    std::string bytes;
    char buffer[65536];
    while (in.read(buffer, sizeof buffer) || in.gcount() > 0) {
        bytes.append(buffer, static_cast<size_t>(in.gcount()));
    }

    // Lines end at LF; the CR of a CR LF pair is dropped. Text after the last
    // LF is a line of its own only when it is not empty, so a file that ends
    // with its line break has no extra empty record.
    size_t start = 0;
    while (start < bytes.size()) {
        size_t end = bytes.find('\n', start);
        const bool lastLine = end == std::string::npos;
        if (lastLine) {
            end = bytes.size();
        }
        std::string line = bytes.substr(start, end - start);
        if (!line.empty() && line.back() == '\r') {
            line.pop_back();
        }
        AddLine(*rstKeyWord, line);
        start = end + 1;
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

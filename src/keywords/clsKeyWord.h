#pragma once

#include <memory>
#include <string>

#include "KeywordTable.h"

// A keyword set: its table, filled from a keyword file when the set is
// created, and written back with WriteToFile.
//
// Keyword file: one line per keyword, the name, a tab, the positions; lines
// end with CR LF. On reading, the name is the text before the first tab and
// the positions run to the next tab or the end of the line; a line without a
// tab gives its whole text as both name and positions; every line, an empty
// one too, is a record. A file that cannot be read leaves the records read
// so far.
class clsKeyWord {
public:
    explicit clsKeyWord(const std::string& strKeyOpenFile = {});

    std::shared_ptr<KeywordTable> rstKeyWord;

    // Writes the set to `strKeySaveFile`; false when the file cannot be written.
    bool WriteToFile(const std::string& strKeySaveFile) const;
};

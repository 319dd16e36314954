#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "ResultTable.h"

class EventPump;

// The result writer of one run: creates the result table from the run's
// column list and writes it as tab-separated text.
class clsWF {
public:
    // Builds `rstWF` with one column per entry of `arrColumns`. When a name is
    // already taken, creation stops at that column and `intDupField` is set
    // to 1.
    clsWF(const std::vector<std::string>& arrColumns, int16_t& intDupField);

    std::shared_ptr<ResultTable> rstWF;

    // Writes every row to `strResultFile`: fields joined by a tab, no header,
    // CR LF after each line, the values' bytes as they are. Yields once per
    // row. Any error ends the write silently.
    void WriteToFile(const std::string& strResultFile, EventPump& pump) const;
};

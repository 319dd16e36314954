#include "clsWF.h"

#include <fstream>

#include "EventPump.h"

clsWF::clsWF(const std::vector<std::string>& arrColumns, int16_t& intDupField)
    : rstWF(std::make_shared<ResultTable>()) {
    for (const auto& name : arrColumns) {
        if (!rstWF->appendColumn(name)) {
            intDupField = 1;
            return;
        }
    }
}

void clsWF::WriteToFile(const std::string& strResultFile, EventPump& pump) const {
    std::ofstream out(strResultFile, std::ios::binary | std::ios::trunc);
    if (!out) {
        return;
    }
    const ResultTable& table = *rstWF;
    for (size_t row = 0; row < table.rowCount(); ++row) {
        pump.yield();
        if (row >= table.rowCount()) {
            break;  // rows deleted while yielding
        }
        std::string line;
        for (size_t col = 0; col < table.columnCount(); ++col) {
            line += table.text(row, col);
            line += '\t';
        }
        if (!line.empty()) {
            line.pop_back();
        }
        line += "\r\n";
        if (!out.write(line.data(), static_cast<std::streamsize>(line.size()))) {
            return;
        }
    }
}

#include "Clock.h"
#include "EventPump.h"
#include "ProgressBar.h"
#include "ResultTable.h"
#include "ScanEngine.h"
#include "TextOps.h"

using textops::ReplaceAll;

namespace {

void Put(ResultTable& rstWF, size_t row, size_t column, const std::string& value) {
    if (column < rstWF.columnCount()) {
        rstWF.setValue(row, column, value);
    }
}

// (highest index of arrColumns) - 1: the number of scanner columns that must
// come back empty before a file's rows end.
int RowCountdown(const std::vector<std::string>& arrColumns) {
    return static_cast<int>(arrColumns.size()) - 2;
}

}  // namespace

void ScanEngine::PrepareText() {
    strScanText += ' ';
    for (char& c : strScanText) {
        if (c == '\b' || c == '\t' || c == '\n' || c == '\r') {
            c = ' ';
        }
    }
    ReplaceAll(strScanText, "quot", " ");
    bool firstPass = true;
    while (strScanText.find("  ") != std::string::npos) {
        if (!firstPass) {
            pump_.yield();
        }
        firstPass = false;
        ReplaceAll(strScanText, "  ", " ");
    }
}

// Fills an "Email", "WebSite" or "MailTo" column from its scanner (other
// columns are left alone); false when the run was cancelled.
bool ScanEngine::StoreAddress(ResultTable& rstWF, size_t row, size_t column,
                              const std::string& name, int& remaining) {
    if (name == "Email") {
        return StoreScanned(rstWF, row, column, GetEmail(), remaining);
    }
    if (name == "WebSite") {
        return StoreScanned(rstWF, row, column, GetWebSite(), remaining);
    }
    if (name == "MailTo") {
        return StoreScanned(rstWF, row, column, GetMailTo(), remaining);
    }
    return true;
}

// One row per pass: the next address of each kind and the next text of each
// keyword side by side, until a pass in which enough of them came back empty.
// That last pass is deleted again - it is the last row of the table, even when
// this file wrote no row at all.
void ScanEngine::RecordFileResults(const std::vector<std::string>& arrColumns, ResultTable& rstWF,
                                   const KeywordTable& rstKeyWord) {
    PrepareText();
    int remaining = RowCountdown(arrColumns);
    while (remaining > 0) {
        remaining = RowCountdown(arrColumns);
        pump_.yield();
        if (intCancel == 1) {
            return;
        }
        const size_t row = rstWF.addRow();
        for (size_t j = 0; j < arrColumns.size(); ++j) {
            pump_.yield();
            const std::string& column = arrColumns[j];
            if (!StoreAddress(rstWF, row, j, column, remaining)) {
                return;
            }
            if (intUseKeyword == 1) {
                for (const KeywordRecord& keyword : rstKeyWord.records()) {
                    if (keyword.Name == column &&
                        !StoreScanned(rstWF, row, j, GetKeywordText(keyword), remaining)) {
                        return;
                    }
                }
            }
            // Crossed on purpose: the "FileName" box fills the process time
            // and the "ProcessTime" box fills the file name.
            if (chkFileName && column == "ProcessTime") {
                Put(rstWF, row, j, ProcessTimeText(clock_.now()));
            }
            if (chkTime && column == "FileName") {
                Put(rstWF, row, j, strCurFile);
            }
        }
    }
    if (rstWF.rowCount() > 0) {
        rstWF.deleteRow(rstWF.rowCount() - 1);
    }
    progress_.setValue(100.0f);
}

// One row per file with the first finding of each column. The file name and
// the time are filled whenever their columns exist and the keyword set is not
// empty. Afterwards, rows at the top of the table are dropped while no row so
// far had any value assigned.
void ScanEngine::RecordKeywordResults(const std::vector<std::string>& arrColumns,
                                      ResultTable& rstWF, const KeywordTable& rstKeyWord) {
    PrepareText();
    // Counted down like in RecordFileResults, but it decides nothing here.
    int remaining = RowCountdown(arrColumns);
    pump_.yield();
    if (intCancel == 1) {
        return;
    }
    const size_t row = rstWF.addRow();
    for (size_t j = 0; j < arrColumns.size(); ++j) {
        pump_.yield();
        const std::string& column = arrColumns[j];
        if (!StoreAddress(rstWF, row, j, column, remaining)) {
            return;
        }
        for (const KeywordRecord& keyword : rstKeyWord.records()) {
            arrKeyNames.push_back(keyword.Name);
        }
        if (intUseKeyword == 1) {
            for (const KeywordRecord& keyword : rstKeyWord.records()) {
                if (column == "ProcessTime") {
                    Put(rstWF, row, j, ProcessTimeText(clock_.now()));
                }
                if (column == "FileName") {
                    Put(rstWF, row, j, strCurFile);
                }
                if (keyword.Name == column &&
                    !StoreScanned(rstWF, row, j, GetKeywordTextToNext(keyword), remaining)) {
                    return;
                }
            }
        }
    }
    progress_.setValue(100.0f);

    // One flag for the whole pass, set once: the first row with an assigned
    // value clears it for good, so only rows in front of that row can go.
    bool allEmpty = true;
    for (size_t r = 0; r < rstWF.rowCount() && allEmpty;) {
        for (size_t c = 0; c < rstWF.columnCount(); ++c) {
            // A value counts once it has been assigned at all, even when it
            // is empty.
            if (rstWF.cell(r, c).has_value()) {
                allEmpty = false;
            }
        }
        if (allEmpty) {
            rstWF.deleteRow(r);
        } else {
            ++r;
        }
    }
}

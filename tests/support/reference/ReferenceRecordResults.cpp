#include <unordered_map>

#include "Clock.h"
#include "EventPump.h"
#include "ProgressBar.h"
#include "ReferenceEngine.h"
#include "ResultTable.h"
#include "TextOps.h"

using textops::FoldAscii;
using textops::ReplaceAll;
using textops::Trim;

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

// The keyword records by name, each name's records in table order, so a
// column finds its keywords without walking the whole set.
class KeywordsByName {
public:
    explicit KeywordsByName(const KeywordTable& rstKeyWord) {
        const auto& records = rstKeyWord.records();
        for (size_t i = 0; i < records.size(); ++i) {
            byName_[records[i].Name].push_back(i);
        }
    }
    const std::vector<size_t>& operator[](const std::string& name) const {
        static const std::vector<size_t> kNone;
        const auto it = byName_.find(name);
        return it == byName_.end() ? kNone : it->second;
    }

private:
    std::unordered_map<std::string, std::vector<size_t>> byName_;
};

}  // namespace

void ReferenceEngine::PrepareText() {
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
void ReferenceEngine::AddKeyNames(const KeywordTable& rstKeyWord) {
    const auto key = [](const std::string& name) {
        std::string folded(Trim(name));
        for (char& c : folded) {
            c = FoldAscii(c);
        }
        return folded;
    };
    if (keyNamesCovered_ != arrKeyNames.size()) {
        // The list was replaced from outside: learn it afresh.
        keyNamesSeen_.clear();
        for (const std::string& name : arrKeyNames) {
            keyNamesSeen_.insert(key(name));
        }
    }
    // A name met again cuts nothing more: the word is already cut in front of
    // its first occurrence. Names that are only spaces never cut.
    for (const KeywordRecord& keyword : rstKeyWord.records()) {
        std::string folded = key(keyword.Name);
        if (!folded.empty() && keyNamesSeen_.insert(std::move(folded)).second) {
            arrKeyNames.push_back(keyword.Name);
        }
    }
    keyNamesCovered_ = arrKeyNames.size();
}

bool ReferenceEngine::StoreAddress(ResultTable& rstWF, size_t row, size_t column,
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
void ReferenceEngine::RecordFileResults(const std::vector<std::string>& arrColumns,
                                        ResultTable& rstWF, const KeywordTable& rstKeyWord) {
    PrepareText();
    const KeywordsByName keywordsByName(rstKeyWord);
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
                for (size_t k : keywordsByName[column]) {
                    if (!StoreScanned(rstWF, row, j, GetKeywordText(rstKeyWord[k]), remaining)) {
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
void ReferenceEngine::RecordKeywordResults(const std::vector<std::string>& arrColumns,
                                           ResultTable& rstWF, const KeywordTable& rstKeyWord) {
    PrepareText();
    // Counted down like in RecordFileResults, but it decides nothing here.
    int remaining = RowCountdown(arrColumns);
    pump_.yield();
    if (intCancel == 1) {
        return;
    }
    const KeywordsByName keywordsByName(rstKeyWord);
    const size_t row = rstWF.addRow();
    bool namesAdded = false;
    for (size_t j = 0; j < arrColumns.size(); ++j) {
        pump_.yield();
        const std::string& column = arrColumns[j];
        if (!StoreAddress(rstWF, row, j, column, remaining)) {
            return;
        }
        if (!namesAdded) {
            AddKeyNames(rstKeyWord);
            namesAdded = true;
        }
        if (intUseKeyword != 1 || rstKeyWord.empty()) {
            continue;
        }
        // Every keyword record writes the file name or the time into their
        // columns, and the records named like the column write their scanned
        // text: the last record decides what the cell keeps.
        const bool fileOrTime = column == "ProcessTime" || column == "FileName";
        const auto putFileOrTime = [&] {
            Put(rstWF, row, j,
                column == "ProcessTime" ? ProcessTimeText(clock_.now()) : strCurFile);
        };
        if (fileOrTime) {
            putFileOrTime();
        }
        const std::vector<size_t>& named = keywordsByName[column];
        for (size_t k : named) {
            if (!StoreScanned(rstWF, row, j, GetKeywordTextToNext(rstKeyWord[k]), remaining)) {
                return;
            }
        }
        if (fileOrTime && !named.empty() && named.back() + 1 != rstKeyWord.size()) {
            putFileOrTime();
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

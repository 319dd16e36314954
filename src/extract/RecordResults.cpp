#include <algorithm>

#include <unordered_map>

#include "AtExit.h"
#include "Clock.h"
#include "EventPump.h"
#include "ProgressBar.h"
#include "ResultTable.h"
#include "ScanEngine.h"
#include "ScanState.h"
#include "TextOps.h"

using textops::FoldAscii;
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

const std::string& ScanEngine::ProcessTime() {
    // The text shows minutes: reading the clock (and the time zone) for every
    // row of a big file is wasted work, so it is read again after 50 ms.
    const auto now = std::chrono::steady_clock::now();
    if (!processTimeRead_ || now - processTimeAt_ > std::chrono::milliseconds(50)) {
        processTime_ = ProcessTimeText(clock_.now());
        processTimeAt_ = now;
        processTimeRead_ = true;
    }
    return processTime_;
}

struct ScanEngine::Recording {
    Recording(std::string text, ResultTable& table) : state(std::move(text)), table(table) {}

    ScanState state;
    TextMarker* web = nullptr;
    // The keyword names followed through the file, when they are few.
    std::unordered_map<std::string, TextMarker*> keywords;
    ResultTable& table;
    size_t row = 0;
    int remaining = 0;

    TextMarker* keyword(const std::string& name) {
        const auto it = keywords.find(name);
        return it == keywords.end() ? nullptr : it->second;
    }
};

void ScanEngine::AddKeyNames(const KeywordTable& rstKeyWord) {
    const auto key = [](const std::string& name) {
        std::string folded(Trim(name));
        for (char& c : folded) {
            c = FoldAscii(c);
        }
        return folded;
    };
    if (keyNamesCovered_ != arrKeyNames.size()) {
        // The list was replaced from outside: learn it afresh.
        keyNameIndex_.clear();
        for (size_t i = 0; i < arrKeyNames.size(); ++i) {
            keyNameIndex_.emplace(key(arrKeyNames[i]), i);
        }
        keyNameIndex_.erase(std::string());
    }
    // A name met again cuts nothing more: the word is already cut in front of
    // its first occurrence. Names that are only spaces never cut.
    for (const KeywordRecord& keyword : rstKeyWord.records()) {
        std::string folded = key(keyword.Name);
        if (!folded.empty() &&
            keyNameIndex_.emplace(std::move(folded), arrKeyNames.size()).second) {
            arrKeyNames.push_back(keyword.Name);
        }
    }
    keyNamesCovered_ = arrKeyNames.size();
}

bool ScanEngine::StoreScanned(Recording& r, size_t column, const std::string& value) {
    Put(r.table, r.row, column, value);
    ProgressStep();
    if (value.empty()) {
        --r.remaining;
    }
    return intCancel != 1;
}

// Fills an "Email", "WebSite" or "MailTo" column from its scanner (other
// columns are left alone); false when the run was cancelled.
bool ScanEngine::StoreAddress(Recording& r, size_t column, AddressKind kind) {
    switch (kind) {
        case AddressKind::Email:
            return StoreScanned(r, column, ScanAtSign(r.state));
        case AddressKind::WebSite:
            return StoreScanned(r, column, ScanWebSite(r.state, r.web));
        case AddressKind::MailTo:
            ReplaceMailToMarks(r.state);
            return StoreScanned(r, column, ScanAtSign(r.state));
        case AddressKind::None:
            break;
    }
    return true;
}

ScanEngine::AddressKind ScanEngine::AddressKindOf(const std::string& column) {
    if (column == "Email") {
        return AddressKind::Email;
    }
    if (column == "WebSite") {
        return AddressKind::WebSite;
    }
    return column == "MailTo" ? AddressKind::MailTo : AddressKind::None;
}

// One row per pass: the next address of each kind and the next text of each
// keyword side by side, until a pass in which enough of them came back empty.
// That last pass is deleted again - it is the last row of the table, even when
// this file wrote no row at all.
void ScanEngine::RecordFileResults(const std::vector<std::string>& arrColumns, ResultTable& rstWF,
                                   const KeywordTable& rstKeyWord) {
    LoadProgress();
    const AtExit show([this] { ShowProgress(); });
    processTimeRead_ = false;
    PrepareText();
    Recording r(std::move(strScanText), rstWF);
    const AtExit putBack([&] { strScanText = r.state.text.release(); });
    const KeywordsByName keywordsByName(rstKeyWord);
    // The markers searched for pass after pass are followed through the file.
    if (std::find(arrColumns.begin(), arrColumns.end(), "WebSite") != arrColumns.end()) {
        r.web = &r.state.track("://", false);
    }
    if (intUseKeyword == 1) {
        std::vector<std::string> names;
        for (const std::string& column : arrColumns) {
            if (!keywordsByName[column].empty() && !column.empty()) {
                names.push_back(column);
            }
        }
        // Each marker followed costs a look at every place where text is
        // taken out; with many keywords, each search starts afresh instead.
        if (names.size() <= 64) {
            for (const std::string& name : names) {
                r.keywords.emplace(name, &r.state.track(name, true));
            }
        }
    }
    // What each column does, decided once for all passes.
    struct ColumnWork {
        AddressKind address;
        const std::vector<size_t>* keywords;  // the records named like the column
        bool putTime;
        bool putFile;
    };
    std::vector<ColumnWork> work;
    work.reserve(arrColumns.size());
    for (const std::string& column : arrColumns) {
        // Crossed on purpose: the "FileName" box fills the process time
        // and the "ProcessTime" box fills the file name.
        work.push_back({AddressKindOf(column),
                        intUseKeyword == 1 ? &keywordsByName[column] : nullptr,
                        chkFileName && column == "ProcessTime", chkTime && column == "FileName"});
    }
    bool endless = false;
    r.remaining = RowCountdown(arrColumns);
    while (r.remaining > 0) {
        r.remaining = RowCountdown(arrColumns);
        Yield();
        if (intCancel == 1) {
            return;
        }
        // A pass that would repeat for ever writes its row once.
        if (!endless) {
            r.row = rstWF.addRow();
        }
        const size_t changes = r.state.changes();
        for (size_t j = 0; j < work.size(); ++j) {
            Yield();
            const ColumnWork& w = work[j];
            if (!StoreAddress(r, j, w.address)) {
                return;
            }
            if (w.keywords != nullptr) {
                for (size_t k : *w.keywords) {
                    const KeywordRecord& keyword = rstKeyWord[k];
                    if (!StoreScanned(
                            r, j, ScanKeyword(r.state, keyword, false, r.keyword(keyword.Name)))) {
                        return;
                    }
                }
            }
            if (w.putTime) {
                Put(rstWF, r.row, j, ProcessTime());
            }
            if (w.putFile) {
                Put(rstWF, r.row, j, strCurFile);
            }
        }
        if (!endless && r.remaining > 0 && r.state.changes() == changes) {
            // Nothing was taken out, so every pass from now on is this one.
            endless = true;
            if (onEndlessLoop) {
                onEndlessLoop();
            }
        }
    }
    if (rstWF.rowCount() > 0) {
        rstWF.deleteRow(rstWF.rowCount() - 1);
    }
    progressValue_ = 100.0f;
    progressShown_ = false;
}

// One row per file with the first finding of each column. The file name and
// the time are filled whenever their columns exist and the keyword set is not
// empty. Afterwards, rows at the top of the table are dropped while no row so
// far had any value assigned.
void ScanEngine::RecordKeywordResults(const std::vector<std::string>& arrColumns,
                                      ResultTable& rstWF, const KeywordTable& rstKeyWord) {
    LoadProgress();
    const AtExit show([this] { ShowProgress(); });
    processTimeRead_ = false;
    PrepareText();
    Recording r(std::move(strScanText), rstWF);
    const AtExit putBack([&] { strScanText = r.state.text.release(); });
    // Counted down like in RecordFileResults, but it decides nothing here.
    r.remaining = RowCountdown(arrColumns);
    Yield();
    if (intCancel == 1) {
        return;
    }
    const KeywordsByName keywordsByName(rstKeyWord);
    r.row = rstWF.addRow();
    bool namesAdded = false;
    for (size_t j = 0; j < arrColumns.size(); ++j) {
        Yield();
        const std::string& column = arrColumns[j];
        if (!StoreAddress(r, j, AddressKindOf(column))) {
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
            Put(rstWF, r.row, j, column == "ProcessTime" ? ProcessTime() : strCurFile);
        };
        if (fileOrTime) {
            putFileOrTime();
        }
        const std::vector<size_t>& named = keywordsByName[column];
        for (size_t k : named) {
            if (!StoreScanned(r, j, ScanKeyword(r.state, rstKeyWord[k], true, nullptr))) {
                return;
            }
        }
        if (fileOrTime && !named.empty() && named.back() + 1 != rstKeyWord.size()) {
            putFileOrTime();
        }
    }
    progressValue_ = 100.0f;
    progressShown_ = false;

    // One flag for the whole pass, set once: the first row with an assigned
    // value clears it for good, so only rows in front of that row can go.
    bool allEmpty = true;
    for (size_t row = 0; row < rstWF.rowCount() && allEmpty;) {
        for (size_t c = 0; c < rstWF.columnCount(); ++c) {
            // A value counts once it has been assigned at all, even when it
            // is empty.
            if (rstWF.assigned(row, c)) {
                allEmpty = false;
            }
        }
        if (allEmpty) {
            rstWF.deleteRow(row);
        } else {
            ++row;
        }
    }
}

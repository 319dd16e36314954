#pragma once

#include <cstdint>
#include <string>
#include <unordered_set>
#include <vector>

#include "KeywordTable.h"

class Clock;
class EventPump;
class ProgressBar;
class ResultTable;

// The extraction engine as it was before it was made linear: every scan,
// replacement and removal rebuilds or searches the whole text. Tests run
// ScanEngine against it on generated inputs; it is not part of the program.
class ReferenceEngine {
public:
    ReferenceEngine(EventPump& pump, ProgressBar& PBFProgress, Clock& clock);

    // Scan state of the file in hand.
    std::string strScanText;
    std::string strCurFile;
    int32_t lngScanPos = 0;
    int16_t intCancel = 0;

    // Options of the run that the engine reads.
    int16_t intUseKeyword = 0;
    bool chkStrip = false;     // "Striping html Tags" ticked
    bool chkFileName = false;  // "FileName" ticked
    bool chkTime = false;      // "ProcessTime" ticked
    // The keyword names that the second keyword scanner cuts words at: each
    // name once (ignoring case and surrounding spaces), in the order in which
    // the keyword run first met it. It lives as long as the engine.
    std::vector<std::string> arrKeyNames;

    // A keyword's word walk lets Cancel in after this many words.
    static constexpr int kWalkYieldEvery = 64;

    // Address scanners: each consumes one marker of strScanText. All three
    // throw InvalidArgumentError when no space follows the marker (the
    // recording routines append one); GetWebSite also when no space comes
    // before "://".
    std::string GetEmail();
    std::string GetMailTo();
    std::string GetWebSite();

    // Removes the mark-up from strScanText in place.
    void StripTags();

    // Keyword scanners: the words at the record's positions after the next
    // occurrence of its name; the second one also cuts each word where
    // another keyword name (arrKeyNames) begins.
    std::string GetKeywordText(const KeywordRecord& keyword);
    std::string GetKeywordTextToNext(const KeywordRecord& keyword);

    // Turns strScanText into result rows.
    void RecordFileResults(const std::vector<std::string>& arrColumns, ResultTable& rstWF,
                           const KeywordTable& rstKeyWord);
    void RecordKeywordResults(const std::vector<std::string>& arrColumns, ResultTable& rstWF,
                              const KeywordTable& rstKeyWord);

private:
    // The shared body of GetEmail and GetMailTo.
    std::string ScanAtSign();
    // The shared body of both keyword scanners; `cutAtNames` selects the
    // second one.
    std::string ScanKeyword(const KeywordRecord& keyword, bool cutAtNames);
    // Appends the names of `rstKeyWord` that arrKeyNames lacks.
    void AddKeyNames(const KeywordTable& rstKeyWord);
    // Turns control characters and "quot" into spaces and collapses runs of
    // spaces, the same for both recording routines.
    void PrepareText();
    // Moves the progress bar a tenth of the way that is left to `end`.
    void ProgressStep(float end = 100.0f);
    // The script and comment loops of StripTags; false when cancelled.
    bool RemoveBlocks(const char* open, const char* close, long closeLength);
    // Stores one scanner value in the row and does what follows every
    // scanner value: the progress step, the count-down of `remaining` when the
    // value is empty. False when the run has been cancelled.
    bool StoreAddress(ResultTable& rstWF, size_t row, size_t column, const std::string& name,
                      int& remaining);
    bool StoreScanned(ResultTable& rstWF, size_t row, size_t column, const std::string& value,
                      int& remaining);
    void SetScanPos(size_t zeroBasedPosition);

    EventPump& pump_;
    ProgressBar& progress_;
    Clock& clock_;
    // The folded, trimmed names of arrKeyNames, and how many of its entries
    // they cover.
    std::unordered_set<std::string> keyNamesSeen_;
    size_t keyNamesCovered_ = 0;
};

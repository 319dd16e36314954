#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <string>
#include <unordered_map>
#include <vector>

#include "KeywordTable.h"
#include "MarkupRemoval.h"

class Clock;
class EventPump;
class ProgressBar;
class ResultTable;
class ScanState;
struct TextMarker;

// The text extraction engine: the scanners, tag stripping and the recording
// of one file's findings as result rows. It works on the scan state of the
// file in hand (`strScanText` and friends), which the run driver fills.
//
// A whole file costs time in proportion to its length: stripping works on
// segments between closing marks (MarkupRemoval), and the recording routines
// scan a text whose taken-out characters are only marked (ScanText), with
// searches that resume where they stopped (ScanState). The results, yields,
// Cancel points and progress are those of removing and searching the whole
// text each time, which ReferenceEngine in the tests does. A single scanner
// call costs one pass over the text.
class ScanEngine {
public:
    ScanEngine(EventPump& pump, ProgressBar& PBFProgress, Clock& clock);

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

    // Called when the file in hand would go round the same pass for ever:
    // a script or comment piece of no length, or a recording pass that no
    // longer changes the text. The engine then waits, yielding, until Cancel
    // is pressed, as the window's user would have to; the command line sets
    // this to count the loop as a Cancel press.
    std::function<void()> onEndlessLoop;

private:
    // What a recording routine knows while it scans one file: the text with
    // its searches, the markers it follows and the row it fills.
    struct Recording;

    // The scanners on a file's text. ScanWebSite follows `marker` when given.
    // Both return the address in scanned_, valid until the next scan.
    const std::string& ScanAtSign(ScanState& state);
    const std::string& ScanWebSite(ScanState& state, TextMarker* marker);
    void ReplaceMailToMarks(ScanState& state);
    // The shared body of both keyword scanners; `cutAtNames` selects the
    // second one. It follows `marker` when given, else searches from the start.
    std::string ScanKeyword(ScanState& state, const KeywordRecord& keyword, bool cutAtNames,
                            TextMarker* marker);
    // Cuts a word of the second keyword scanner where a name of arrKeyNames
    // begins, the names applied in their order.
    void CutAtNames(std::string& word) const;
    // Runs one scanner on strScanText and puts the text back.
    template <class Scan>
    std::string ScanOnce(Scan scan);
    // Appends the names of `rstKeyWord` that arrKeyNames lacks.
    void AddKeyNames(const KeywordTable& rstKeyWord);
    // Turns control characters and "quot" into spaces and collapses runs of
    // spaces, the same for both recording routines.
    void PrepareText();
    // Stores one scanner value in the row and does what follows every
    // scanner value: the progress step, the count-down of the row's
    // `remaining` when the value is empty. False when the run was cancelled.
    enum class AddressKind { None, Email, WebSite, MailTo };
    static AddressKind AddressKindOf(const std::string& column);
    bool StoreAddress(Recording& r, size_t column, AddressKind kind);
    bool StoreScanned(Recording& r, size_t column, const std::string& value);
    // Moves the progress bar a tenth of the way that is left to `end`. The
    // value is kept here and shown at the next yield, which is when anyone
    // can look at it.
    void ProgressStep(float end = 100.0f);
    void Yield();
    // The present time as "mmm-d-yy h:mm".
    const std::string& ProcessTime();
    void LoadProgress();
    void ShowProgress();
    // One removal loop of StripTags; false when cancelled.
    bool RemoveMarkup(const MarkupRemoval::Marks& marks, bool mayHoldMarks);
    void SetScanPos(size_t zeroBasedPosition);

    EventPump& pump_;
    ProgressBar& progress_;
    Clock& clock_;
    std::string scanned_;
    float progressValue_ = 0;
    bool progressShown_ = true;
    std::string processTime_;
    std::chrono::steady_clock::time_point processTimeAt_;
    bool processTimeRead_ = false;
    // The folded, trimmed names of arrKeyNames with the index of the first
    // entry of each, and how many of its entries they cover.
    std::unordered_map<std::string, size_t> keyNameIndex_;
    size_t keyNamesCovered_ = 0;
};

// The name of a stripped-text file: the source's file name with every "."
// removed and ".txt" appended ("index.htm" gives "indexhtm.txt").
std::string StrippedFileName(const std::string& sourceFileName);

// Writes `text` as one line plus a line break to the stripped-text file of
// `sourcePath` inside `strStripDir`; false when it cannot be written.
bool WriteStrippedFile(const std::string& strStripDir, const std::string& sourcePath,
                       const std::string& text);

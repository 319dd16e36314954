#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

class Clock;
class EventPump;
class MailHeaderParser;
class ResultTable;
class clsWF;

// The mail-list options of the "Advanced Setting" frame, as the run reads them.
struct MailListOptions {
    bool chkFrom = false;
    bool chkTo = false;
    bool chkCC = false;
    bool chkFileName = false;
    bool chkTime = false;
    int16_t intEveryOccurrence = 0;  // 1 when "Body Text" is ticked
    int16_t intUseFileName = 0;      // flags set by the FileName / ProcessTime boxes
    int16_t intUseTime = 0;
};

// The mail-list run's engine: header parsing of saved messages into working
// tables, and the result records built from them. The run driver (shell)
// owns the file loop, messages and cancel; this class owns everything else.
class MailList {
public:
    MailList(EventPump& pump, Clock& clock);
    ~MailList();

    // Builds the working tables, the field list `arrColumns` and a new result
    // writer `objWF` with its heading record. Returns false when the result
    // table cannot be built (two equal field names): the caller shows the
    // duplicate message and sets intSetupFailed.
    bool SetUpMailListRun(const MailListOptions& options, std::vector<std::string>& arrColumns,
                          std::unique_ptr<clsWF>& objWF);

    // Parses one message and appends its records to `rstWF`, then deletes the
    // first record and removes repeats. Stops writing records after the one in
    // hand when `intCancel` becomes 1. Throws OverflowError when a 16-bit
    // counter passes 32,767.
    //
    // Yields once before each header name. On cancel or on an error it
    // returns at once: what was written stays, the end-of-file deletion and
    // the repeat removal are not made. An address header that ends in a comma
    // (as one wrapped after a comma with bare line feeds does) leaves a
    // negative count of characters and throws InvalidArgumentError; the
    // driver reports it for the file and goes on.
    void ProcessMailFile(std::string& strScanText, const std::string& strCurFile,
                         ResultTable& rstWF, const int16_t& intCancel);

    void RemoveDuplicateRecords(ResultTable& rstWF);

    // The header parser of the run, with its working tables and counters.
    MailHeaderParser& parser();
    const MailHeaderParser& parser() const;
    // The running number of the last record written in this run.
    int16_t intRecordNo() const;

private:
    struct State;
    std::unique_ptr<State> state_;
};

#include "MailList.h"

#include "Clock.h"
#include "DuplicateRecords.h"
#include "EventPump.h"
#include "MailHeaderParser.h"
#include "ResultTable.h"
#include "clsWF.h"

struct MailList::State {
    EventPump& pump;
    Clock& clock;
    MailListOptions options;
    MailHeaderParser parser;
    int16_t intRecordNo = 0;
};

namespace {

// Where the fields of a mail-list record stand in the result table (-1 when
// the field is not part of this run).
struct RecordFields {
    explicit RecordFields(const ResultTable& t)
        : keyWord(t.columnIndex("KeyWord")),
          displayName(t.columnIndex("DisplayName")),
          emailAddress(t.columnIndex("EmailAddress")),
          fileName(t.columnIndex("FileName")),
          processTime(t.columnIndex("ProcessTime")),
          no(t.columnIndex("No")) {}
    int keyWord, displayName, emailAddress, fileName, processTime, no;
};

void SetField(ResultTable& table, size_t row, int column, const std::string& value) {
    if (column >= 0) {
        table.setValue(row, static_cast<size_t>(column), value);
    }
}

}  // namespace

MailList::MailList(EventPump& pump, Clock& clock)
    : state_(std::make_unique<State>(State{pump, clock, {}, {}, 0})) {}

MailList::~MailList() = default;

MailHeaderParser& MailList::parser() {
    return state_->parser;
}
const MailHeaderParser& MailList::parser() const {
    return state_->parser;
}
int16_t MailList::intRecordNo() const {
    return state_->intRecordNo;
}

bool MailList::SetUpMailListRun(const MailListOptions& options,
                                std::vector<std::string>& arrColumns,
                                std::unique_ptr<clsWF>& objWF) {
    State& s = *state_;
    s.options = options;
    s.parser.Reset(options);
    s.intRecordNo = 0;

    arrColumns = {"KeyWord", "DisplayName", "EmailAddress"};
    if (options.chkFileName) {
        arrColumns.emplace_back("FileName");
    }
    if (options.chkTime) {
        arrColumns.emplace_back("ProcessTime");
    }
    arrColumns.emplace_back("No");

    int16_t intDupField = 0;
    objWF = std::make_unique<clsWF>(arrColumns, intDupField);
    if (intDupField == 1) {
        return false;
    }
    // The heading record: every field holds its own name. The first file's
    // end-of-file deletion removes it again.
    ResultTable& table = *objWF->rstWF;
    const size_t row = table.addRow();
    for (size_t col = 0; col < table.columnCount(); ++col) {
        table.setValue(row, col, table.columns()[col]);
    }
    return true;
}

// Cancel: the yield before each header name and the end of each record are
// the places where a Cancel pressed meanwhile is noticed. From there the
// method returns at once, keeping every record written so far as it stands;
// the end-of-file deletion and the duplicate removal belong to a finished
// file and are not made.
void MailList::ProcessMailFile(std::string& strScanText, const std::string& strCurFile,
                               ResultTable& rstWF, const int16_t& intCancel) {
    State& s = *state_;
    MailHeaderParser& parser = s.parser;
    const RecordFields fields(rstWF);

    auto addRecord = [&](const std::string& name, const std::string& displayName,
                         const std::string* emailAddress) {
        RaiseCounter(s.intRecordNo);
        const size_t row = rstWF.addRow();
        SetField(rstWF, row, fields.keyWord, name);
        SetField(rstWF, row, fields.displayName, displayName);
        if (emailAddress != nullptr) {
            SetField(rstWF, row, fields.emailAddress, *emailAddress);
        }
        SetField(rstWF, row, fields.fileName, strCurFile);
        if (fields.processTime >= 0) {
            SetField(rstWF, row, fields.processTime, ProcessTimeText(s.clock.now()));
        }
        SetField(rstWF, row, fields.no, std::to_string(s.intRecordNo));
    };

    for (size_t nameRow = 0; nameRow < parser.rstHeaderNames.rowCount(); ++nameRow) {
        s.pump.yield();
        if (intCancel == 1) {
            return;
        }
        const std::string name = parser.rstHeaderNames.value(nameRow, 0);
        parser.strHeaderName = name;
        parser.ExtractHeader(strScanText);

        // The working tables keep the rows of every file of the run, so the
        // rows of earlier files are written again here; the duplicate removal
        // below takes the repeats out.
        if (name == "Subject:" || name == "Sent:") {
            const ResultTable& content = parser.rstHeaderContent;
            for (size_t row = 0; row < content.rowCount(); ++row) {
                if (content.value(row, 0) == name) {
                    addRecord(name, content.value(row, 1), nullptr);
                    if (intCancel == 1) {
                        return;
                    }
                }
            }
        } else {
            const ResultTable& recipients = parser.rstRecipients;
            for (size_t row = 0; row < recipients.rowCount(); ++row) {
                if (recipients.value(row, 2) == name) {
                    const std::string emailAddress = recipients.value(row, 1);
                    addRecord(name, recipients.value(row, 0), &emailAddress);
                    if (intCancel == 1) {
                        return;
                    }
                }
            }
        }
    }

    // After every file the record standing first is deleted: the heading
    // record after the first file, a found record after each later one.
    // An empty table has nothing to delete.
    if (rstWF.rowCount() > 0) {
        rstWF.deleteRow(0);
    }
    RemoveDuplicateRecords(rstWF);
}

void MailList::RemoveDuplicateRecords(ResultTable& rstWF) {
    // "No" is the fourth field, moved one place on by each optional field.
    const size_t noColumn = 3 + (state_->options.intUseFileName == 1 ? 1 : 0) +
                            (state_->options.intUseTime == 1 ? 1 : 0);
    DeleteRepeatedRecords(rstWF, noColumn);
}

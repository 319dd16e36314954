#include <xlsxwriter.h>

#include <memory>
#include <string_view>

#include "FieldText.h"
#include "ReportFields.h"
#include "StagedFile.h"
#include "WriterParts.h"

namespace harvest {

namespace {

constexpr std::size_t kExcelTextLimit = 32767;
// A sheet holds LXW_ROW_MAX rows, the header included; more rows go on to
// sheets of their own ("Contacts 2", ...).
constexpr lxw_row_t kRowsPerSheet = LXW_ROW_MAX - 1;

struct CloseWorkbook {
    void operator()(lxw_workbook* w) const { workbook_close(w); }
};

// Fills one workbook; the first failure is kept in error_.
class XlsxFill {
public:
    explicit XlsxFill(lxw_workbook* book) : book_(book) {
        bold_ = workbook_add_format(book_);
        format_set_bold(bold_);
    }

    // A sheet called `name` (a number after it from the second on) with a
    // header and the rows that `rows` hands to its callback.
    template <typename Rows>
    void sheets(const std::string& name, std::span<const std::string_view> header, Rows rows) {
        lxw_worksheet* sheet = nullptr;
        lxw_row_t at = 0;
        int count = 0;
        const auto start = [&] {
            ++count;
            const std::string title = count == 1 ? name : name + " " + std::to_string(count);
            sheet = workbook_add_worksheet(book_, title.c_str());
            if (!sheet) {
                fail(LXW_ERROR_MEMORY_MALLOC_FAILED);
                return;
            }
            for (std::size_t i = 0; i < header.size(); ++i) {
                check(worksheet_write_string(sheet, 0, static_cast<lxw_col_t>(i),
                                             std::string(header[i]).c_str(), bold_));
            }
            at = 1;
        };
        start();
        rows([&](const std::vector<FieldValue>& row) {
            if (!sheet || error_ != LXW_NO_ERROR) {
                return;
            }
            if (at > kRowsPerSheet) {
                start();
            }
            for (std::size_t i = 0; sheet && i < row.size(); ++i) {
                cell(sheet, at, static_cast<lxw_col_t>(i), row[i]);
            }
            ++at;
        });
    }

    lxw_error error() const { return error_; }

private:
    void cell(lxw_worksheet* sheet, lxw_row_t r, lxw_col_t c, const FieldValue& v) {
        switch (v.type) {
            case FieldValue::Type::Null:
                break;  // an empty cell
            case FieldValue::Type::Text:
                if (!v.text.empty()) {
                    check(worksheet_write_string(sheet, r, c, excelText(v.text).c_str(), nullptr));
                }
                break;
            case FieldValue::Type::Number:
                check(worksheet_write_number(sheet, r, c, static_cast<double>(v.number), nullptr));
                break;
            case FieldValue::Type::Boolean:
                check(worksheet_write_string(sheet, r, c, v.flag ? "true" : "false", nullptr));
                break;
        }
    }

    // Valid UTF-8 without NULs (the library takes C strings), cut to the
    // length Excel allows in a cell.
    static std::string excelText(std::string_view s) {
        std::string valid;
        if (fieldtext::isValidUtf8(s)) {
            valid.assign(s);
        } else {
            valid = fieldtext::validUtf8(s);
        }
        std::erase(valid, '\0');
        valid.resize(fieldtext::cutToUtf16Units(valid, kExcelTextLimit).size());
        return valid;
    }

    void check(lxw_error e) {
        if (e != LXW_NO_ERROR) {
            fail(e);
        }
    }
    void fail(lxw_error e) {
        if (error_ == LXW_NO_ERROR) {
            error_ = e;
        }
    }

    lxw_workbook* book_;
    lxw_format* bold_ = nullptr;
    lxw_error error_ = LXW_NO_ERROR;
};

FieldValue text(std::string_view s) {
    return {FieldValue::Type::Text, s, 0, false};
}

}  // namespace

bool writeXlsxReport(const Report& report, bool sightingRows, const std::string& path,
                     std::string& error) {
    StagedFile staged(path);
    if (!staged.create(error)) {
        return false;
    }
    // Rows go straight to disk: a million of them need not sit in memory.
    lxw_workbook_options options{};
    options.constant_memory = LXW_TRUE;
    // A big sheet's XML can pass the 4 GB a plain zip member may hold.
    const std::size_t rows = sightingRows ? report.sightings.size() : report.contacts.size();
    options.use_zip64 = rows > 200000 ? LXW_TRUE : LXW_FALSE;
    std::unique_ptr<lxw_workbook, CloseWorkbook> book(
        workbook_new_opt(staged.stagingPath().c_str(), &options));
    if (!book) {
        error = cannotWrite(path, "the workbook could not be started");
        return false;
    }
    XlsxFill fill(book.get());
    fill.sheets(sightingRows ? "Sightings" : "Contacts", fieldNames(sightingRows),
                [&](auto each) { forEachRow(report, sightingRows, each); });
    if (!report.problems.empty()) {
        static constexpr std::string_view kProblemFields[] = {"source", "reason"};
        fill.sheets("Problems", kProblemFields, [&](auto each) {
            for (const Problem& p : report.problems) {
                each({text(p.source), text(p.reason)});
            }
        });
    }
    const lxw_error closing = workbook_close(book.release());
    const lxw_error failure = fill.error() != LXW_NO_ERROR ? fill.error() : closing;
    if (failure != LXW_NO_ERROR) {
        error = cannotWrite(path, lxw_strerror(failure));
        return false;
    }
    return staged.commit(error);
}

}  // namespace harvest

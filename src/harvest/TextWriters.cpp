#include <charconv>
#include <cstdio>
#include <memory>
#include <string_view>

#include "FieldText.h"
#include "OutputFile.h"
#include "ReportFields.h"
#include "StagedFile.h"
#include "WriterParts.h"

namespace harvest {

namespace {

// Lines are built in a buffer and handed on a piece at a time: one write per
// megabyte, not one per field.
constexpr std::size_t kPiece = 1 << 20;

// Where a text report goes: a file (whole or not at all) or standard output.
class TextOutput {
public:
    explicit TextOutput(const std::string& path) : path_(path) {}

    bool open(std::string& error) {
        if (path_.empty()) {
            return true;
        }
        if (!canBeFile(path_, error)) {
            return false;
        }
        file_ = std::make_unique<OutputFile>(path_);
        if (!file_->open()) {
            error = cannotWrite(path_, file_->errorString().toStdString());
            return false;
        }
        return true;
    }

    bool handOnIfFull(std::string& buffer, std::string& error) {
        return buffer.size() < kPiece || handOn(buffer, error);
    }

    bool finish(std::string& buffer, std::string& error) {
        if (!handOn(buffer, error)) {
            if (file_) {
                file_->cancel();
            }
            return false;
        }
        if (!file_) {
            if (std::fflush(stdout) != 0) {
                error = "cannot write to standard output";
                return false;
            }
            return true;
        }
        if (!file_->commit()) {
            error = cannotWrite(path_, file_->errorString().toStdString());
            return false;
        }
        return true;
    }

private:
    bool handOn(std::string& buffer, std::string& error) {
        bool ok = true;
        if (!file_) {
            ok = std::fwrite(buffer.data(), 1, buffer.size(), stdout) == buffer.size();
            if (!ok) {
                error = "cannot write to standard output";
            }
        } else if (file_->write(buffer.data(), static_cast<qint64>(buffer.size())) !=
                   static_cast<qint64>(buffer.size())) {
            ok = false;
            error = cannotWrite(path_, file_->errorString().toStdString());
            file_->cancel();
        }
        buffer.clear();
        return ok;
    }

    std::string path_;
    std::unique_ptr<OutputFile> file_;
};

void appendNumber(std::string& out, std::int64_t n) {
    char digits[24];
    const auto end = std::to_chars(digits, digits + sizeof digits, n).ptr;
    out.append(digits, end);
}

// Spells a delimited row (TSV or CSV): nulls empty, yes/no as true/false.
template <typename AppendText>
void appendDelimited(std::string& out, const std::vector<FieldValue>& row, char separator,
                     std::string_view lineEnd, AppendText appendText) {
    for (std::size_t i = 0; i < row.size(); ++i) {
        if (i > 0) {
            out += separator;
        }
        const FieldValue& v = row[i];
        switch (v.type) {
            case FieldValue::Type::Null:
                break;
            case FieldValue::Type::Text:
                appendText(out, v.text);
                break;
            case FieldValue::Type::Number:
                appendNumber(out, v.number);
                break;
            case FieldValue::Type::Boolean:
                out += v.flag ? "true" : "false";
                break;
        }
    }
    out += lineEnd;
}

void appendJsonObject(std::string& out, std::span<const std::string_view> names,
                      const std::vector<FieldValue>& row) {
    out += '{';
    for (std::size_t i = 0; i < row.size(); ++i) {
        if (i > 0) {
            out += ',';
        }
        out += '"';
        out += names[i];  // plain ASCII names need no escaping
        out += "\":";
        const FieldValue& v = row[i];
        switch (v.type) {
            case FieldValue::Type::Null:
                out += "null";
                break;
            case FieldValue::Type::Text:
                fieldtext::appendJsonString(out, v.text);
                break;
            case FieldValue::Type::Number:
                appendNumber(out, v.number);
                break;
            case FieldValue::Type::Boolean:
                out += v.flag ? "true" : "false";
                break;
        }
    }
    out += "}\n";
}

// The header line of a delimited format: the field names.
void appendHeader(std::string& out, std::span<const std::string_view> names, char separator,
                  std::string_view lineEnd) {
    for (std::size_t i = 0; i < names.size(); ++i) {
        if (i > 0) {
            out += separator;
        }
        out += names[i];
    }
    out += lineEnd;
}

}  // namespace

bool writeTextReport(Format format, const Report& report, bool sightingRows,
                     const std::string& path, std::string& error) {
    TextOutput output(path);
    if (!output.open(error)) {
        return false;
    }
    std::string buffer;
    buffer.reserve(kPiece + kPiece / 4);
    bool ok = true;
    const auto names = fieldNames(sightingRows);
    if (format == Format::VCard) {
        report.contacts.forEach([&](const Contact& c) {
            if (ok) {
                appendVCard(buffer, c);
                ok = output.handOnIfFull(buffer, error);
            }
        });
        return ok && output.finish(buffer, error);
    }
    if (format == Format::Tsv) {
        appendHeader(buffer, names, '\t', "\n");
    } else if (format == Format::Csv) {
        appendHeader(buffer, names, ',', "\r\n");
    }
    forEachRow(report, sightingRows, [&](const std::vector<FieldValue>& row) {
        if (!ok) {
            return;
        }
        if (format == Format::Tsv) {
            appendDelimited(buffer, row, '\t', "\n", fieldtext::appendTsv);
        } else if (format == Format::Csv) {
            appendDelimited(buffer, row, ',', "\r\n", fieldtext::appendCsv);
        } else {
            appendJsonObject(buffer, names, row);
        }
        ok = output.handOnIfFull(buffer, error);
    });
    return ok && output.finish(buffer, error);
}

}  // namespace harvest

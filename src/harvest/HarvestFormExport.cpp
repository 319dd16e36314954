// Exports and the clipboard text of the Harvest window's contacts.
#include <QFile>
#include <QFileInfo>
#include <QTemporaryFile>
#include <algorithm>
#include <filesystem>
#include <numeric>

#include "HarvestForm.h"
#include "HarvestRunner.h"
#include "ReportFields.h"
#include "StagedFile.h"

namespace harvest {
namespace {

// How many rows pass between calls of an export's progress.
constexpr std::size_t kRowsPerProgress = 256;

// The rows asked for, in the table's order, each once; every row when none.
std::vector<int> chosenRows(const std::vector<int>& rows, int count) {
    std::vector<int> chosen;
    if (rows.empty()) {
        chosen.resize(static_cast<std::size_t>(std::max(0, count)));
        std::iota(chosen.begin(), chosen.end(), 0);
        return chosen;
    }
    for (int row : rows) {
        if (row >= 0 && row < count) {
            chosen.push_back(row);
        }
    }
    std::sort(chosen.begin(), chosen.end());
    chosen.erase(std::unique(chosen.begin(), chosen.end()), chosen.end());
    return chosen;
}

void replaceAll(std::string& text, const std::string& from, const std::string& to) {
    if (from.empty()) {
        return;
    }
    for (std::size_t at = text.find(from); at != std::string::npos;
         at = text.find(from, at + to.size())) {
        text.replace(at, from.size(), to);
    }
}

// A field for tab-separated text: tabs and line breaks become spaces.
void appendCell(std::string& out, const FieldValue& value) {
    switch (value.type) {
        case FieldValue::Type::Null:
            break;
        case FieldValue::Type::Text:
            for (char c : value.text) {
                out += c == '\t' || c == '\n' || c == '\r' ? ' ' : c;
            }
            break;
        case FieldValue::Type::Number:
            out += std::to_string(value.number);
            break;
        case FieldValue::Type::Boolean:
            out += value.flag ? "true" : "false";
            break;
    }
}

}  // namespace

bool HarvestForm::exportTo(const QString& path, Format format, const std::vector<int>& rows,
                           QString& error,
                           const std::function<bool(int done, int total)>& progress) {
    const std::string target = path.toStdString();
    std::string why;
    if (target.empty()) {
        error = QStringLiteral("no file to export to");
        return false;
    }
    if (!canBeFile(target, why)) {
        error = QString::fromStdString(why);
        return false;
    }
    const std::vector<int> chosen = chosenRows(rows, contacts_.rowCount());
    const int total = static_cast<int>(chosen.size());

    // The writer's file is staged beside the target and only put in its
    // place once whole, so a stopped or failed export leaves no file and an
    // earlier one at the path as it was.
    const QFileInfo info(path);
    QTemporaryFile staged(info.absolutePath() + "/." + info.fileName() + ".XXXXXX");
    if (!staged.open()) {
        error = QString::fromStdString(cannotWrite(target, staged.errorString().toStdString()));
        return false;
    }
    staged.close();
    const std::string stagedPath = staged.fileName().toStdString();

    bool stopped = false;
    int done = 0;
    auto tell = [&](int rowsDone) {
        done = std::max(done, rowsDone);
        if (progress && !stopped && !progress(done, total)) {
            stopped = true;
        }
    };
    const RecordRange<Contact> contacts(
        [&](const RecordRange<Contact>::Each& each) {
            for (std::size_t i = 0; i < chosen.size() && !stopped; ++i) {
                each(contacts_.contact(chosen[i]));
                if ((i + 1) % kRowsPerProgress == 0 || i + 1 == chosen.size()) {
                    tell(static_cast<int>(i + 1));
                }
            }
        },
        chosen.size());
    std::size_t sightingCount = 0;
    for (int row : chosen) {
        sightingCount += contacts_.sightingsOf(row).size();
    }
    const RecordRange<Sighting> sightings(
        [&](const RecordRange<Sighting>::Each& each) {
            for (std::size_t i = 0; i < chosen.size() && !stopped; ++i) {
                for (const Sighting& s : contacts_.sightingsOf(chosen[i])) {
                    each(s);
                }
            }
        },
        sightingCount);
    const Report report{contacts, sightings, problems_, RecordRange<SourceInfo>(run_->read)};
    if (progress) {
        tell(0);
    }
    const bool written = !stopped && writeReport(format, report, false, stagedPath, why);
    if (stopped) {
        error = QStringLiteral("export stopped");
        return false;
    }
    if (!written) {
        replaceAll(why, stagedPath, target);
        error = QString::fromStdString(why);
        return false;
    }
    // An export that replaces a file keeps that file's permissions; a new one
    // gets the usual ones rather than the staging file's private ones.
    const QFileDevice::Permissions permissions =
        info.exists() ? QFile::permissions(path)
                      : QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ReadGroup |
                            QFileDevice::ReadOther;
    QFile::setPermissions(staged.fileName(), permissions);
    std::error_code renameError;
    std::filesystem::rename(stagedPath, target, renameError);
    if (renameError) {
        error = QString::fromStdString(cannotWrite(target, renameError.message()));
        return false;
    }
    return true;
}

QString HarvestForm::copyText(const std::vector<int>& rows) const {
    std::string text;
    for (std::size_t i = 0; i < kContactFields.size(); ++i) {
        text += i > 0 ? "\t" : "";
        text += kContactFields[i];
    }
    text += '\n';
    std::vector<FieldValue> row;
    for (int r : chosenRows(rows, contacts_.rowCount())) {
        contactRow(contacts_.contact(r), row);
        for (std::size_t i = 0; i < row.size(); ++i) {
            text += i > 0 ? "\t" : "";
            appendCell(text, row[i]);
        }
        text += '\n';
    }
    return QString::fromStdString(text);
}

}  // namespace harvest

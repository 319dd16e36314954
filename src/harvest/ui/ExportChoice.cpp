#include "ExportChoice.h"

#include <QFileInfo>

namespace harvest {

namespace {

struct Offered {
    const char* filter;
    const char* extension;
    Format format;
};

const Offered kOffered[] = {
    {"CSV (*.csv)", "csv", Format::Csv},
    {"TSV (*.tsv)", "tsv", Format::Tsv},
    {"JSON Lines (*.jsonl)", "jsonl", Format::Jsonl},
    {"Excel workbook (*.xlsx)", "xlsx", Format::Xlsx},
    {"SQLite database (*.sqlite)", "sqlite", Format::Sqlite},
    {"vCard (*.vcf)", "vcf", Format::VCard},
};

}  // namespace

QStringList ExportFilters() {
    QStringList filters;
    for (const Offered& o : kOffered) {
        filters << o.filter;
    }
    return filters;
}

ExportChoice ChooseExport(const QString& path, const QString& filter) {
    if (QFileInfo(path).suffix().isEmpty() == false) {
        if (const auto f = formatForPath(path.toStdString())) {
            return {path, *f};
        }
    }
    const Offered* chosen = &kOffered[0];
    for (const Offered& o : kOffered) {
        if (filter == o.filter) {
            chosen = &o;
        }
    }
    return {path + "." + chosen->extension, chosen->format};
}

}  // namespace harvest

#pragma once
// The formats the export's save dialog offers, and what a chosen path and
// filter mean: the format, and the path with the format's extension added
// when the user typed none that belongs to it.
#include <QString>
#include <QStringList>

#include "Writers.h"

namespace harvest {

// "CSV (*.csv)", "TSV (*.tsv)", ... in the order the dialog lists them.
QStringList ExportFilters();

struct ExportChoice {
    QString path;
    Format format = Format::Csv;
};

// The path's own extension wins when it names a format; otherwise the chosen
// filter gives the format (CSV when it names none) and its extension is added.
ExportChoice ChooseExport(const QString& path, const QString& filter);

}  // namespace harvest

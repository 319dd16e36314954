#include "SightingsPanel.h"

#include <QFileInfo>
#include <QHeaderView>

namespace harvest {

QUrl PlaceToOpen(const std::string& source) {
    const QString s = QString::fromStdString(source).trimmed();
    if (s.isEmpty()) {
        return {};
    }
    if (s.startsWith("http://", Qt::CaseInsensitive) ||
        s.startsWith("https://", Qt::CaseInsensitive)) {
        return QUrl(s);
    }
    // A "!" may belong to the file's own name: the container is the longest
    // prefix before a "!" that is an existing file.
    QString path = s;
    for (qsizetype bang = s.indexOf('!'); bang > 0; bang = s.indexOf('!', bang + 1)) {
        if (QFileInfo(s.left(bang)).isFile()) {
            path = s.left(bang);
            break;
        }
    }
    return QUrl::fromLocalFile(path);
}

QString PlaceInSource(const Origin& origin) {
    if (origin.page) {
        return QString("page %1").arg(*origin.page);
    }
    if (origin.message) {
        return QString("message %1").arg(*origin.message);
    }
    if (origin.depth) {
        return QString("depth %1").arg(*origin.depth);
    }
    return {};
}

SightingsPanel::SightingsPanel(QWidget* parent) : QTableWidget(0, 5, parent) {
    setHorizontalHeaderLabels({"Source", "Page/Message", "Line", "Field", "Context"});
    horizontalHeader()->setStretchLastSection(true);
    horizontalHeader()->resizeSection(0, 240);
    verticalHeader()->hide();
    setSelectionBehavior(QAbstractItemView::SelectRows);
    setSelectionMode(QAbstractItemView::SingleSelection);
    setEditTriggers(QAbstractItemView::NoEditTriggers);
    setTabKeyNavigation(false);
    setWordWrap(false);
    setToolTip("Where the selected contact was found; double-click a row to open its source");
    // A double-click or Enter activates a row.
    connect(this, &QTableWidget::cellActivated, this, [this](int row, int) { openRow(row); });
}

void SightingsPanel::show(const std::vector<Sighting>& sightings, std::int64_t total) {
    setRowCount(static_cast<int>(sightings.size()));
    sources_.clear();
    for (int row = 0; row < rowCount(); ++row) {
        const Sighting& s = sightings[static_cast<std::size_t>(row)];
        sources_.push_back(s.origin.source);
        const QString cells[] = {QString::fromStdString(s.origin.source), PlaceInSource(s.origin),
                                 QString::number(s.line), QString::fromStdString(s.origin.field),
                                 QString::fromStdString(s.context)};
        for (int column = 0; column < 5; ++column) {
            auto* item = new QTableWidgetItem(cells[column]);
            item->setToolTip(cells[column]);
            setItem(row, column, item);
        }
    }
    const auto shown = static_cast<std::int64_t>(sightings.size());
    setAccessibleDescription(total > shown
                                 ? QString("The first %1 of %2 sightings").arg(shown).arg(total)
                                 : QString("%1 sightings").arg(shown));
    for (int column : {1, 2, 3}) {
        resizeColumnToContents(column);
    }
}

void SightingsPanel::clearSightings() {
    setRowCount(0);
    sources_.clear();
}

void SightingsPanel::openRow(int row) {
    if (row < 0 || row >= static_cast<int>(sources_.size()) || !opener) {
        return;
    }
    const QUrl url = PlaceToOpen(sources_[static_cast<std::size_t>(row)]);
    if (url.isValid()) {
        opener(url);
    }
}

}  // namespace harvest

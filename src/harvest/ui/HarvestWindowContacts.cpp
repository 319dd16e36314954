// The contacts part of the Harvest window: filters, table, sightings, column
// chooser, copy, delete and export.
#include <QAction>
#include <QApplication>
#include <QClipboard>
#include <QComboBox>
#include <QFileInfo>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QProgressDialog>
#include <QPushButton>
#include <QSplitter>
#include <QStatusBar>
#include <QTableView>
#include <QVBoxLayout>
#include <algorithm>
#include <set>

#include "ExportChoice.h"
#include "HarvestWindow.h"
#include "SightingsPanel.h"

namespace harvest {

namespace {

// The kind filter's entries: caption and the kinds it shows (none: all).
const std::pair<const char*, const char*> kKinds[] = {
    {"All", ""},    {"Personal", "personal"}, {"Role", "role"}, {"No-reply", "no-reply"},
    {"Web", "web"}, {"Phone", "phone"},
};

QLineEdit* LabelledEdit(const QString& label, const char* name, const QString& tip,
                        QHBoxLayout* row, QWidget* parent) {
    auto* edit = new QLineEdit(parent);
    edit->setObjectName(name);
    edit->setToolTip(tip);
    edit->setClearButtonEnabled(true);
    auto* caption = new QLabel(label, parent);
    caption->setBuddy(edit);
    row->addWidget(caption);
    row->addWidget(edit, 1);
    return edit;
}

}  // namespace

QWidget* HarvestWindow::buildContacts() {
    auto* page = new QWidget(this);
    auto* column = new QVBoxLayout(page);
    auto* filters = new QHBoxLayout;
    search_ = LabelledEdit("Se&arch:", "search",
                           "Show the contacts whose address, name, domain or first source "
                           "contains this text",
                           filters, page);
    search_->setAccessibleName("Search");
    connect(search_, &QLineEdit::textChanged, this,
            [this](const QString& text) { form_.view().setSearchText(text); });

    kind_ = new QComboBox(page);
    kind_->setObjectName("kindFilter");
    kind_->setAccessibleName("Kind");
    kind_->setToolTip("Show only contacts of one kind");
    for (const auto& [caption, kind] : kKinds) {
        kind_->addItem(caption, QString(kind));
    }
    auto* kindLabel = new QLabel("&Kind:", page);
    kindLabel->setBuddy(kind_);
    filters->addWidget(kindLabel);
    filters->addWidget(kind_);
    connect(kind_, &QComboBox::currentIndexChanged, this, [this] {
        const std::string kind = kind_->currentData().toString().toStdString();
        form_.view().setKinds(kind.empty() ? std::set<std::string>{} : std::set<std::string>{kind});
    });

    domain_ = LabelledEdit("Doma&in:", "domainFilter",
                           "Show only contacts at this domain or its subdomains", filters, page);
    domain_->setAccessibleName("Domain");
    connect(domain_, &QLineEdit::textChanged, this,
            [this](const QString& text) { form_.view().setDomain(text.trimmed()); });

    count_ = new QLabel(page);
    count_->setObjectName("contactCount");
    filters->addWidget(count_);
    export_ = new QPushButton("&Export...", page);
    export_->setObjectName("export");
    export_->setToolTip("Save the contacts (all or the selected ones) as a file");
    connect(export_, &QPushButton::clicked, this, &HarvestWindow::exportRows);
    deleteRows_ = new QPushButton("&Delete Rows", page);
    deleteRows_->setObjectName("deleteRows");
    deleteRows_->setToolTip("Remove the selected contacts from the table (Delete)");
    connect(deleteRows_, &QPushButton::clicked, this, &HarvestWindow::deleteRows);
    filters->addWidget(export_);
    filters->addWidget(deleteRows_);
    column->addLayout(filters);

    table_ = new QTableView(page);
    table_->setObjectName("contacts");
    table_->setAccessibleName("Contacts");
    table_->setModel(&form_.view());
    table_->setSelectionBehavior(QAbstractItemView::SelectRows);
    table_->setSelectionMode(QAbstractItemView::ExtendedSelection);
    table_->setEditTriggers(QAbstractItemView::NoEditTriggers);
    table_->setTabKeyNavigation(false);
    table_->setWordWrap(false);
    table_->setAlternatingRowColors(true);
    table_->verticalHeader()->setDefaultSectionSize(table_->fontMetrics().height() + 6);
    table_->horizontalHeader()->setStretchLastSection(true);
    table_->horizontalHeader()->resizeSection(ContactTableModel::Address, 260);
    table_->horizontalHeader()->resizeSection(ContactTableModel::Name, 180);
    // Rows stay in the order they were found until a header is clicked.
    table_->horizontalHeader()->setSortIndicator(-1, Qt::AscendingOrder);
    table_->setSortingEnabled(true);

    auto* copy = new QAction("&Copy", table_);
    copy->setObjectName("copyRows");
    copy->setShortcut(QKeySequence::Copy);
    copy->setShortcutContext(Qt::WidgetWithChildrenShortcut);
    connect(copy, &QAction::triggered, this, &HarvestWindow::copyRows);
    auto* remove = new QAction("&Delete Rows", table_);
    remove->setObjectName("deleteRowsAction");
    remove->setShortcut(QKeySequence::Delete);
    remove->setShortcutContext(Qt::WidgetWithChildrenShortcut);
    connect(remove, &QAction::triggered, this, &HarvestWindow::deleteRows);
    auto* exportAction = new QAction("&Export...", table_);
    connect(exportAction, &QAction::triggered, this, &HarvestWindow::exportRows);
    table_->addActions({copy, remove, exportAction});
    table_->setContextMenuPolicy(Qt::ActionsContextMenu);
    buildColumnMenu();

    auto* sightingsBox = new QGroupBox("Si&ghtings", page);
    auto* sightingsLayout = new QVBoxLayout(sightingsBox);
    sightings_ = new SightingsPanel(sightingsBox);
    sightings_->setObjectName("sightings");
    sightings_->setAccessibleName("Sightings");
    sightings_->opener = [this](const QUrl& url) { return hooks.openUrl(url); };
    sightingsLayout->addWidget(sightings_);

    sightingsSplitter_ = new QSplitter(Qt::Horizontal, page);
    sightingsSplitter_->setObjectName("sightingsSplitter");
    sightingsSplitter_->setChildrenCollapsible(false);
    sightingsSplitter_->addWidget(table_);
    sightingsSplitter_->addWidget(sightingsBox);
    sightingsSplitter_->setStretchFactor(0, 3);
    sightingsSplitter_->setStretchFactor(1, 2);
    column->addWidget(sightingsSplitter_, 1);

    connect(table_->selectionModel(), &QItemSelectionModel::currentRowChanged, this,
            &HarvestWindow::showSightings);
    QAbstractItemModel* view = &form_.view();
    connect(view, &QAbstractItemModel::rowsInserted, this, &HarvestWindow::showCount);
    connect(view, &QAbstractItemModel::rowsRemoved, this, &HarvestWindow::showCount);
    connect(view, &QAbstractItemModel::modelReset, this, &HarvestWindow::showCount);
    connect(view, &QAbstractItemModel::layoutChanged, this, &HarvestWindow::showCount);
    connect(view, &QAbstractItemModel::modelReset, this, &HarvestWindow::showSightings);
    return page;
}

void HarvestWindow::buildColumnMenu() {
    columnMenu_ = new QMenu("Columns", this);
    columnMenu_->setObjectName("columnMenu");
    const QAbstractItemModel& model = form_.contacts();
    for (int c = 0; c < ContactTableModel::ColumnCount; ++c) {
        QAction* a = columnMenu_->addAction(model.headerData(c, Qt::Horizontal).toString());
        a->setObjectName(QString("column%1").arg(c));
        a->setCheckable(true);
        a->setChecked(true);
        connect(a, &QAction::toggled, this, [this, c](bool shown) {
            setColumnShown(c, shown);
            QStringList kept;
            for (int i = 0; i < ContactTableModel::ColumnCount; ++i) {
                if (!table_->isColumnHidden(i)) {
                    kept << QString::number(i);
                }
            }
            form_.setSetting("columns", kept.join(','));
        });
    }
    QHeaderView* header = table_->horizontalHeader();
    header->setToolTip("Click to sort; right-click to choose the columns shown");
    header->setContextMenuPolicy(Qt::CustomContextMenu);
    connect(header, &QHeaderView::customContextMenuRequested, this,
            [this, header](QPoint at) { columnMenu_->popup(header->mapToGlobal(at)); });
}

void HarvestWindow::setColumnShown(int column, bool shown) {
    // At least one column stays.
    int visible = 0;
    for (int i = 0; i < ContactTableModel::ColumnCount; ++i) {
        visible += table_->isColumnHidden(i) ? 0 : 1;
    }
    if (!shown && visible <= 1 && !table_->isColumnHidden(column)) {
        shown = true;
    }
    table_->setColumnHidden(column, !shown);
    if (QAction* a = columnMenu_->findChild<QAction*>(QString("column%1").arg(column))) {
        QSignalBlocker block(a);
        a->setChecked(shown);
    }
}

void HarvestWindow::showCount() {
    const int all = form_.contacts().rowCount();
    const int shown = form_.view().rowCount();
    count_->setText(shown == all ? QString("%1 contacts").arg(all)
                                 : QString("%1 of %2 contacts").arg(shown).arg(all));
}

void HarvestWindow::showSightings() {
    const QModelIndex current = table_->currentIndex();
    const int row = current.isValid() ? form_.view().mapToSource(current).row() : -1;
    if (row < 0) {
        sightings_->clearSightings();
        return;
    }
    sightings_->show(form_.contacts().sightingsOf(row), form_.contacts().contact(row).sightings);
}

std::vector<int> HarvestWindow::selectedContactRows() const {
    std::vector<int> viewRows;
    for (const QModelIndex& index : table_->selectionModel()->selectedRows()) {
        viewRows.push_back(index.row());
    }
    std::sort(viewRows.begin(), viewRows.end());
    std::vector<int> rows;
    rows.reserve(viewRows.size());
    for (int r : viewRows) {
        rows.push_back(form_.view().mapToSource(form_.view().index(r, 0)).row());
    }
    return rows;
}

void HarvestWindow::copyRows() {
    const std::vector<int> rows = selectedContactRows();
    if (!rows.empty()) {
        QApplication::clipboard()->setText(form_.copyText(rows));
        statusBar()->showMessage(QString("Copied %1 rows.").arg(rows.size()), 4000);
    }
}

void HarvestWindow::deleteRows() {
    std::vector<int> rows = selectedContactRows();
    if (rows.empty()) {
        return;
    }
    if (static_cast<int>(rows.size()) > kConfirmDeleteRows &&
        !hooks.confirm(this, QString("Delete the %1 selected rows?").arg(rows.size()))) {
        return;
    }
    // From the bottom up, a run of neighbouring rows at a time.
    std::sort(rows.begin(), rows.end(), std::greater<>());
    ContactTableModel& contacts = form_.contacts();
    for (std::size_t i = 0; i < rows.size();) {
        std::size_t j = i + 1;
        while (j < rows.size() && rows[j] == rows[j - 1] - 1) {
            ++j;
        }
        contacts.removeRows(rows[j - 1], static_cast<int>(j - i));
        i = j;
    }
    showCount();
    showSightings();
}

void HarvestWindow::exportRows() {
    std::vector<int> rows = selectedContactRows();
    const int all = form_.contacts().rowCount();
    if (!rows.empty() && static_cast<int>(rows.size()) < all) {
        const std::optional<bool> selectedOnly =
            hooks.askSelectedOnly(this, static_cast<int>(rows.size()), all);
        if (!selectedOnly) {
            return;
        }
        if (!*selectedOnly) {
            rows.clear();
        }
    } else {
        rows.clear();
    }
    QString filter;
    QString path =
        hooks.chooseSaveFile(this, form_.setting("exportFolder"), ExportFilters(), filter);
    if (path.isEmpty()) {
        return;
    }
    const ExportChoice choice = ChooseExport(path, filter);
    form_.setSetting("exportFolder", QFileInfo(choice.path).absolutePath());
    const int total = rows.empty() ? all : static_cast<int>(rows.size());

    std::unique_ptr<QProgressDialog> progress;
    if (total > kExportProgressRows) {
        progress =
            std::make_unique<QProgressDialog>("Exporting contacts...", "&Cancel", 0, total, this);
        progress->setObjectName("exportProgress");
        progress->setWindowModality(Qt::WindowModal);
        progress->setMinimumDuration(0);
    }
    bool cancelled = false;
    QString error;
    const bool ok =
        form_.exportTo(choice.path, choice.format, rows, error, [&](int done, int count) {
            if (!progress) {
                return true;
            }
            progress->setMaximum(count);
            progress->setValue(done);
            QApplication::processEvents();
            cancelled = progress->wasCanceled();
            return !cancelled;
        });
    progress.reset();
    if (ok) {
        statusBar()->showMessage(
            QString("Exported %1 contacts to %2.").arg(total).arg(choice.path));
    } else if (!cancelled) {
        hooks.showError(this, QString("Could not export to %1: %2").arg(choice.path, error));
    }
}

}  // namespace harvest

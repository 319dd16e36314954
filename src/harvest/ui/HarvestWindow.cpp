#include "HarvestWindow.h"

#include <QCloseEvent>
#include <QComboBox>
#include <QFileInfo>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QSplitter>
#include <QStatusBar>
#include <QTabWidget>
#include <QTableView>
#include <QTreeWidget>
#include <QVBoxLayout>
#include <algorithm>

#include "SightingsPanel.h"
#include "SiteDialog.h"
#include "SourceList.h"
#include "SummaryView.h"

namespace harvest {

namespace {

QPushButton* Button(const QString& caption, const char* name, const QString& tip, QWidget* parent) {
    auto* b = new QPushButton(caption, parent);
    b->setObjectName(name);
    if (!tip.isEmpty()) {
        b->setToolTip(tip);
    }
    return b;
}

}  // namespace

HarvestWindow::HarvestWindow(HarvestForm& form, QWidget* parent)
    : QMainWindow(parent), form_(form) {
    setObjectName("frmHarvest");
    setWindowTitle(kTitle);  // a window of its own, also with the main window as parent
    mainSplitter_ = new QSplitter(Qt::Vertical, this);
    mainSplitter_->setObjectName("mainSplitter");
    mainSplitter_->setChildrenCollapsible(false);
    mainSplitter_->addWidget(buildSources());

    tabs_ = new QTabWidget(mainSplitter_);
    tabs_->setObjectName("tabs");
    tabs_->addTab(buildContacts(), "Co&ntacts");
    summary_ = new SummaryView(form_, tabs_);
    tabs_->addTab(summary_, "Su&mmary");
    tabs_->addTab(buildProblems(), "&Problems (0)");
    mainSplitter_->addWidget(tabs_);
    mainSplitter_->setStretchFactor(0, 1);
    mainSplitter_->setStretchFactor(1, 3);
    setCentralWidget(mainSplitter_);
    statusBar()->setObjectName("statusBar");

    connect(&form_, &HarvestForm::sourcesChanged, this, [this] {
        showSources();
        showRunState();
    });
    connect(&form_, &HarvestForm::runStarted, this, [this] {
        showRunState();
        showProgress();
        statusBar()->clearMessage();
    });
    connect(&form_, &HarvestForm::progressChanged, this, &HarvestWindow::showProgress);
    connect(&form_, &HarvestForm::problemsChanged, this, &HarvestWindow::showProblems);
    connect(&form_, &HarvestForm::runFinished, this, [this](bool completed) {
        showRunState();
        showProgress();
        showProblems();
        statusBar()->showMessage(completed ? "The harvest is finished."
                                           : "The harvest was cancelled; its contacts are kept.");
    });

    buildTabOrder();
    resize(1100, 760);
    restoreLayout();
    showSources();
    showRunState();
    showProgress();
    showProblems();
    showCount();
}

HarvestWindow::~HarvestWindow() = default;

QWidget* HarvestWindow::buildSources() {
    auto* top = new QWidget(this);
    auto* column = new QVBoxLayout(top);
    auto* box = new QGroupBox("So&urces", top);
    box->setObjectName("sourcesBox");
    auto* row = new QHBoxLayout(box);
    sourceList_ = new SourceList(box);
    sourceList_->setObjectName("sources");
    sourceList_->setAccessibleName("Sources");
    sourceList_->setToolTip("The files, folders and web sites to harvest; drop files here");
    connect(sourceList_, &SourceList::pathsDropped, this, [this](const QStringList& paths) {
        if (!form_.running()) {
            form_.addPaths(paths);
        }
    });
    row->addWidget(sourceList_, 1);

    auto* buttons = new QVBoxLayout;
    addFiles_ = Button("Add &Files...", "addFiles", "Add documents, mailboxes or archives", box);
    addFolder_ = Button("Add F&older...", "addFolder", "Add a folder and everything in it", box);
    addSite_ = Button("Add &Site...", "addSite", "Add a web site to crawl politely", box);
    remove_ = Button("&Remove", "removeSources", "Remove the selected sources", box);
    clear_ = Button("C&lear", "clearSources", "Remove every source", box);
    connect(addFiles_, &QPushButton::clicked, this, &HarvestWindow::addFiles);
    connect(addFolder_, &QPushButton::clicked, this, &HarvestWindow::addFolder);
    connect(addSite_, &QPushButton::clicked, this, &HarvestWindow::addSite);
    connect(remove_, &QPushButton::clicked, this, &HarvestWindow::removeSources);
    connect(clear_, &QPushButton::clicked, this, &HarvestWindow::clearSources);
    for (QPushButton* b : {addFiles_, addFolder_, addSite_, remove_, clear_}) {
        buttons->addWidget(b);
    }
    buttons->addStretch();
    row->addLayout(buttons);
    column->addWidget(box, 1);
    column->addWidget(buildRun(top));
    return top;
}

QWidget* HarvestWindow::buildRun(QWidget* parent) {
    auto* run = new QWidget(parent);
    auto* row = new QHBoxLayout(run);
    row->setContentsMargins(0, 0, 0, 0);
    harvest_ = Button("&Harvest", "harvest", "Harvest the contacts of every source", run);
    cancel_ = Button("&Cancel", "cancel", "Stop the harvest, keeping what was found", run);
    connect(harvest_, &QPushButton::clicked, this, &HarvestWindow::startHarvest);
    connect(cancel_, &QPushButton::clicked, this, &HarvestWindow::cancelHarvest);
    progressBar_ = new QProgressBar(run);
    progressBar_->setObjectName("progressBar");
    progressBar_->setAccessibleName("Harvest progress");
    progressBar_->setRange(0, 1000);
    progressBar_->setTextVisible(false);
    progressLabel_ = new QLabel(run);
    progressLabel_->setObjectName("progressText");
    progressLabel_->setAccessibleName("Progress");
    progressLabel_->setMinimumWidth(320);
    row->addWidget(harvest_);
    row->addWidget(cancel_);
    row->addWidget(progressBar_, 1);
    row->addWidget(progressLabel_, 1);
    return run;
}

QWidget* HarvestWindow::buildProblems() {
    problems_ = new QTreeWidget(this);
    problems_->setObjectName("problems");
    problems_->setAccessibleName("Problems");
    problems_->setToolTip("The sources that could not be read whole, and why");
    problems_->setColumnCount(2);
    problems_->setHeaderLabels({"Source", "Reason"});
    problems_->setRootIsDecorated(false);
    problems_->header()->setSectionResizeMode(0, QHeaderView::Interactive);
    problems_->header()->resizeSection(0, 420);
    return problems_;
}

void HarvestWindow::buildTabOrder() {
    const std::vector<QWidget*> chain = {
        sourceList_, addFiles_, addFolder_, addSite_, remove_, clear_,      harvest_, cancel_,
        tabs_,       search_,   kind_,      domain_,  export_, deleteRows_, table_,   sightings_};
    for (std::size_t i = 1; i < chain.size(); ++i) {
        setTabOrder(chain[i - 1], chain[i]);
    }
}

void HarvestWindow::addFiles() {
    const QStringList files = hooks.chooseFiles(this, form_.setting("lastFolder"));
    if (files.isEmpty()) {
        return;
    }
    form_.setSetting("lastFolder", QFileInfo(files.front()).absolutePath());
    form_.addPaths(files);
}

void HarvestWindow::addFolder() {
    const QString folder = hooks.chooseFolder(this, form_.setting("lastFolder"));
    if (folder.isEmpty()) {
        return;
    }
    form_.setSetting("lastFolder", folder);
    form_.addPaths({folder});
}

void HarvestWindow::addSite() {
    SiteDialog dialog(form_.defaultPoliteness(), this);
    while (dialog.exec() == QDialog::Accepted) {
        QString problem;
        if (form_.addSite(dialog.url(), dialog.politeness(), problem)) {
            form_.setDefaultPoliteness(dialog.politeness());
            return;
        }
        hooks.showError(this, problem);
    }
}

void HarvestWindow::removeSources() {
    const std::vector<int> rows = sourceList_->selectedRows();
    if (!rows.empty()) {
        form_.removeSources(rows);
    }
}

void HarvestWindow::clearSources() {
    form_.clearSources();
}

void HarvestWindow::startHarvest() {
    if (!form_.harvest()) {
        showRunState();
    }
}

void HarvestWindow::cancelHarvest() {
    form_.cancel();
}

void HarvestWindow::showSources() {
    sourceList_->show(form_.sources());
}

void HarvestWindow::showRunState() {
    const bool running = form_.running();
    const bool any = !form_.sources().empty();
    harvest_->setEnabled(!running && any);
    cancel_->setEnabled(running);
    for (QPushButton* b : {addFiles_, addFolder_, addSite_}) {
        b->setEnabled(!running);
    }
    remove_->setEnabled(!running && any);
    clear_->setEnabled(!running && any);
    sourceList_->setAcceptDrops(!running);
}

void HarvestWindow::showProgress() {
    const HarvestRunProgress p = form_.progress();
    progressLabel_->setText(form_.progressText());
    if (form_.running() && p.bytesTotal <= 0 && p.sourcesTotal <= 0) {
        progressBar_->setRange(0, 0);  // nothing to measure yet: a busy bar
        return;
    }
    progressBar_->setRange(0, 1000);
    double share = 0;
    if (p.bytesTotal > 0) {
        share = static_cast<double>(p.bytesDone) / static_cast<double>(p.bytesTotal);
    } else if (p.sourcesTotal > 0) {
        share = static_cast<double>(p.sourcesDone) / static_cast<double>(p.sourcesTotal);
    }
    if (!form_.running() && p.sourcesTotal > 0 && p.sourcesDone >= p.sourcesTotal) {
        share = 1;
    }
    progressBar_->setValue(static_cast<int>(std::clamp(share, 0.0, 1.0) * 1000));
}

void HarvestWindow::showProblems() {
    const std::vector<Problem>& problems = form_.problems();
    problems_->clear();
    QList<QTreeWidgetItem*> items;
    for (const Problem& p : problems) {
        auto* item = new QTreeWidgetItem(
            {QString::fromStdString(p.source), QString::fromStdString(p.reason)});
        item->setToolTip(0, item->text(0));
        item->setToolTip(1, item->text(1));
        items << item;
    }
    problems_->addTopLevelItems(items);
    tabs_->setTabText(tabs_->indexOf(problems_), QString("&Problems (%1)").arg(problems.size()));
}

void HarvestWindow::restoreLayout() {
    const QByteArray geometry = QByteArray::fromBase64(form_.setting("geometry").toLatin1());
    if (!geometry.isEmpty()) {
        restoreGeometry(geometry);
    }
    const std::pair<const char*, QSplitter*> splitters[] = {
        {"splitter", mainSplitter_}, {"sightingsSplitter", sightingsSplitter_}};
    for (const auto& [key, splitter] : splitters) {
        const QByteArray state = QByteArray::fromBase64(form_.setting(key).toLatin1());
        if (!state.isEmpty()) {
            splitter->restoreState(state);
        }
    }
    const QString columns = form_.setting("columns");
    if (!columns.isEmpty()) {
        std::vector<bool> shown(ContactTableModel::ColumnCount, false);
        for (const QString& n : columns.split(',', Qt::SkipEmptyParts)) {
            const int c = n.toInt();
            if (c >= 0 && c < ContactTableModel::ColumnCount) {
                shown[static_cast<std::size_t>(c)] = true;
            }
        }
        for (int c = 0; c < ContactTableModel::ColumnCount; ++c) {
            setColumnShown(c, shown[static_cast<std::size_t>(c)]);
        }
    }
}

void HarvestWindow::saveLayout() {
    form_.setSetting("geometry", QString::fromLatin1(saveGeometry().toBase64()));
    form_.setSetting("splitter", QString::fromLatin1(mainSplitter_->saveState().toBase64()));
    form_.setSetting("sightingsSplitter",
                     QString::fromLatin1(sightingsSplitter_->saveState().toBase64()));
}

void HarvestWindow::closeEvent(QCloseEvent* event) {
    // The window is kept and may be shown again; a run goes on meanwhile.
    saveLayout();
    event->accept();
}

}  // namespace harvest

#pragma once
// The Harvest window: the sources to harvest (files, folders, web sites), the
// run with its progress and problems, the contacts table with its filters and
// the sightings of the selected contact, a summary in charts, and exports.
// HarvestForm decides everything; the window shows the form's state and
// forwards what the user does. Questions go through `hooks`, which tests
// replace.
#include <QMainWindow>
#include <vector>

#include "HarvestForm.h"
#include "WindowHooks.h"

class QAction;
class QComboBox;
class QLabel;
class QLineEdit;
class QMenu;
class QProgressBar;
class QPushButton;
class QSplitter;
class QTabWidget;
class QTableView;
class QTreeWidget;

namespace harvest {

class SightingsPanel;
class SourceList;
class SummaryView;

class HarvestWindow : public QMainWindow {
    Q_OBJECT
public:
    static constexpr const char* kTitle = "Gleanmark - Harvest";
    // Above this many rows, deleting asks first and exporting shows progress.
    static constexpr int kConfirmDeleteRows = 1000;
    static constexpr int kExportProgressRows = 5000;

    explicit HarvestWindow(HarvestForm& form, QWidget* parent = nullptr);
    ~HarvestWindow() override;

    HarvestForm& form() { return form_; }
    WindowHooks hooks = WindowHooks::desktop();

    // What the buttons and keys do.
    void addFiles();
    void addFolder();
    void addSite();
    void removeSources();
    void clearSources();
    void startHarvest();
    void cancelHarvest();
    void copyRows();
    void deleteRows();
    void exportRows();

    // The selected rows of the contacts table as rows of form().contacts(),
    // in the order the table shows them.
    std::vector<int> selectedContactRows() const;
    // Remembers the window's size, its splitters and the columns shown.
    void saveLayout();

protected:
    void closeEvent(QCloseEvent* event) override;

private:
    QWidget* buildSources();
    QWidget* buildRun(QWidget* parent);
    QWidget* buildContacts();
    QWidget* buildProblems();
    void buildColumnMenu();
    void buildTabOrder();
    void restoreLayout();
    void setColumnShown(int column, bool shown);

    void showSources();
    void showRunState();
    void showProgress();
    void showProblems();
    void showCount();
    void showSightings();

    HarvestForm& form_;
    QSplitter* mainSplitter_ = nullptr;
    QSplitter* sightingsSplitter_ = nullptr;
    SourceList* sourceList_ = nullptr;
    QPushButton* addFiles_ = nullptr;
    QPushButton* addFolder_ = nullptr;
    QPushButton* addSite_ = nullptr;
    QPushButton* remove_ = nullptr;
    QPushButton* clear_ = nullptr;
    QPushButton* harvest_ = nullptr;
    QPushButton* cancel_ = nullptr;
    QProgressBar* progressBar_ = nullptr;
    QLabel* progressLabel_ = nullptr;
    QTabWidget* tabs_ = nullptr;
    QLineEdit* search_ = nullptr;
    QComboBox* kind_ = nullptr;
    QLineEdit* domain_ = nullptr;
    QLabel* count_ = nullptr;
    QPushButton* export_ = nullptr;
    QPushButton* deleteRows_ = nullptr;
    QTableView* table_ = nullptr;
    SightingsPanel* sightings_ = nullptr;
    SummaryView* summary_ = nullptr;
    QTreeWidget* problems_ = nullptr;
    QMenu* columnMenu_ = nullptr;
};

}  // namespace harvest

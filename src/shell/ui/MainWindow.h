#pragma once

#include <QMainWindow>
#include <map>
#include <string>

#include "MainForm.h"
#include "ResultGridModel.h"

class MainForm;
class QTableView;

// The main window's widgets. Each widget carries its control's name as its
// objectName, shows the state that MainForm keeps under that name, and
// forwards the user's actions to MainForm.
class MainWindow : public QMainWindow {
    Q_OBJECT
public:
    explicit MainWindow(MainForm& form, QWidget* parent = nullptr);

    // Brings every widget whose control changed in step with the form.
    void sync();
    // Brings every widget in step, changed or not.
    void syncAll();

protected:
    void closeEvent(QCloseEvent* event) override;

private:
    QWidget* buildChoosingFiles();
    QWidget* buildChosenFiles();
    QWidget* buildFunctionSelection();
    QWidget* buildSettings();
    QWidget* buildAdvancedSetting();
    QWidget* buildRunButtons();
    QWidget* buildProgress();
    void buildMenus();
    void buildToolbar();
    QWidget* make(const std::string& name, QWidget* parent);
    void apply(const std::string& name);
    // Runs a user action on the control `source`, then shows its outcome.
    template <typename F>
    void act(const std::string& source, F&& action);
    // The mouse-up work of ">>" and "Deselect".
    void mouseUp(const std::string& name);

    MainForm& form_;
    std::map<std::string, QObject*> widgets_;
    ResultGridModel gridModel_;
    uint64_t seenBindings_ = 0;
    bool syncing_ = false;
    bool inClick_ = false;
    std::string mouseUpPending_;
};

template <typename F>
void MainWindow::act(const std::string& source, F&& action) {
    if (syncing_) {
        return;
    }
    action();
    // The widget the user touched may already show a state the form did not
    // take (a click ignored during a run, a selected option clicked again), so
    // it is brought back to the form's state along with what changed.
    if (form_.controls.has(source)) {
        form_.controls[source];
    }
    sync();
}

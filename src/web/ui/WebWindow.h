#pragma once

#include <QMainWindow>
#include <QStyle>
#include <functional>
#include <string>

#include "FormBinding.h"

class QComboBox;
class QToolBar;
class QWebEngineView;
class WebForm;

// The web window frmWeb: a browser with its address box and navigation
// buttons, the crawl and shortcut tool bar, the File and ShortCut menus, and
// a status line that shows the address in hand and the pages stored during a
// crawl. WebForm decides everything it shows; the window forwards the user's
// actions and what the browser view reports.
class WebWindow : public QMainWindow {
    Q_OBJECT
public:
    explicit WebWindow(WebForm& form, QWidget* parent = nullptr);

    // Brings every widget whose control changed in step with the form.
    void sync() { binding_.sync(); }
    void syncAll() { binding_.syncAll(); }
    QWebEngineView* browser() const { return view_; }
    // Runs after every user action, once the window is in step.
    void setAfterAction(std::function<void()> f) { binding_.afterAction = std::move(f); }

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    QToolBar* addBar(const char* name, Qt::ToolButtonStyle look);
    void buildMenus();
    void buildToolbar();
    void buildNavigation();
    void buildStatusLine();
    // The keys of a browser: Ctrl+L and Alt+D to the address box, F5, Escape,
    // Alt+Left and Alt+Right for the view, Tab from the box to the page.
    void buildKeys();
    void connectBrowser();
    // Adds a tool-bar command named `name`, its tool button named alike.
    QAction* addCommand(QToolBar* bar, const std::string& name, QStyle::StandardPixmap icon,
                        std::function<void()> handler);
    void reportHistory();
    void openSettings();
    void openFilter();

    WebForm& form_;
    FormBinding binding_;
    QWebEngineView* view_;
    QComboBox* address_ = nullptr;
};

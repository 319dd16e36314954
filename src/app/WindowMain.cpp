// gleanmark-window: the main window. `gleanmark` without arguments replaces
// itself with this program, passing its own arguments on.
#include <QApplication>
#include <QIcon>

#include "Clock.h"
#include "HarvestWindowHost.h"
#include "MainForm.h"
#include "MainFormSide.h"
#include "MainWindow.h"
#include "QtPorts.h"
#include "QtPrompts.h"
#include "QtSettingsStore.h"
#include "WebEngineSetup.h"
#include "WebWindowHost.h"

int main(int argc, char* argv[]) {
    PrepareWebEngine();
    QApplication app(argc, argv);
    QApplication::setApplicationName("Gleanmark");
    QApplication::setApplicationVersion(GLEANMARK_VERSION);
    // The desktop entry gleanmark.desktop and its icon name the program.
    QApplication::setDesktopFileName("gleanmark");
    QApplication::setWindowIcon(QIcon(":/icons/gleanmark.svg"));
    QtPrompts prompts;
    QtEventPump pump;
    SystemClock clock;
    DesktopLauncher launcher;
    QtClipboard clipboard;
    QtFocusedEditor editor;
    MainForm form({prompts, pump, clock, launcher, clipboard, editor});
    MainWindow window(form);
    prompts.setParent(&window);
    // "Extract Web" makes the web window once and keeps it.
    MainFormSide mainSide(form);
    QtSettingsStore settings;
    WebWindowHost web({mainSide, pump, clock, settings}, &window);
    form.showWebWindow = [&web] { web.show(); };
    web.syncMainWindow = [&window] { window.sync(); };
    pump.beforeYield = [&web] { web.syncWindows(); };
    // "Harvest Contacts..." makes the Harvest window once and keeps it.
    harvest::HarvestWindowHost harvestWindow(settings, &window);
    form.showHarvestWindow = [&harvestWindow] { harvestWindow.show(); };
    form.Form_Load();
    window.syncAll();
    window.show();
    return app.exec();
}

#include <QApplication>
#include <QIcon>
#include <cstring>
#include <iostream>

#include "Clock.h"
#include "CommandLine.h"
#include "HarvestCommand.h"
#include "MainForm.h"
#include "MainFormSide.h"
#include "MainWindow.h"
#include "MergeCommand.h"
#include "QtPorts.h"
#include "QtPrompts.h"
#include "QtSettingsStore.h"
#include "WebCommands.h"
#include "WebEngineSetup.h"
#include "WebWindowHost.h"

int main(int argc, char* argv[]) {
    if (argc == 2 && std::strcmp(argv[1], "--version") == 0) {
        std::cout << "Gleanmark " GLEANMARK_VERSION "\n";
        return 0;
    }
    if (argc > 1) {
        if (std::strcmp(argv[1], "run") == 0) {
            return RunCommandLine(argc, argv);
        }
        if (std::strcmp(argv[1], "harvest") == 0) {
            return HarvestCommandLine(argc, argv);
        }
        if (std::strcmp(argv[1], "merge") == 0) {
            return MergeCommandLine(argc, argv);
        }
        if (std::strcmp(argv[1], "crawl") == 0 || std::strcmp(argv[1], "shortcut") == 0) {
            return WebCommandLine(argc, argv);
        }
        std::cerr
            << "usage: gleanmark            open the main window\n"
               "       gleanmark run --help       process files from the command line\n"
               "       gleanmark crawl --help     crawl a web site and process its pages\n"
               "       gleanmark shortcut --help  save, clear and process shortcut addresses\n"
               "       gleanmark harvest --help   find clean, validated contacts in files\n"
               "       gleanmark merge --help     add up the shards of harvests into one\n"
               "       gleanmark --version        print the version\n";
        return 2;
    }
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
    form.Form_Load();
    window.syncAll();
    window.show();
    return app.exec();
}

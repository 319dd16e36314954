#include <gtest/gtest.h>
#include <QApplication>
#include <QStandardPaths>

#include "WebEngineSetup.h"

// The browser view under test: no sandbox (tests may run as root), no GPU
// (offscreen), and none of the browser's own traffic. Settings and caches go
// to Qt's test locations, never the user's.
int main(int argc, char* argv[]) {
    if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM")) {
        qputenv("QT_QPA_PLATFORM", "offscreen");
    }
    qputenv("QTWEBENGINE_DISABLE_SANDBOX", "1");
    if (!qEnvironmentVariableIsSet("QTWEBENGINE_CHROMIUM_FLAGS")) {
        qputenv("QTWEBENGINE_CHROMIUM_FLAGS",
                "--no-sandbox --disable-gpu --disable-background-networking "
                "--disable-component-update --no-first-run");
    }
    QStandardPaths::setTestModeEnabled(true);
    PrepareWebEngine();
    QApplication app(argc, argv);
    QApplication::setQuitOnLastWindowClosed(false);  // a test closing windows ends no other
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}

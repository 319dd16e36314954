#include "WebEngineSetup.h"

#include <unistd.h>

#include <QCoreApplication>
#include <QLoggingCategory>

void PrepareWebEngine() {
    // The browser view draws with OpenGL contexts shared with the widgets'.
    QCoreApplication::setAttribute(Qt::AA_ShareOpenGLContexts);
    // Chromium refuses to start its sandbox for the root user, and the view
    // would then stay empty; only for root is the sandbox left off.
    if (geteuid() == 0 && !qEnvironmentVariableIsSet("QTWEBENGINE_DISABLE_SANDBOX")) {
        qputenv("QTWEBENGINE_DISABLE_SANDBOX", "1");
    }
    // The browser reaches only the addresses the user asks for: no update
    // checks, no component downloads, no first-run or background traffic.
    // Flags the user set are left as they are.
    if (!qEnvironmentVariableIsSet("QTWEBENGINE_CHROMIUM_FLAGS")) {
        qputenv("QTWEBENGINE_CHROMIUM_FLAGS",
                "--disable-background-networking --disable-component-update --no-first-run "
                "--disable-domain-reliability --disable-sync --no-pings");
    }
    // The browser's start-up report (GL type, Chromium flags) is of no use
    // to a user who started the program from a terminal.
    if (!qEnvironmentVariableIsSet("QT_LOGGING_RULES")) {
        QLoggingCategory::setFilterRules("qt.webenginecontext.info=false");
    }
}

#include "WebWindowHost.h"

#include <QGuiApplication>
#include <QPointer>

#include "GumboDocument.h"
#include "QtWebPorts.h"
#include "WebForm.h"
#include "WebWindow.h"

struct WebWindowHost::Parts {
    Parts(const Ports& ports, const FetchLimits& limits, QWidget* owner)
        : fetcher(limits),
          documents(limits),
          form({fetcher, documents, ports.settings, ports.mainWindow, ports.pump, pointer,
                ports.clock}),
          window(new WebWindow(form, owner)) {
        pointer.setWindow(window);
    }
    ~Parts() { delete window.data(); }

    QtFetcher fetcher;
    GumboDocumentSource documents;
    WindowPointer pointer;
    WebForm form;
    QPointer<WebWindow> window;  // the owner may end it first
};

WebWindowHost::WebWindowHost(Ports ports, QWidget* owner) : ports_(ports), owner_(owner) {}

WebWindowHost::~WebWindowHost() = default;

void WebWindowHost::show() {
    if (!parts_) {
        parts_ = std::make_unique<Parts>(ports_, limits, owner_);
        parts_->window->setAfterAction([this] {
            if (syncMainWindow) {
                syncMainWindow();
            }
        });
        WebForm& form = parts_->form;
        // A page that does not come is told in the status line.
        parts_->fetcher.onTransferEnd = [&form](const TransferOutcome& o) {
            if (PageDidNotCome(o)) {
                form.pageFailed(o.address, o.reason);
            }
        };
        form.crawler.onVisit = [this, shown = form.crawler.onVisit](const std::string& address) {
            if (shown) {
                shown(address);
            }
            syncWindows();
        };
        form.store.onStored = [this, shown = form.store.onStored](const std::string& path) {
            if (shown) {
                shown(path);
            }
            syncWindows();
        };
        // The program ends with its main window; a crawl under way then
        // stops after the page in hand instead of going on unseen.
        QObject::connect(qApp, &QGuiApplication::lastWindowClosed, parts_->window,
                         [&form] { form.Terminate_Click(); });
    }
    if (WebWindow* w = window()) {
        w->show();
        w->raise();
        w->activateWindow();
    }
}

void WebWindowHost::syncWindows() {
    if (syncMainWindow) {
        syncMainWindow();
    }
    if (WebWindow* w = window()) {
        w->sync();
    }
}

WebWindow* WebWindowHost::window() const {
    return parts_ ? parts_->window.data() : nullptr;
}

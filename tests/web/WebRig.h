#pragma once

#include <gtest/gtest.h>
#include <QDir>

#include "Fakes.h"
#include "TempDir.h"
#include "WebFakes.h"
#include "WebForm.h"

// A web window's form on scripted ports. Pages go to <temp>/pages/; the
// filter and shortcut files live in the temporary folder, which is also the
// working directory.
class WebRig : public ::testing::Test {
protected:
    WebRig() : saved_(QDir::currentPath()) {
        QDir::setCurrent(QString::fromStdString(dir.path()));
        settings.preset("TmpPath", pages());
        settings.preset("FilterDir", dir.path());
        settings.preset("ShortcutDir", dir.path());
    }
    ~WebRig() override { QDir::setCurrent(saved_); }

    std::string pages() const { return dir.path() + "/pages/"; }
    std::string page(int n) const { return pages() + std::to_string(n) + ".html"; }
    // A site: each address with its links; every address has a page naming it.
    void site(const std::map<std::string, std::vector<std::string>>& links) {
        for (const auto& [address, targets] : links) {
            fetcher.pages[address] = "<p>" + address + "</p>";
            documents.links[address] = targets;
        }
    }
    void crawl(const std::string& start, int depth, bool filter = false, bool online = true) {
        form.crawler.Lc2kEngine(start, static_cast<int16_t>(depth), filter, online);
    }

    TempDir dir;
    MemorySettings settings;
    ScriptedFetcher fetcher;
    ScriptedDocuments documents;
    RecordingMainSide mainSide;
    ScriptedPump pump;
    RecordingPointer pointer;
    FixedClock clock;
    WebForm form{{fetcher, documents, settings, mainSide, pump, pointer, clock}};

private:
    QString saved_;
};

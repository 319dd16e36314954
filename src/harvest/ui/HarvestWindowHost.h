#pragma once
// The Harvest window with its form, made the first time it is asked for and
// then kept, so its sources, contacts and a run under way last as long as the
// program.
#include <QPointer>
#include <memory>

#include "HarvestWindow.h"

class QWidget;
class SettingsStore;

namespace harvest {

class HarvestWindowHost {
public:
    // `owner` (the main window) keeps the Harvest window on top of it and
    // ends it with itself.
    explicit HarvestWindowHost(SettingsStore& settings, QWidget* owner = nullptr);
    ~HarvestWindowHost();
    HarvestWindowHost(const HarvestWindowHost&) = delete;
    HarvestWindowHost& operator=(const HarvestWindowHost&) = delete;

    // Makes the window the first time, then shows it and brings it forward.
    void show();
    // Null until the window is first shown.
    HarvestWindow* window() const { return window_.data(); }
    HarvestForm* form() const { return form_.get(); }

private:
    SettingsStore& settings_;
    QWidget* owner_;
    std::unique_ptr<HarvestForm> form_;
    QPointer<HarvestWindow> window_;  // the owner may end it first
};

}  // namespace harvest

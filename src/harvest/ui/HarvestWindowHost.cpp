#include "HarvestWindowHost.h"

#include "HarvestForm.h"
#include "HarvestWindow.h"

namespace harvest {

HarvestWindowHost::HarvestWindowHost(SettingsStore& settings, QWidget* owner)
    : settings_(settings), owner_(owner) {}

HarvestWindowHost::~HarvestWindowHost() {
    // The window goes before the form it shows; the form then stops a run.
    if (window_) {
        window_->saveLayout();
        delete window_.data();
    }
}

void HarvestWindowHost::show() {
    if (!form_) {
        form_ = std::make_unique<HarvestForm>(settings_);
    }
    if (!window_) {
        window_ = new HarvestWindow(*form_, owner_);
    }
    window_->show();
    window_->raise();
    window_->activateWindow();
}

}  // namespace harvest

#pragma once

#include "Fakes.h"
#include "ProgressBar.h"
#include "ScanEngine.h"

// A scan engine with a scripted event pump, an in-memory progress bar and a
// fixed clock.
struct EngineRig {
    explicit EngineRig(std::string text = {}) { engine.strScanText = std::move(text); }
    // Presses Cancel at the n-th yield.
    void cancelAt(long n) {
        pump.at(n, [this] { engine.intCancel = 1; });
    }

    ScriptedPump pump;
    PlainProgress progress;
    FixedClock clock;
    ScanEngine engine{pump, progress, clock};
};

#pragma once

#include <functional>
#include <memory>

#include "QtFetcher.h"

class Clock;
class EventPump;
class MainWindowSide;
class QWidget;
class SettingsStore;
class WebWindow;

// The web window with everything it runs on (network fetch, page documents,
// pointer, form), made the first time it is asked for and then kept, so a
// crawl's page counter and visited addresses last as long as the program.
class WebWindowHost {
public:
    struct Ports {
        MainWindowSide& mainWindow;
        EventPump& pump;
        Clock& clock;
        SettingsStore& settings;
    };

    // `owner` (the main window) keeps the web window on top of it and ends it
    // with itself.
    explicit WebWindowHost(Ports ports, QWidget* owner = nullptr);
    ~WebWindowHost();
    WebWindowHost(const WebWindowHost&) = delete;
    WebWindowHost& operator=(const WebWindowHost&) = delete;

    // Makes the window the first time, then shows it and brings it forward.
    void show();
    // Brings the main window (through syncMainWindow) and the web window,
    // once it exists, in step with their forms. The program calls it at every
    // yield; the web window calls it as a crawl visits and stores each page,
    // since a quick site may answer without the crawl ever yielding.
    void syncWindows();
    // Null until the window is first shown.
    WebWindow* window() const;

    // The limits of every transfer of the crawl; read when the window is made.
    FetchLimits limits;
    std::function<void()> syncMainWindow;

private:
    struct Parts;
    Ports ports_;
    QWidget* owner_;
    std::unique_ptr<Parts> parts_;
};

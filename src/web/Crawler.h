#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <string>

class Clock;
class EventPump;
class HtmlDocumentSource;
class MainWindowSide;
class MousePointer;
class PageStore;
class Stack;
class WebSettings;

// The web window's crawl: from a start address it visits pages level by
// level to a depth, stores each page, follows links that name ".htm",
// ".html" or ".asp" pages, and in the Online mode presses the main window's
// Process when the depth is passed. Visited addresses are kept in a list of
// 901 slots whose count lives as long as the window.
class Crawler {
public:
    static constexpr int kSearchedSlots = 901;
    static constexpr int kLinkSlots = 1001;

    struct Ports {
        PageStore& store;
        HtmlDocumentSource& documents;
        WebSettings& settings;
        MainWindowSide& mainWindow;
        EventPump& pump;
        MousePointer& pointer;
        Clock& clock;
    };
    explicit Crawler(Ports ports) : ports_(ports) {}

    void Lc2kEngine(const std::string& startAddress, int16_t depth, bool enableFilter, bool online);

    // True when `address` equals one of the slots 0..searchedCount (slot 0
    // is never written, so "" counts as searched).
    bool HasUrlBeenSearchedBefore(const std::string& address) const;
    // Stores `address` in slot searchedCount + 1; false (nothing recorded)
    // when that slot is beyond 900.
    bool SetUrlSearched(const std::string& address);
    // True when a non-empty line of the filter file occurs in `address`; a
    // missing filter file filters nothing.
    bool IsFilter(const std::string& address) const;
    // Fills pageLinks with the first 1001 link targets of the page.
    void CollectLinks(const std::string& address);
    // Pauses until the clock is at least one second past the present time
    // rounded to a whole second. The crawl does not call it.
    void WaitProcessorTime();

    std::array<std::string, kSearchedSlots> searchedUrls;
    int32_t searchedCount = 0;
    std::array<std::string, kLinkSlots> pageLinks;
    // Set by Terminate; never cleared, so later crawls end at once.
    bool stopRequested = false;
    int16_t level = 1;

    // Told the address of each page before it is visited.
    std::function<void(const std::string& address)> onVisit;

private:
    // Steps 7 and 8: one page's visit; an error ends the visit only.
    void visit(Stack& stack, const std::string& address, bool enableFilter);
    Ports ports_;
};

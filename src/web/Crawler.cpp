#include "Crawler.h"

#include <QDateTime>
#include <cmath>
#include <memory>

#include "Clock.h"
#include "EventPump.h"
#include "HtmlDocument.h"
#include "MainWindowSide.h"
#include "MousePointer.h"
#include "PageStore.h"
#include "Stack.h"
#include "TextOps.h"
#include "WebFiles.h"
#include "WebSettings.h"

namespace {

bool Contains(const std::string& text, const char* part) {
    return textops::FindNoCase(text, part) != std::string::npos;
}

// Links to pages: ".html" is tested although ".htm" already covers it.
bool Qualifies(const std::string& link) {
    return Contains(link, ".htm") || Contains(link, ".html") || Contains(link, ".asp");
}

}  // namespace

bool Crawler::HasUrlBeenSearchedBefore(const std::string& address) const {
    for (int32_t i = 0; i <= searchedCount; ++i) {
        if (i >= kSearchedSlots) {
            return false;  // the scan stops at the end of the list
        }
        if (searchedUrls[i] == address) {
            return true;
        }
    }
    return false;
}

bool Crawler::SetUrlSearched(const std::string& address) {
    const int32_t slot = searchedCount + 1;
    if (slot < 0 || slot >= kSearchedSlots) {
        return false;
    }
    searchedUrls[slot] = address;
    ++searchedCount;
    return true;
}

bool Crawler::IsFilter(const std::string& address) const {
    const auto lines = webfiles::ReadLines(ports_.settings.filterFile());
    if (!lines) {
        return false;
    }
    for (const std::string& line : *lines) {
        if (!line.empty() && address.find(line) != std::string::npos) {
            return true;
        }
    }
    return false;
}

void Crawler::CollectLinks(const std::string& address) {
    std::unique_ptr<HtmlDocument> document = ports_.documents.create();
    document->createDocumentFromUrl(address);
    ports_.pointer.setShape(MousePointer::Hourglass);
    try {
        while (!document->complete()) {
            ports_.pump.yield();
        }
        pageLinks.fill("");
        const std::vector<std::string> links = document->links();
        for (size_t n = 0; n < links.size(); ++n) {
            if (n > 1000) {
                break;
            }
            pageLinks[n] = links[n];
        }
    } catch (...) {
        ports_.pointer.setShape(MousePointer::Default);
        throw;
    }
    ports_.pointer.setShape(MousePointer::Default);
}

void Crawler::WaitProcessorTime() {
    const QDateTime now = ports_.clock.now();
    const double seconds = now.time().msecsSinceStartOfDay() / 1000.0;
    const qint64 rounded = static_cast<qint64>(std::nearbyint(seconds));
    // Measured from the day's start, so a wait across midnight ends too.
    const QDateTime until = now.date().startOfDay().addSecs(rounded + 1);
    while (ports_.clock.now() < until) {
        ports_.pump.yield();
    }
}

void Crawler::visit(Stack& stack, const std::string& address, bool enableFilter) {
    if (onVisit) {
        onVisit(address);
    }
    try {
        SetUrlSearched(address);
        {
            // The page's text goes once it is stored, before the page is
            // loaded again for its links: a big page is held once, not twice.
            const std::string page = ports_.store.GetDocument(address);
            ports_.store.StoreInternetPage(page, address);
        }
        CollectLinks(address);
        for (int n = 0; n < kLinkSlots && !pageLinks[n].empty(); ++n) {
            std::string link = pageLinks[n];
            if (!Qualifies(link)) {
                continue;
            }
            if (HasUrlBeenSearchedBefore(link)) {
                link += ".dl";  // marked as known in this copy only; nothing is pushed
            } else if (enableFilter) {
                if (!IsFilter(link) && !Contains(link, "mailto")) {
                    stack.Push(level, link);
                }
            } else if (!Contains(link, "mailto")) {
                stack.Push(level, link);
            }
        }
    } catch (...) {
        // An error ends this page's visit; the crawl goes on.
    }
}

void Crawler::Lc2kEngine(const std::string& startAddress, int16_t depth, bool enableFilter,
                         bool online) {
    searchedUrls.fill("");
    auto stack = std::make_unique<Stack>();
    stack->pump = &ports_.pump;
    auto ending = [&] {
        try {
            stack->Reset(0);
            stack->Reset(level);
        } catch (...) {
        }
    };
    if (stopRequested) {
        ending();
        return;
    }
    try {
        level = 1;
        stack->Reset(level);
        stack->Reset(0);
        stack->Push(0, startAddress);
        bool ranDry = false;  // stack 0 has run dry once in this level
        for (;;) {
            // An empty stack 0 gives false, visited as the address "False".
            const Variant next = stack->pop(0);
            const std::string address = next.toText();
            if (stopRequested) {
                ending();
                return;
            }
            // "False" is visited at most once a level. Once the searched list
            // is full it is no longer recorded, and visiting it again and
            // again would never end the level.
            const bool dryAgain = next.isBool() && ranDry;
            ranDry = ranDry || next.isBool();
            if (!dryAgain && !HasUrlBeenSearchedBefore(address)) {
                visit(*stack, address, enableFilter);
                if (!stack->lne(level)) {
                    continue;
                }
            }
            // Level switch: what stack 0 still holds is dropped.
            ranDry = false;
            stack->Reset(0);
            stack->CopyStack(level, 0);
            stack->Reset(level);
            ++level;
            if (level > depth) {
                if (online) {
                    level = 1;
                    ports_.mainWindow.processAll();
                }
                return;
            }
            if (!stack->Peek(0, 0).isText()) {
                ending();
                return;
            }
        }
    } catch (...) {
        // The stack's last level is 15: a deeper crawl ends here.
        ending();
    }
}

#pragma once

#include <string>

// An HTTP transfer that fetches one address at a time and is polled while it
// runs. The program's transfer goes over the network; tests script pages.
class Fetcher {
public:
    virtual ~Fetcher() = default;
    // Starts fetching `address`; a transfer still under way is dropped.
    virtual void open(const std::string& address) = 0;
    // True while the transfer runs. The network transfer lets the event loop
    // run for a moment before it answers, so a caller that polls this in a
    // loop neither spins nor blocks the window.
    virtual bool executing() = 0;
    // The response body as bytes, unchanged; empty when the transfer failed.
    virtual std::string text() const = 0;
};

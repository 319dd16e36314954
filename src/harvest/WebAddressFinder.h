#pragma once
// http:// and https:// addresses in text, their host checked like an e-mail
// domain and the address normalised so that one page has one key.
#include <string_view>
#include <vector>

#include "DomainCheck.h"
#include "Find.h"
#include "TriggerScan.h"

namespace harvest {

class WebAddressFinder {
public:
    explicit WebAddressFinder(DomainCheck& domains) : domains_(domains) {}

    // Appends the web addresses in text to out, in the order of the text.
    void find(std::string_view text, std::vector<Find>& out);
    // The same with the triggers of text already scanned.
    void find(std::string_view text, const Triggers& triggers, std::vector<Find>& out);

private:
    // The address whose "://" is at colon; scannedTo gets how far it read.
    void tryAt(std::string_view text, std::size_t colon, std::size_t& scannedTo,
               std::vector<Find>& out);

    DomainCheck& domains_;
};

}  // namespace harvest

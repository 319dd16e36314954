#pragma once
// E-mail addresses in text: written plainly, with "@" as an HTML entity or
// "%40", as mailto: links with several recipients, and in the spellings people
// use to hide them from harvesters ("ann [at] example [dot] org").
#include <string>
#include <string_view>
#include <vector>

#include "AddressParts.h"
#include "DomainCheck.h"
#include "Find.h"
#include "TriggerScan.h"

namespace harvest {

class AddressFinder {
public:
    explicit AddressFinder(DomainCheck& domains) : domains_(domains) {}

    // Appends the addresses in text to out, in the order of the text, with
    // a display name where one is written as `Name <address>`.
    void find(std::string_view text, std::vector<Find>& out);
    // The same with the triggers of text already scanned.
    void find(std::string_view text, const Triggers& triggers, std::vector<Find>& out);

    // The key of an address written whole ("Ann@Example.ORG" gives
    // "Ann@example.org"), or empty when it is not a valid address.
    std::string normalise(std::string_view address);

private:
    // An address whose "@" is written as text[atStart, atEnd): the local part
    // is read backwards from atStart, the domain forwards from atEnd.
    void tryAt(std::string_view text, std::size_t atStart, std::size_t atEnd, DotSpelling dots,
               std::vector<Find>& out);
    void extendSpelledLocal(std::string_view text, DotSpelling dots, std::string& local,
                            std::size_t& start);
    void findBracketed(std::string_view text, std::size_t open, std::vector<Find>& out);
    void findMailto(std::string_view text, std::size_t colon, std::size_t& scannedTo,
                    std::vector<Find>& out);
    // A recipient of a mailto: link, written as text[start, end).
    void addRecipient(std::string_view text, std::size_t start, std::size_t end,
                      std::vector<Find>& out);
    bool makeFind(std::string_view local, std::string_view domain, std::size_t start,
                  std::size_t end, int rank, std::vector<Find>& out);

    DomainCheck& domains_;
};

}  // namespace harvest

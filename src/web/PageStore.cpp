#include "PageStore.h"

#include <filesystem>

#include "EventPump.h"
#include "Fetcher.h"
#include "MainWindowSide.h"
#include "RunErrors.h"
#include "WebFiles.h"
#include "WebSettings.h"

namespace {

// The escape codes in the order the escaping applies them; the decoding
// applies its own order (see RestoreFilenameToAddress).
const std::pair<const char*, const char*> kEscapes[] = {
    {"W", "WW"}, {"/", "WS"}, {":", "WC"}, {"?", "WQ"}, {"%", "WP"}, {"$", "WD"}, {".", "WT"}};

}  // namespace

std::string PageStore::encode(const std::string& source, const std::string& find,
                              const std::string& replacement) {
    if (source.size() > 32767) {
        throw OverflowError();  // the length is held in 16 bits
    }
    if (find.empty()) {
        return source;
    }
    std::string result;
    size_t i = 0;
    while (i < source.size()) {
        if (source.compare(i, find.size(), find) == 0) {
            result += replacement;
            i += find.size();
        } else {
            result += source[i];
            ++i;
        }
    }
    return result;
}

std::string PageStore::EscapeAddress(const std::string& address) {
    std::string escaped = address;
    for (const auto& [character, code] : kEscapes) {
        escaped = encode(escaped, character, code);
    }
    if (escaped.size() > 255) {
        escaped.resize(200);
    }
    return escaped;
}

std::string PageStore::RestoreFilenameToAddress(const std::string& escaped) {
    static const std::pair<const char*, const char*> kOrder[] = {
        {"WD", "$"}, {"WP", "%"}, {"WQ", "?"}, {"WC", ":"}, {"WS", "/"}, {"WT", "."}, {"WW", "W"}};
    std::string address = escaped;
    for (const auto& [code, character] : kOrder) {
        address = encode(address, code, character);
    }
    return address;
}

std::string PageStore::GetDocument(const std::string& address) {
    try {
        ports_.fetcher.open(address);
        while (ports_.fetcher.executing()) {
            ports_.pump.yield();
        }
        return ports_.fetcher.text();
    } catch (...) {
        return {};
    }
}

void PageStore::StoreInternetPage(const std::string& pageData, const std::string& pageAddress) {
    // Each step that fails is skipped and the next one runs.
    try {
        escapedAddress = EscapeAddress(pageAddress);
    } catch (...) {
    }
    const std::string folder = ports_.settings.tmpPath();
    std::error_code ec;
    std::filesystem::create_directories(folder, ec);
    const std::string path = folder + std::to_string(pageCounter) + ".html";
    webfiles::WriteRecord(path, pageData);
    ports_.mainWindow.addChosenFile(path);
    if (onStored) {
        onStored(path);
    }
    if (pageCounter < 32767) {
        ++pageCounter;  // at 32,767 the increase overflows and is skipped
    }
}

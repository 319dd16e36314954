#pragma once

#include <cstdint>
#include <functional>
#include <string>

class EventPump;
class Fetcher;
class MainWindowSide;
class WebSettings;

// The web window's page store: fetches a page's text, keeps each fetched page
// as a numbered file under the temporary page folder and hands the file's
// path to the main window's chosen-file list.
class PageStore {
public:
    struct Ports {
        Fetcher& fetcher;
        WebSettings& settings;
        MainWindowSide& mainWindow;
        EventPump& pump;
    };
    explicit PageStore(Ports ports) : ports_(ports) {}

    // `source` with every occurrence of `find` replaced, scanning left to
    // right without rescanning replacements. A source longer than 32,767
    // characters raises OverflowError. An empty `find` changes nothing.
    static std::string encode(const std::string& source, const std::string& find,
                              const std::string& replacement);
    // The file-name-safe form of an address: "W" doubled, then "/", ":", "?",
    // "%", "$", "." replaced by "WS", "WC", "WQ", "WP", "WD", "WT"; a result
    // longer than 255 characters is cut to 200.
    static std::string EscapeAddress(const std::string& address);
    // Undoes the escape codes in the order "WD", "WP", "WQ", "WC", "WS", "WT",
    // "WW", which is not an exact inverse when a "W" precedes one of those
    // letters in the address ("WS" escapes to "WWS", which decodes to "W/").
    static std::string RestoreFilenameToAddress(const std::string& escaped);

    // The page's bytes, or "" when the fetch fails.
    std::string GetDocument(const std::string& address);
    // Writes the page to TmpPath + pageCounter + ".html" as one record (bytes,
    // then CR LF), adds that path to List2 and counts the page. Every failing
    // step is skipped: a page that cannot be written still joins List2.
    void StoreInternetPage(const std::string& pageData, const std::string& pageAddress);

    // Names the stored files; 16-bit, so it stays at 32,767.
    int16_t pageCounter = 0;
    // The last page address in its escaped form; kept, though file names are
    // built from the counter alone.
    std::string escapedAddress;
    // Told the path of every page handed to List2.
    std::function<void(const std::string& path)> onStored;

private:
    Ports ports_;
};

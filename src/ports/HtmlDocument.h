#pragma once

#include <memory>
#include <string>
#include <vector>

// A page's document model: it loads the page itself (a request of its own),
// reports when loading is complete, and lists the page's links.
class HtmlDocument {
public:
    virtual ~HtmlDocument() = default;
    // Starts loading the page at `address`.
    virtual void createDocumentFromUrl(const std::string& address) = 0;
    // True once the document is complete; a page that could not be loaded
    // becomes a complete, empty document. Polled in a loop like
    // Fetcher::executing().
    virtual bool complete() = 0;
    // The targets of the page's links (`a` and `area` elements with an href),
    // in document order, made absolute against the page's address and its
    // `<base href>`.
    virtual std::vector<std::string> links() const = 0;
};

// Makes new, empty documents.
class HtmlDocumentSource {
public:
    virtual ~HtmlDocumentSource() = default;
    virtual std::unique_ptr<HtmlDocument> create() = 0;
};

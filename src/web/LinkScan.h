#pragma once

#include <QUrl>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

// What the link scan of one page may hold. A parse tree takes several times
// the text it comes from, so a page longer than one and a half windows is
// parsed a window at a time. A window ends, where it can, at a start tag
// around which the parser reading the whole page would hold nothing but
// containers, formatting and table cells open, and no link open or waiting
// to be copied into what follows; the next window is parsed behind start
// tags that open those elements again, so the links and their order are
// those of the whole page. Markup that leaves no such place in a window is
// cut where it does least harm.
struct LinkScanLimits {
    size_t windowBytes = 2 * 1024 * 1024;
    // The most one window's parse tree may take. A window whose tree would
    // pass it is parsed again, and the rest of the page, in smaller windows;
    // markup that makes the parser copy elements over and over passes it even
    // in the smallest, and the page keeps the links found before.
    size_t treeBytes = 64 * 1024 * 1024;
    // The most the list of links may take, about; a page with more links
    // keeps the first ones (the crawl follows the first 1,001 at most).
    size_t linkBytes = 32 * 1024 * 1024;
};

// The links of an HTML text: the href of every `a` and `area` element in
// document order, resolved against the first `<base href>` (itself resolved
// against `pageUrl`) or else `pageUrl`.
std::vector<std::string> ExtractLinks(std::string_view html, const QUrl& pageUrl,
                                      const LinkScanLimits& limits = {});

// What the scan of a page found: the first `<base href>` and the hrefs of
// the `a` and `area` elements in document order, kept end to end in one
// string, since a big page has hundreds of thousands of them.
struct LinkScan {
    std::optional<std::string> base;
    std::string hrefs;
    std::vector<size_t> ends;  // where each href ends in `hrefs`
    size_t weight = 0;         // what the links will take once resolved, about
};

// The links of `html`, not yet resolved. Peak memory is about one window's
// parse tree (`limits.treeBytes`) beside the page and the links.
LinkScan ScanLinks(std::string_view html, const QUrl& pageUrl, const LinkScanLimits& limits);
// The scan's links made absolute against its `<base href>` (itself resolved
// against `pageUrl`) or else `pageUrl`.
std::vector<std::string> ResolveLinks(const LinkScan& scan, const QUrl& pageUrl);

#pragma once
// The links of a fetched page, for a polite site crawler: where the page
// links to, and whether its robots meta tags let the crawler follow those
// links and harvest its text.
#include <QUrl>
#include <cstddef>
#include <string_view>
#include <vector>

namespace harvest {

struct PageLinks {
    std::vector<QUrl>
        links;              // resolved and normalised, crawlable only, each once, in document order
    bool nofollow = false;  // <meta name="robots" content="nofollow"> (or "none")
    bool noindex = false;   // likewise "noindex": the page's text is not to be harvested
    QUrl base;              // what the links were resolved against
};

// The links of a page as received, in whatever charset it came (bytes that
// are not UTF-8 become U+FFFD, then percent escapes in the links):
// - <a href> and <area href>, unless their rel has the token "nofollow";
// - <link href> when its rel has the token "alternate" (but not the
//   alternative style sheets of rel="alternate stylesheet"), unless it has
//   "nofollow";
// - <frame src>, <iframe src>, and the URL of
//   <meta http-equiv="refresh" content="5; url=/next">.
// Links are resolved against the first <base href> (itself resolved against
// the page URL; the page URL when there is none or it is not http or https),
// normalised without fragment, and kept when crawlable, the first of each and
// at most maxLinks. Robots meta tags are those named "robots" or "gleanmark"
// (this program's own); their tokens are separated by commas or blanks, in
// any case. The links are listed whatever the robots tags say: following
// them is the crawler's decision.
//
// The page is read once by a streaming tokenizer, without a tree: time and
// memory grow with the page and the number of its links.
PageLinks pageLinks(std::string_view html, const QUrl& pageUrl, std::size_t maxLinks = 10000);

}  // namespace harvest

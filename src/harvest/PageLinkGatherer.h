#pragma once
// The rules that pick a page's links out of its start tags: which elements and
// attributes link, which rel values say not to follow, the first <base href>,
// meta refresh and the robots meta tags. Any HTML reader that hands on start
// tags in document order can feed it.
#include <cstddef>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "HtmlTokenizer.h"
#include "PageLinks.h"

namespace harvest {

class PageLinkGatherer {
public:
    // A start tag: its name in lower case and its attributes, lower-case
    // names and decoded values; of attributes with the same name the first
    // counts.
    void startTag(std::string_view name, std::span<const HtmlAttribute> attributes);

    // The links gathered so far, resolved against the first <base href> (or
    // the page URL when there is none or it is not an http or https URL),
    // the first maxLinks different ones.
    PageLinks finish(const QUrl& pageUrl, std::size_t maxLinks) const;

private:
    std::string hrefs_;              // the hrefs as found, one after another
    std::vector<std::size_t> ends_;  // where each ends in hrefs_
    std::string base_;               // the first <base href>
    bool hasBase_ = false;
    bool nofollow_ = false;
    bool noindex_ = false;

    void addHref(std::string_view href);
    void robotsMeta(std::string_view content);
};

}  // namespace harvest

#pragma once

#include <QUrl>
#include <memory>
#include <string>
#include <vector>

#include "HtmlDocument.h"
#include "QtFetcher.h"

// The links of an HTML text: the href of every `a` and `area` element in
// document order, resolved against the first `<base href>` (itself resolved
// against `pageUrl`) or else `pageUrl`.
std::vector<std::string> ExtractLinks(const std::string& html, const QUrl& pageUrl);

// Documents that load their page over the network and parse it with gumbo.
class GumboDocumentSource : public HtmlDocumentSource {
public:
    explicit GumboDocumentSource(FetchLimits limits = {});
    ~GumboDocumentSource() override;
    std::unique_ptr<HtmlDocument> create() override;

    FetchLimits limits;

private:
    std::unique_ptr<QNetworkAccessManager> manager_;
};

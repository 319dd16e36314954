#pragma once

#include <QUrl>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "HtmlDocument.h"
#include "LinkScan.h"
#include "QtFetcher.h"

// Documents that load their page over the network and parse it with gumbo.
class GumboDocumentSource : public HtmlDocumentSource {
public:
    explicit GumboDocumentSource(FetchLimits limits = {});
    ~GumboDocumentSource() override;
    std::unique_ptr<HtmlDocument> create() override;

    FetchLimits limits;
    // Told how each document's transfer ended.
    std::function<void(const TransferOutcome&)> onTransferEnd;

private:
    std::unique_ptr<QNetworkAccessManager> manager_;
};

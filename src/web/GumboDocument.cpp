#include "GumboDocument.h"

#include <QNetworkAccessManager>

namespace {

constexpr int kPollMs = 20;

// A document that loads its page with a transfer of its own.
class GumboPage : public HtmlDocument {
public:
    GumboPage(QNetworkAccessManager& manager, const FetchLimits& limits,
              const std::function<void(const TransferOutcome&)>& onEnd)
        : transfer_(manager, limits) {
        transfer_.onEnd = onEnd;
    }

    void createDocumentFromUrl(const std::string& address) override {
        links_.clear();
        parsed_ = false;
        transfer_.start(address);
    }
    bool complete() override {
        transfer_.wait(kPollMs);
        if (transfer_.running()) {
            return false;
        }
        if (!parsed_) {
            parsed_ = true;
            LinkScan scan;
            {
                // The body goes as soon as its links are out, before they
                // are resolved.
                const std::string body = transfer_.takeBody();
                scan = ScanLinks(body, transfer_.finalUrl(), limits_);
            }
            links_ = ResolveLinks(scan, transfer_.finalUrl());
        }
        return true;
    }
    std::vector<std::string> links() const override { return links_; }

private:
    HttpTransfer transfer_;
    LinkScanLimits limits_;
    std::vector<std::string> links_;
    bool parsed_ = false;
};

}  // namespace

GumboDocumentSource::GumboDocumentSource(FetchLimits limits) : limits(limits) {}

GumboDocumentSource::~GumboDocumentSource() = default;

std::unique_ptr<HtmlDocument> GumboDocumentSource::create() {
    if (!manager_) {
        manager_ = std::make_unique<QNetworkAccessManager>();
    }
    return std::make_unique<GumboPage>(*manager_, limits, onTransferEnd);
}

#include "GumboDocument.h"

#include <gumbo.h>

#include <QNetworkAccessManager>
#include <vector>

namespace {

constexpr int kPollMs = 20;

const char* Href(const GumboElement& element) {
    const GumboAttribute* href = gumbo_get_attribute(&element.attributes, "href");
    return href ? href->value : nullptr;
}

// Walks the tree in document order: the first `<base href>`, and the href of
// every `a` and `area` element.
void Walk(const GumboNode* node, const char*& base, std::vector<const char*>& hrefs) {
    if (node->type != GUMBO_NODE_ELEMENT && node->type != GUMBO_NODE_TEMPLATE) {
        return;
    }
    const GumboElement& element = node->v.element;
    if (const char* href = Href(element)) {
        if (element.tag == GUMBO_TAG_A || element.tag == GUMBO_TAG_AREA) {
            hrefs.push_back(href);
        } else if (element.tag == GUMBO_TAG_BASE && !base) {
            base = href;
        }
    }
    for (unsigned i = 0; i < element.children.length; ++i) {
        Walk(static_cast<const GumboNode*>(element.children.data[i]), base, hrefs);
    }
}

QUrl Url(const char* text) {
    return QUrl(QString::fromUtf8(text).trimmed());
}

// A document that loads its page with a transfer of its own.
class GumboPage : public HtmlDocument {
public:
    GumboPage(QNetworkAccessManager& manager, const FetchLimits& limits)
        : transfer_(manager, limits) {}

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
            const QByteArray body = transfer_.body();
            links_ = ExtractLinks(std::string(body.constData(), static_cast<size_t>(body.size())),
                                  transfer_.finalUrl());
        }
        return true;
    }
    std::vector<std::string> links() const override { return links_; }

private:
    HttpTransfer transfer_;
    std::vector<std::string> links_;
    bool parsed_ = false;
};

}  // namespace

std::vector<std::string> ExtractLinks(const std::string& html, const QUrl& pageUrl) {
    std::vector<std::string> links;
    if (html.empty()) {
        return links;
    }
    GumboOutput* output = gumbo_parse_with_options(&kGumboDefaultOptions, html.data(), html.size());
    const char* base = nullptr;
    std::vector<const char*> hrefs;
    Walk(output->root, base, hrefs);
    const QUrl baseUrl = base ? pageUrl.resolved(Url(base)) : pageUrl;
    links.reserve(hrefs.size());
    for (const char* href : hrefs) {
        links.push_back(baseUrl.resolved(Url(href)).toString(QUrl::FullyEncoded).toStdString());
    }
    gumbo_destroy_output(&kGumboDefaultOptions, output);
    return links;
}

GumboDocumentSource::GumboDocumentSource(FetchLimits limits) : limits(limits) {}

GumboDocumentSource::~GumboDocumentSource() = default;

std::unique_ptr<HtmlDocument> GumboDocumentSource::create() {
    if (!manager_) {
        manager_ = std::make_unique<QNetworkAccessManager>();
    }
    return std::make_unique<GumboPage>(*manager_, limits);
}

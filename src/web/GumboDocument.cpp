#include "GumboDocument.h"

#include <QNetworkAccessManager>

std::vector<std::string> ExtractLinks(const std::string&, const QUrl&) {
    return {};
}
GumboDocumentSource::GumboDocumentSource(FetchLimits limits) : limits(limits) {}
GumboDocumentSource::~GumboDocumentSource() = default;
std::unique_ptr<HtmlDocument> GumboDocumentSource::create() {
    return nullptr;
}

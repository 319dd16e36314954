#include "PageStore.h"

std::string PageStore::encode(const std::string& s, const std::string&, const std::string&) {
    return s;
}
std::string PageStore::EscapeAddress(const std::string& a) {
    return a;
}
std::string PageStore::RestoreFilenameToAddress(const std::string& e) {
    return e;
}
std::string PageStore::GetDocument(const std::string&) {
    return {};
}
void PageStore::StoreInternetPage(const std::string&, const std::string&) {
    (void)ports_;
}

#include "HtmlStrip.h"

Variant HtmlStrip::aGet(int) const {
    return {};
}
void HtmlStrip::aPut(int, const Variant&) {}
void HtmlStrip::SetClassToFindEmails() {}
void HtmlStrip::SetClassToFindAllBlocks() {}
void HtmlStrip::SetClassToFindLinks() {}
void HtmlStrip::SetClassToFindScr() {}
void HtmlStrip::StripDocument(const std::string&, bool) {
    (void)pump_;
}

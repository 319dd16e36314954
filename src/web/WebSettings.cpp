#include "WebSettings.h"

std::string WebSettings::text(const std::string&) const {
    return {};
}
void WebSettings::write(const std::string&, const std::string&) {
    (void)store_;
}
int16_t WebSettings::depth() const {
    return 1;
}
bool WebSettings::online() const {
    return true;
}
bool WebSettings::enableFilter() const {
    return false;
}
bool WebSettings::once() const {
    return false;
}
std::string WebSettings::filterFile() const {
    return {};
}
std::string WebSettings::shortcutFile() const {
    return {};
}
std::string WebSettings::FirstTimeValue(const std::string&) {
    return {};
}
std::string WebSettings::SystemTmpPath() {
    return {};
}
bool WebSettings::ToBool(const std::string&, bool fallback) {
    return fallback;
}

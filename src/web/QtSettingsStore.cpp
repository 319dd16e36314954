#include "QtSettingsStore.h"

std::optional<std::string> QtSettingsStore::value(const std::string&, const std::string&,
                                                  const std::string&) const {
    return std::nullopt;
}
void QtSettingsStore::setValue(const std::string&, const std::string&, const std::string&,
                               const std::string&) {}

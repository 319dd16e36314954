#pragma once

#include <string>

#include "SettingsStore.h"

// Settings kept by QSettings in INI files, one per application, each section
// a group. The default store lives in the user's configuration folder
// ("<application>.ini"); a store made with a folder keeps its files there.
class QtSettingsStore : public SettingsStore {
public:
    QtSettingsStore() = default;
    explicit QtSettingsStore(std::string folder) : folder_(std::move(folder)) {}

    std::optional<std::string> value(const std::string& application, const std::string& section,
                                     const std::string& key) const override;
    void setValue(const std::string& application, const std::string& section,
                  const std::string& key, const std::string& value) override;

private:
    std::string folder_;
};

#pragma once

#include <optional>
#include <string>

// Per-user settings: text values under application, section and key.
class SettingsStore {
public:
    virtual ~SettingsStore() = default;
    // The stored text, or nothing when the key was never written.
    virtual std::optional<std::string> value(const std::string& application,
                                             const std::string& section,
                                             const std::string& key) const = 0;
    virtual void setValue(const std::string& application, const std::string& section,
                          const std::string& key, const std::string& value) = 0;
};

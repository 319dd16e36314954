#pragma once

#include <cstdint>
#include <string>

class SettingsStore;

// The web window's settings: text values under application "Gleanmark",
// section "Setting", booleans as "True"/"False". A key that was never written
// reads as the settings dialog's first-time value: Depth "1", Online "True",
// EnableFilter "False", the three folders the current directory, Once
// "False"; TmpPath reads empty (pages then go to the current directory).
class WebSettings {
public:
    static constexpr const char* kApplication = "Gleanmark";
    static constexpr const char* kSection = "Setting";

    explicit WebSettings(SettingsStore& store) : store_(store) {}

    std::string text(const std::string& key) const;
    void write(const std::string& key, const std::string& value);

    // Depth as a 16-bit number; text that is none reads as 1.
    int16_t depth() const;
    bool online() const;
    bool enableFilter() const;
    bool once() const;
    std::string saveDir() const { return text("SaveDir"); }
    std::string filterDir() const { return text("FilterDir"); }
    std::string shortcutDir() const { return text("ShortcutDir"); }
    // Ends with a separator when set.
    std::string tmpPath() const { return text("TmpPath"); }

    // FilterDir + the doubled separator + "filter" (on Linux "dir//filter").
    std::string filterFile() const;
    // ShortcutDir + the doubled separator + "shortcut".
    std::string shortcutFile() const;

    static std::string FirstTimeValue(const std::string& key);
    // The system's temporary folder + "Gleanmark", each followed by a separator.
    static std::string SystemTmpPath();
    static std::string BoolText(bool value) { return value ? "True" : "False"; }
    // "True"/"False" in any case, or a number (not 0 is true); else `fallback`.
    static bool ToBool(const std::string& text, bool fallback);

private:
    SettingsStore& store_;
};

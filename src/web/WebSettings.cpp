#include "WebSettings.h"

#include <QDir>
#include <charconv>

#include "SettingsStore.h"

namespace {

std::string Native(const QString& path) {
    return QDir::toNativeSeparators(path).toStdString();
}

std::string Separator() {
    return std::string(1, QDir::separator().toLatin1());
}

}  // namespace

std::string WebSettings::FirstTimeValue(const std::string& key) {
    if (key == "Depth") {
        return "1";
    }
    if (key == "Online") {
        return "True";
    }
    if (key == "EnableFilter" || key == "Once") {
        return "False";
    }
    if (key == "SaveDir" || key == "FilterDir" || key == "ShortcutDir") {
        return Native(QDir::currentPath());
    }
    return {};
}

std::string WebSettings::SystemTmpPath() {
    return Native(QDir::tempPath()) + Separator() + "Gleanmark" + Separator();
}

bool WebSettings::ToBool(const std::string& text, bool fallback) {
    const QString t = QString::fromStdString(text).trimmed();
    if (t.compare("True", Qt::CaseInsensitive) == 0) {
        return true;
    }
    if (t.compare("False", Qt::CaseInsensitive) == 0) {
        return false;
    }
    bool ok = false;
    const double number = t.toDouble(&ok);
    return ok ? number != 0 : fallback;
}

std::string WebSettings::text(const std::string& key) const {
    return store_.value(kApplication, kSection, key).value_or(FirstTimeValue(key));
}

void WebSettings::write(const std::string& key, const std::string& value) {
    store_.setValue(kApplication, kSection, key, value);
}

int16_t WebSettings::depth() const {
    const std::string t = QString::fromStdString(text("Depth")).trimmed().toStdString();
    int16_t value = 0;
    const auto [end, ec] = std::from_chars(t.data(), t.data() + t.size(), value);
    if (ec != std::errc() || end != t.data() + t.size()) {
        return 1;
    }
    return value;
}

bool WebSettings::online() const {
    return ToBool(text("Online"), true);
}

bool WebSettings::enableFilter() const {
    return ToBool(text("EnableFilter"), false);
}

bool WebSettings::once() const {
    return ToBool(text("Once"), false);
}

std::string WebSettings::filterFile() const {
    return filterDir() + Separator() + Separator() + "filter";
}

std::string WebSettings::shortcutFile() const {
    return shortcutDir() + Separator() + Separator() + "shortcut";
}

#include "QtSettingsStore.h"

#include <QDir>
#include <QSettings>
#include <memory>

namespace {

std::unique_ptr<QSettings> Open(const std::string& folder, const std::string& application) {
    const QString app = QString::fromStdString(application);
    if (folder.empty()) {
        return std::make_unique<QSettings>(QSettings::IniFormat, QSettings::UserScope, app);
    }
    return std::make_unique<QSettings>(QDir(QString::fromStdString(folder)).filePath(app + ".ini"),
                                       QSettings::IniFormat);
}

QString Key(const std::string& section, const std::string& key) {
    return QString::fromStdString(section + "/" + key);
}

}  // namespace

std::optional<std::string> QtSettingsStore::value(const std::string& application,
                                                  const std::string& section,
                                                  const std::string& key) const {
    const auto settings = Open(folder_, application);
    const QVariant v = settings->value(Key(section, key));
    if (!v.isValid()) {
        return std::nullopt;
    }
    return v.toString().toStdString();
}

void QtSettingsStore::setValue(const std::string& application, const std::string& section,
                               const std::string& key, const std::string& value) {
    auto settings = Open(folder_, application);
    settings->setValue(Key(section, key), QString::fromStdString(value));
    settings->sync();
}

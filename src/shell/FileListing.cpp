#include "FileListing.h"

#include <QStorageInfo>
#include <algorithm>
#include <filesystem>

namespace fs = std::filesystem;

namespace {

char fold(char c) {
    return (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : c;
}

bool wildcard(const char* n, const char* p) {
    // Iterative matcher with one back-tracking point for the last "*".
    const char* star = nullptr;
    const char* retry = nullptr;
    while (*n) {
        if (*p == '*') {
            star = p++;
            retry = n;
        } else if (*p == '?' || (*p && fold(*p) == fold(*n))) {
            ++p;
            ++n;
        } else if (star) {
            p = star + 1;
            n = ++retry;
        } else {
            return false;
        }
    }
    while (*p == '*') {
        ++p;
    }
    return *p == '\0';
}

}  // namespace

std::vector<std::string> DriveList() {
    std::vector<std::string> drives;
    for (const QStorageInfo& v : QStorageInfo::mountedVolumes()) {
        if (v.isValid() && v.isReady()) {
            drives.push_back(v.rootPath().toStdString());
        }
    }
    std::sort(drives.begin(), drives.end());
    drives.erase(std::unique(drives.begin(), drives.end()), drives.end());
    return drives;
}

std::string DriveOf(const std::string& path) {
    return QStorageInfo(QString::fromStdString(path)).rootPath().toStdString();
}

bool MatchesPattern(const std::string& name, const std::string& pattern) {
    if (pattern == "*.*") {
        return true;
    }
    if (pattern.size() >= 2 && pattern.compare(pattern.size() - 2, 2, "*.") == 0 &&
        name.find('.') == std::string::npos) {
        return true;
    }
    return wildcard(name.c_str(), pattern.c_str());
}

std::vector<std::string> ListFiles(const std::string& folder, const std::string& pattern) {
    std::vector<std::string> names;
    std::error_code ec;
    for (fs::directory_iterator it(folder, ec), end; !ec && it != end; it.increment(ec)) {
        const std::string name = it->path().filename().string();
        std::error_code typeError;
        if (name.empty() || name[0] == '.' || !it->is_regular_file(typeError)) {
            continue;
        }
        if (MatchesPattern(name, pattern)) {
            names.push_back(name);
        }
    }
    std::sort(names.begin(), names.end());
    return names;
}

std::vector<std::string> ListSubFolders(const std::string& folder) {
    std::vector<std::string> names;
    std::error_code ec;
    for (fs::directory_iterator it(folder, ec), end; !ec && it != end; it.increment(ec)) {
        const std::string name = it->path().filename().string();
        std::error_code typeError;
        if (name.empty() || name[0] == '.' || it->is_symlink(typeError) ||
            !it->is_directory(typeError)) {
            continue;
        }
        names.push_back(name);
    }
    std::sort(names.begin(), names.end());
    std::vector<std::string> paths;
    for (const auto& n : names) {
        paths.push_back(JoinPath(folder, n));
    }
    return paths;
}

std::string JoinPath(const std::string& folder, const std::string& name) {
    return folder + "/" + name;
}

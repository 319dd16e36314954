#pragma once

#include <optional>
#include <string>

// The platform's folder browser.
class FolderBrowser {
public:
    virtual ~FolderBrowser() = default;
    // The chosen folder, or nothing when the user cancels.
    virtual std::optional<std::string> browseFolder(const std::string& title,
                                                    const std::string& startFolder) = 0;
};

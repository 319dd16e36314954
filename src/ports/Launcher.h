#pragma once

#include <string>

// Opens documents with the desktop's default viewer, without waiting for
// them, and knows where the program's user guide is.
class Launcher {
public:
    virtual ~Launcher() = default;
    // False when the desktop could not start a viewer for the document.
    virtual bool openDocument(const std::string& path) = 0;
    // The first page of the user guide, or empty when no guide is found.
    virtual std::string userGuide() const = 0;
};

#pragma once

#include <string>

// Starts an external program or opens a document with the desktop's default
// viewer, without waiting for it.
class Launcher {
public:
    virtual ~Launcher() = default;
    virtual void openDocument(const std::string& path) = 0;
};

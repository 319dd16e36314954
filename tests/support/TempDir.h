#pragma once

#include <string>

// A fresh folder under the system's temporary folder, removed with its
// contents when the object goes.
class TempDir {
public:
    TempDir();
    ~TempDir();
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;

    const std::string& path() const { return path_; }
    // Path of a file inside the folder.
    std::string file(const std::string& name) const;
    // Writes `bytes` to a file inside the folder (creating sub-folders) and
    // returns its path.
    std::string write(const std::string& name, const std::string& bytes) const;

private:
    std::string path_;
};

// The whole content of a file as bytes ("" when it cannot be read).
std::string ReadBytes(const std::string& path);

#pragma once
// A file written under a temporary name in its target's folder and renamed
// over the target only once complete, so that the target is whole or left
// as it was. For writers that need a file name (SQLite, XLSX).
#include <QTemporaryFile>
#include <string>

namespace harvest {

class StagedFile {
public:
    explicit StagedFile(std::string target);
    StagedFile(const StagedFile&) = delete;
    StagedFile& operator=(const StagedFile&) = delete;

    // Creates the empty temporary file. On failure false, with error set.
    bool create(std::string& error);
    // The temporary file's name, to write to (once create() succeeded).
    std::string stagingPath() const;
    // Puts the written file in the target's place. On failure false, with
    // error set; the temporary file is removed either way.
    bool commit(std::string& error);

private:
    std::string target_;
    QTemporaryFile file_;
};

// "cannot write <path>: <reason>".
std::string cannotWrite(const std::string& path, const std::string& reason);
// Whether `target` could be a file: its folder exists and it is not itself a
// folder. When not, false with error set.
bool canBeFile(const std::string& target, std::string& error);

}  // namespace harvest

#pragma once
// Turning what the user named (files, folders, a list of paths) into the files
// to harvest, in a fixed order: the paths in the order given, each folder's
// entries sorted by name, sub-folders walked where they sort.
#include <atomic>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "HarvestTypes.h"

namespace harvest {

struct SourceFile {
    std::string path;  // as the file system names it, bytes unchanged
    std::int64_t bytes = 0;
};

// Expands paths into files. Hidden files are included; symbolic links are
// followed, a link back into a folder being walked (a loop) or to a folder
// already walked is skipped with a problem, as are devices, named pipes and
// sockets, and paths that do not exist or cannot be read.
void walkSources(const std::vector<std::string>& paths, std::vector<SourceFile>& files,
                 std::vector<Problem>& problems, const std::atomic<bool>* cancel = nullptr);

// The same, one file or problem at a time as the walk finds them, so that a
// folder of millions of files is never listed in memory.
struct WalkSink {
    std::function<void(SourceFile)> file;
    std::function<void(Problem)> problem;
};
void walkSources(const std::vector<std::string>& paths, const WalkSink& sink,
                 const std::atomic<bool>* cancel = nullptr);

// Reads a list of paths, one a line (or NUL-separated), from a file or, for
// "-", from standard input. Empty entries are skipped. Returns an error text.
std::optional<std::string> readPathList(const std::string& listPath, bool nulSeparated,
                                        std::vector<std::string>& paths);

// Reads a whole file. Returns an error text (the system's reason).
std::optional<std::string> readWholeFile(const std::string& path, std::string& bytes);

}  // namespace harvest

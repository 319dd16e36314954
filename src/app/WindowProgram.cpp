#include "WindowProgram.h"

#include <limits.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <iostream>
#include <string>
#include <utility>
#include <vector>

namespace {

// The folder of the running program's file, links resolved; empty if the
// kernel does not say.
std::string ProgramFolder() {
    char path[PATH_MAX];
    const ssize_t n = readlink("/proc/self/exe", path, sizeof path - 1);
    if (n <= 0) {
        return {};
    }
    const std::string file(path, static_cast<size_t>(n));
    const size_t slash = file.rfind('/');
    return slash == std::string::npos ? std::string() : file.substr(0, slash);
}

}  // namespace

int StartWindowProgram(char* argv[]) {
    const std::string folder = ProgramFolder();
    if (folder.empty()) {
        std::cerr << "gleanmark: cannot open the window: the program's own folder is unknown "
                     "(/proc/self/exe cannot be read)\n";
        return 1;
    }
    const std::filesystem::path here(folder);
    const std::string candidates[] = {
        (here / GLEANMARK_WINDOW_PROGRAM).string(),
        (here / GLEANMARK_WINDOW_FROM_BINDIR / GLEANMARK_WINDOW_PROGRAM)
            .lexically_normal()
            .string(),
    };
    std::vector<std::pair<std::string, int>> failed;
    for (const std::string& path : candidates) {
        execv(path.c_str(), argv);
        failed.emplace_back(path, errno);
    }
    std::cerr << "gleanmark: cannot open the window: the window program " GLEANMARK_WINDOW_PROGRAM
                 " could not be started. Tried:\n";
    for (const auto& [path, error] : failed) {
        std::cerr << "  " << path << ": " << std::strerror(error) << "\n";
    }
    return 1;
}

#include "TempDir.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>

namespace fs = std::filesystem;

TempDir::TempDir() {
    std::random_device rd;
    for (;;) {
        fs::path p = fs::temp_directory_path() / ("gleanmark-test-" + std::to_string(rd()));
        if (fs::create_directory(p)) {
            path_ = p.string();
            return;
        }
    }
}

TempDir::~TempDir() {
    std::error_code ec;
    fs::permissions(path_, fs::perms::owner_all, fs::perm_options::add, ec);
    fs::remove_all(path_, ec);
}

std::string TempDir::file(const std::string& name) const {
    return (fs::path(path_) / name).string();
}

std::string TempDir::write(const std::string& name, const std::string& bytes) const {
    fs::path p = fs::path(path_) / name;
    fs::create_directories(p.parent_path());
    std::ofstream out(p, std::ios::binary);
    out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    return p.string();
}

std::string ReadBytes(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

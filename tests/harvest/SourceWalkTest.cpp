// Walking what the user named: order, hidden files, links, special files and
// names that are not text.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <fstream>

#include "SourceWalk.h"
#include "TempDir.h"

namespace harvest {
namespace {

std::vector<std::string> relative(const std::vector<SourceFile>& files, const TempDir& dir) {
    std::vector<std::string> names;
    for (const SourceFile& f : files) {
        names.push_back(f.path.substr(dir.path().size() + 1));
    }
    return names;
}

std::string reasonFor(const std::vector<Problem>& problems, const std::string& path) {
    for (const Problem& p : problems) {
        if (p.source == path) {
            return p.reason;
        }
    }
    return "(no problem)";
}

TEST(WalkSources, FoldersSortedByNameHiddenFilesIncludedGivenPathsInOrder) {
    TempDir dir;
    dir.write("b/2.txt", "x");
    dir.write("b/1.txt", "x");
    dir.write("a/.hidden", "x");
    dir.write("a/z.txt", "x");
    dir.write("c.txt", "x");
    std::vector<SourceFile> files;
    std::vector<Problem> problems;
    walkSources({dir.file("c.txt"), dir.file("b"), dir.file("a")}, files, problems);
    EXPECT_EQ(relative(files, dir),
              (std::vector<std::string>{"c.txt", "b/1.txt", "b/2.txt", "a/.hidden", "a/z.txt"}));
    EXPECT_TRUE(problems.empty());
}

TEST(WalkSources, SkipsLoopsPipesDevicesAndBrokenLinksWithAReasonEach) {
    TempDir dir;
    dir.write("top/keep.txt", "x");
    std::filesystem::create_directory_symlink(dir.file("top"), dir.file("top/loop"));
    std::filesystem::create_symlink(dir.file("nowhere"), dir.file("top/broken"));
    std::filesystem::create_symlink("/dev/null", dir.file("top/device"));
    ASSERT_EQ(::mkfifo(dir.file("top/pipe").c_str(), 0600), 0);
    std::vector<SourceFile> files;
    std::vector<Problem> problems;
    walkSources({dir.file("top"), dir.file("missing.txt")}, files, problems);
    EXPECT_EQ(relative(files, dir), (std::vector<std::string>{"top/keep.txt"}));
    struct Expected {
        const char* path;
        const char* says;
    };
    for (Expected e : {Expected{"top/loop", "loop"}, Expected{"top/broken", "broken"},
                       Expected{"top/device", "a device"}, Expected{"top/pipe", "named pipe"},
                       Expected{"missing.txt", "No such file"}}) {
        EXPECT_NE(reasonFor(problems, dir.file(e.path)).find(e.says), std::string::npos)
            << e.path << ": " << reasonFor(problems, dir.file(e.path));
    }
}

TEST(WalkSources, KeepsFileNamesWithTabsNewlinesAndInvalidUtf8ByteForByte) {
    TempDir dir;
    const std::vector<std::string> names = {"tab\there.txt", "new\nline.txt", "latin\xE9\xFF.txt"};
    for (const std::string& n : names) {
        dir.write(n, "ann@x.org");
    }
    std::vector<SourceFile> files;
    std::vector<Problem> problems;
    walkSources({dir.path()}, files, problems);
    ASSERT_EQ(files.size(), 3u);
    for (const SourceFile& f : files) {
        std::string bytes;
        EXPECT_FALSE(readWholeFile(f.path, bytes).has_value()) << f.path;
        EXPECT_EQ(bytes, "ann@x.org");
    }
}

TEST(ReadPathList, SplitsByLineOrByNul) {
    TempDir dir;
    struct Case {
        std::string list;
        bool nul;
        std::vector<std::string> paths;
    };
    for (const Case& c : {Case{"a.txt\r\nb c.txt\n\nd.txt", false, {"a.txt", "b c.txt", "d.txt"}},
                          Case{std::string("a\nb\0c\0", 6), true, {"a\nb", "c"}}}) {
        std::vector<std::string> paths;
        EXPECT_FALSE(readPathList(dir.write("list", c.list), c.nul, paths).has_value());
        EXPECT_EQ(paths, c.paths);
    }
    std::vector<std::string> none;
    EXPECT_TRUE(readPathList(dir.file("no-list"), false, none).has_value());
}

}  // namespace
}  // namespace harvest

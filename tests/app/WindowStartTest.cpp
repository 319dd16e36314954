// `gleanmark` is the command line alone: it loads no window libraries, and
// without arguments it hands over to the window program, found beside it or
// in the installed folder relative to it.
#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include "ProcessRun.h"
#include "TempDir.h"

namespace {

TEST(CommandLineProgram, LoadsNoWindowLibraries) {
    const ProcessResult r = RunProcess("ldd", {GLEANMARK_BIN});
    ASSERT_EQ(r.status, 0) << r.err;
    ASSERT_NE(r.out.find("libQt6Core"), std::string::npos) << r.out;
    for (const char* library : {"libQt6Widgets", "libQt6Gui", "libQt6WebEngineCore"}) {
        EXPECT_EQ(r.out.find(library), std::string::npos) << library << " in\n" << r.out;
    }
}

struct LayoutCase {
    const char* name;
    int beside;           // window program beside the program: 0 none, 1 file, 2 executable
    int installed;        // the same in the installed window folder
    const char* started;  // "beside", "installed", or null when none can start
};

class WindowStart : public ::testing::TestWithParam<LayoutCase> {
protected:
    // A window program that says which one it is and what it was given.
    void placeWindow(const QString& path, int kind) {
        if (kind == 0) {
            return;
        }
        QDir().mkpath(QFileInfo(path).path());
        QFile f(path);
        ASSERT_TRUE(f.open(QIODevice::WriteOnly));
        f.write("#!/bin/sh\necho \"$0\" \"$#\"\n");
        f.close();
        if (kind == 2) {
            f.setPermissions(f.permissions() | QFile::ExeOwner);
        }
    }
    TempDir dir;
};

TEST_P(WindowStart, OpensTheFirstWindowProgramThatStarts) {
    const LayoutCase& c = GetParam();
    // A copy of the program in a prefix of its own: its folder decides where
    // it looks (the kernel names the copy, links resolved).
    const QString prefix = QFileInfo(QString::fromStdString(dir.path())).canonicalFilePath();
    const QString program = prefix + "/bin/gleanmark";
    ASSERT_TRUE(QDir().mkpath(prefix + "/bin"));
    ASSERT_TRUE(QFile::copy(GLEANMARK_BIN, program));
    const QString beside = prefix + "/bin/" WINDOW_PROGRAM;
    const QString installed = prefix + "/" WINDOW_DIR "/" WINDOW_PROGRAM;
    placeWindow(beside, c.beside);
    placeWindow(installed, c.installed);

    const ProcessResult r = RunProcess(program, {});
    if (c.started) {
        const QString expected = std::string(c.started) == "beside" ? beside : installed;
        EXPECT_EQ(r.status, 0) << r.err;
        EXPECT_EQ(r.out, expected.toStdString() + " 0\n");
        return;
    }
    EXPECT_EQ(r.status, 1);
    EXPECT_EQ(r.out, "");
    for (const QString& path : {beside, installed}) {
        EXPECT_NE(r.err.find(path.toStdString()), std::string::npos) << path.toStdString() << "\n"
                                                                     << r.err;
    }
}

INSTANTIATE_TEST_SUITE_P(Layouts, WindowStart,
                         ::testing::Values(LayoutCase{"BuildFolder", 2, 0, "beside"},
                                           LayoutCase{"InstalledTree", 0, 2, "installed"},
                                           LayoutCase{"BesideComesFirst", 2, 2, "beside"},
                                           LayoutCase{"NotExecutableBesideIsPassedOver", 1, 2,
                                                      "installed"},
                                           LayoutCase{"NoneFound", 0, 0, nullptr},
                                           LayoutCase{"NoneStarts", 1, 1, nullptr}),
                         [](const auto& info) { return std::string(info.param.name); });

}  // namespace

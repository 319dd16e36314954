// What the desktop sees of the program: Help > Content with and without
// help.chm, where the user guide is found, and the icon.
#include <QAction>
#include <QApplication>
#include <QDir>
#include <QImage>
#include <QImageReader>

#include "FormFixture.h"
#include "MainWindow.h"
#include "QtPorts.h"

namespace {

struct HelpCase {
    const char* name;
    bool chmInWorkingFolder;
    bool guideInstalled;
    bool viewerOpens;
    std::vector<const char*> opened;  // "chm" or "guide", in order
    const char* message;              // start of the message box text, or null
};

class Help : public FormFixture, public ::testing::WithParamInterface<HelpCase> {
protected:
    std::string path(const char* which) {
        return std::string(which) == "chm" ? file("help.chm") : guide;
    }
    std::string guide = "/opt/guide/index.html";
};

TEST_P(Help, OpensTheFirstHelpThatTheDesktopCanShow) {
    const HelpCase& c = GetParam();
    if (c.chmInWorkingFolder) {
        write("help.chm", "ITSF");
    }
    launcher.guide = c.guideInstalled ? guide : "";
    launcher.opens = c.viewerOpens;
    load();
    form.click("mnuContent");

    std::vector<std::string> expected;
    for (const char* which : c.opened) {
        expected.push_back(path(which));
    }
    EXPECT_EQ(launcher.opened, expected);
    if (!c.message) {
        EXPECT_TRUE(prompts.shown.empty());
        return;
    }
    ASSERT_EQ(prompts.shown.size(), 1u);
    EXPECT_EQ(prompts.shown[0].text.rfind(c.message, 0), 0u) << prompts.shown[0].text;
    EXPECT_EQ(prompts.shown[0].buttons, Prompts::Buttons::OK);
    for (const std::string& p : expected) {
        EXPECT_NE(prompts.shown[0].text.find(p), std::string::npos) << "names " << p;
    }
}

INSTANTIATE_TEST_SUITE_P(
    Outcomes, Help,
    ::testing::Values(
        HelpCase{"ChmInTheWorkingFolderComesFirst", true, true, true, {"chm"}, nullptr},
        HelpCase{"WithoutChmTheGuideOpens", false, true, true, {"guide"}, nullptr},
        HelpCase{"NoViewerForEither",
                 true,
                 true,
                 false,
                 {"chm", "guide"},
                 "The help could not be opened: the desktop has no program to show "},
        HelpCase{
            "NoViewerForTheGuide", false, true, false, {"guide"}, "The help could not be opened: "},
        HelpCase{"NothingToOpen", false, false, true, {}, "No help was found: "}),
    [](const auto& info) { return std::string(info.param.name); });

TEST_F(Help, AFolderNamedHelpChmIsNotTheHelpFile) {
    QDir(QString::fromStdString(dir.path())).mkdir("help.chm");
    launcher.guide = guide;
    load();
    form.click("mnuContent");
    EXPECT_EQ(launcher.opened, std::vector<std::string>{guide});
}

// The Help menu of the real window, as a user picks it, before and after
// help.chm is put into the working folder.
TEST_F(Help, TheWindowsContentEntry) {
    load();
    MainWindow window(form);
    window.show();
    QAction* content = window.findChild<QAction*>("mnuContent");
    ASSERT_TRUE(content);
    EXPECT_EQ(content->text(), "&Content");  // shown as "Content", C underlined

    content->trigger();
    EXPECT_TRUE(launcher.opened.empty());
    ASSERT_EQ(prompts.texts().size(), 1u);
    EXPECT_EQ(prompts.texts()[0].rfind("No help was found", 0), 0u);

    write("help.chm", "ITSF");
    content->trigger();
    EXPECT_EQ(launcher.opened, std::vector<std::string>{file("help.chm")});
    EXPECT_EQ(prompts.texts().size(), 1u);
}

// The window program looks for the guide where the install rules put it,
// relative to its own folder; a program in a build folder finds the source
// guide.
TEST(UserGuide, FoundBesideTheProgramElseInTheSources) {
    TempDir prefix;
    const QString windowDir = QString::fromStdString(prefix.file(WINDOW_DIR));
    QDir().mkpath(windowDir);
    const std::string sources = FindUserGuide(windowDir);
    EXPECT_EQ(sources, GUIDE_SOURCES "/index.html");

    const std::string installed =
        prefix.write("share/doc/gleanmark/guide/index.html", "<html></html>");
    EXPECT_EQ(FindUserGuide(windowDir), installed);
}

TEST(Icon, DrawsAtMenuSizes) {
    for (int size : {16, 48, 256}) {
        QImageReader reader(ICON_FILE);
        reader.setScaledSize(QSize(size, size));
        const QImage icon = reader.read();
        ASSERT_FALSE(icon.isNull()) << "no SVG image plugin?";
        // Something is drawn in the middle of the picture.
        EXPECT_GT(qAlpha(icon.pixel(size / 2, size / 2)), 0) << size;
    }
}

}  // namespace

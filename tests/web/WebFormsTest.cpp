// The settings and filter dialogs, the settings as the crawl reads them, the
// address box and the QSettings store.
#include <QDir>

#include "FilterForm.h"
#include "QtSettingsStore.h"
#include "SettingForm.h"
#include "WebFiles.h"
#include "WebRig.h"

namespace {

class Forms : public WebRig {
protected:
    Forms() { settings.values.clear(); }
    std::string cwd() const { return QDir::toNativeSeparators(QDir::currentPath()).toStdString(); }
    ScriptedFolders folders;
    WebSettings web{settings};
};

TEST_F(Forms, UnwrittenKeysReadAsTheDialogsFirstTimeValues) {
    EXPECT_EQ(web.depth(), 1);
    EXPECT_TRUE(web.online());
    EXPECT_FALSE(web.enableFilter());
    EXPECT_FALSE(web.once());
    EXPECT_EQ(web.filterDir(), cwd());
    EXPECT_EQ(web.tmpPath(), "");
    EXPECT_EQ(web.filterFile(), cwd() + "//filter");
    EXPECT_EQ(web.shortcutFile(), cwd() + "//shortcut");
    for (auto [text, depth] : std::vector<std::pair<const char*, int>>{
             {"3", 3}, {" 7 ", 7}, {"", 1}, {"x", 1}, {"99999", 1}, {"-2", -2}}) {
        settings.preset("Depth", text);
        EXPECT_EQ(web.depth(), depth) << text;
    }
    for (auto [text, on] : std::vector<std::pair<const char*, bool>>{
             {"False", false}, {"TRUE", true}, {"0", false}, {"-1", true}, {"maybe", true}}) {
        settings.preset("Online", text);
        EXPECT_EQ(web.online(), on) << text;
    }
}

TEST_F(Forms, SettingDialogShowsFirstTimeValuesThenWritesInOrderOnOK) {
    SettingForm dialog(web, folders);
    int closed = 0;
    dialog.requestClose = [&] { ++closed; };
    dialog.Form_Load();
    for (const char* box : {"txtSaveDir", "txtFilterDir", "txtShortcutDir"}) {
        EXPECT_EQ(dialog.ctl(box).caption, cwd()) << box;
    }
    EXPECT_EQ(dialog.ctl("txtDepth").caption, "1");
    EXPECT_EQ(dialog.ctl("optOnline").value, 1);
    EXPECT_EQ(dialog.ctl("chkFilter").value, 0);

    folders.answers = {std::nullopt, std::string("/f")};
    dialog.click("cmdSaveDir");  // cancelled: the box keeps its text
    dialog.click("cmdFilterDir");
    EXPECT_EQ(folders.titles, (std::vector<std::string>(2, "请选择文件夹：")));
    dialog.setText("txtDepth", "1a2");
    EXPECT_EQ(dialog.ctl("txtDepth").caption, "12");
    dialog.UpDown1_Change(+1);
    EXPECT_EQ(dialog.ctl("txtDepth").caption, "13");
    dialog.UpDown1_Change(+5);
    EXPECT_EQ(dialog.ctl("txtDepth").caption, "15");
    dialog.click("optOffline");
    dialog.click("chkFilter");

    dialog.click("Command6");
    EXPECT_TRUE(settings.writes.empty());
    dialog.click("Command5");
    EXPECT_EQ(closed, 2);
    const std::string tmp =
        QDir::toNativeSeparators(QDir::tempPath()).toStdString() + "/Gleanmark/";
    EXPECT_EQ(settings.writes,
              (std::vector<std::string>{"SaveDir=" + cwd(), "FilterDir=/f", "ShortcutDir=" + cwd(),
                                        "Depth=15", "Online=False", "EnableFilter=True",
                                        "Once=True", "TmpPath=" + tmp}));

    SettingForm again(web, folders);
    settings.preset("Depth", "4");
    again.Form_Load();
    EXPECT_EQ(again.ctl("txtFilterDir").caption, "/f");
    EXPECT_EQ(again.ctl("txtDepth").caption, "4");
    EXPECT_EQ(again.ctl("optOffline").value, 1);
    EXPECT_EQ(again.ctl("optOnline").value, 0);
    EXPECT_EQ(again.ctl("chkFilter").value, 1);
}

TEST_F(Forms, StoredValuesAreIgnoredUntilTheDialogWasConfirmed) {
    settings.preset("Depth", "9");
    settings.preset("Online", "False");
    SettingForm dialog(web, folders);
    dialog.Form_Load();
    EXPECT_EQ(dialog.ctl("txtDepth").caption, "1");
    EXPECT_EQ(dialog.ctl("optOnline").value, 1);
}

TEST_F(Forms, FilterDialogShowsLinesWithLineEndsAndSavesTheTextAsOneRecord) {
    settings.preset("FilterDir", dir.path());
    FilterForm dialog(web);
    dialog.Form_Load();
    EXPECT_EQ(dialog.ctl("Text1").caption, "");  // no filter file yet
    dir.write("filter", "ads\nbanner\r\n\r\nx");
    dialog.Form_Load();
    EXPECT_EQ(dialog.ctl("Text1").caption, "ads\r\nbanner\r\n\r\nx\r\n");
    bool closed = false;
    dialog.requestClose = [&] { closed = true; };
    dialog.setText("ads\r\nbanner");
    dialog.click("Command1");
    EXPECT_TRUE(closed);
    EXPECT_EQ(ReadBytes(dir.path() + "//filter"), "ads\r\nbanner\r\n");
}

TEST_F(Forms, AddressBoxRemembersVisitedAddressesNewestFirst) {
    std::vector<std::string> asked;
    form.navigate = [&](const std::string& url) { asked.push_back(url); };
    form.setAddressText("127.0.0.1:8080/a b.htm");
    form.cboAddress_Click();
    form.setAddressText("");
    form.cboAddress_Click();  // nothing to go to
    form.cmdHome_Click();
    EXPECT_EQ(asked, (std::vector<std::string>{"http://127.0.0.1:8080/a%20b.htm", "about:blank"}));
    for (const char* url : {"http://a/", "http://b/", "http://a/"}) {
        form.navigationStarted(url);
        EXPECT_EQ(form.ctl("lblBusy").caption, "Working...");
        form.navigationFinished(url, true);
    }
    form.navigationFinished("http://broken/", false);
    EXPECT_EQ(form.ctl("cboAddress").items, (std::vector<std::string>{"http://a/", "http://b/"}));
    EXPECT_EQ(form.ctl("lblBusy").caption, "");
    form.historyChanged(true, false);
    EXPECT_TRUE(form.ctl("cmdBack").enabled);
    EXPECT_FALSE(form.ctl("cmdForward").enabled);
}

TEST_F(Forms, QtStoreKeepsTextValuesPerApplicationAndSection) {
    QtSettingsStore store(dir.path());
    EXPECT_FALSE(store.value("Gleanmark", "Setting", "Depth"));
    store.setValue("Gleanmark", "Setting", "Depth", "3");
    store.setValue("Gleanmark", "Setting", "FilterDir", "C:\\a, b");
    QtSettingsStore reopened(dir.path());
    EXPECT_EQ(reopened.value("Gleanmark", "Setting", "Depth"), "3");
    EXPECT_EQ(reopened.value("Gleanmark", "Setting", "FilterDir"), "C:\\a, b");
    EXPECT_FALSE(reopened.value("Gleanmark", "Other", "Depth"));
    EXPECT_TRUE(std::filesystem::exists(dir.file("Gleanmark.ini")));
}

}  // namespace

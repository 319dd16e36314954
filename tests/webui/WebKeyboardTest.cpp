// The web window from the keyboard: the keys of a browser, and menus that
// open with Alt and their letters.
#include "WebWindowRig.h"

namespace {

TEST_F(WebWindowTest, TheKeysOfABrowser) {
    ClubServer site;
    LoopbackServer::Reply slow;
    slow.body = "<p>at last</p>";
    slow.delayMs = 8000;
    site.route("/slow.html", slow);
    openWebWindow();
    type(site.at("/index.html"), true);
    ASSERT_TRUE(shows(site.at("/index.html")));

    // Tab goes from the address box to the page; Ctrl+L and Alt+D come back
    // to the box with its text selected, ready to be typed over.
    const std::pair<Qt::Key, Qt::KeyboardModifier> toTheBox[] = {{Qt::Key_L, Qt::ControlModifier},
                                                                 {Qt::Key_D, Qt::AltModifier}};
    for (const auto& [key, modifier] : toTheBox) {
        PressKey(Qt::Key_Tab);
        EXPECT_TRUE(WaitUntil([&] { return pageHasFocus(); }, 3000));
        PressKey(key, modifier);
        EXPECT_TRUE(web<QComboBox>("cboAddress")->hasFocus());
        EXPECT_EQ(addressBox()->selectedText(), site.at("/index.html"));
    }
    // F5 loads the page again.
    PressKey(Qt::Key_F5);
    EXPECT_TRUE(WaitUntil([&] { return site.hits("/index.html") == 2; }));
    ASSERT_TRUE(WaitUntil([&] { return web<QLabel>("lblBusy")->text().isEmpty(); }));

    // Alt+Left goes back, Alt+Right forward.
    type(site.at("/members.html"), true);
    ASSERT_TRUE(shows(site.at("/members.html")));
    ASSERT_TRUE(WaitUntil([&] { return web<QToolButton>("cmdBack")->isEnabled(); }));
    PressKey(Qt::Key_Left, Qt::AltModifier);
    ASSERT_TRUE(shows(site.at("/index.html")));
    ASSERT_TRUE(WaitUntil([&] { return web<QToolButton>("cmdForward")->isEnabled(); }));
    PressKey(Qt::Key_Right, Qt::AltModifier);
    ASSERT_TRUE(shows(site.at("/members.html")));

    // Escape stops a page that is slow to come.
    type(site.at("/slow.html"), true);
    ASSERT_TRUE(WaitUntil([&] { return web<QLabel>("lblBusy")->text() == "Working..."; }));
    PressKey(Qt::Key_Escape);
    EXPECT_TRUE(WaitUntil([&] { return web<QLabel>("lblBusy")->text().isEmpty(); }, 3000));
}

TEST_F(WebWindowTest, EveryMenuOpensWithAltAndItsLetter) {
    WebWindow* w = openWebWindow();
    ExpectAltOpensMenus(w, {{Qt::Key_F, "mnuFile"}, {Qt::Key_S, "mnuShortCut"}});
    ExpectMenuLetters(w->menuBar(), [](const std::string& name) {
        const WebControlInfo* info = FindControl(WebControls(), name);
        return std::string(info ? info->caption : "(no control)");
    });
    // Alt+F, then S: the settings dialog.
    WhenModal("frmSetting", [](QWidget* d) {
        QTest::mouseClick(d->findChild<QPushButton*>("Command6"), Qt::LeftButton);
    });
    PressKey(Qt::Key_F, Qt::AltModifier);
    PressKey(Qt::Key_S);
    EXPECT_FALSE(QApplication::activeModalWidget());
}

}  // namespace

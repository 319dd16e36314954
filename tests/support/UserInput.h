#pragma once

#include <gtest/gtest.h>
#include <QAbstractItemView>
#include <QAction>
#include <QApplication>
#include <QMenu>
#include <QMenuBar>
#include <QTest>
#include <QWidget>
#include <functional>
#include <set>
#include <string>
#include <utility>
#include <vector>

// A key pressed on the keyboard goes where the platform sends it: to an open
// menu or popup, else to the widget that has the keyboard focus, else to the
// active window. Sending a key straight to a chosen widget skips the way a
// real key travels (focus proxies, shortcuts of the window), which is where
// faults that only users met lived.
inline QWidget* KeyTarget() {
    if (QWidget* popup = QApplication::activePopupWidget()) {
        return popup->focusWidget() ? popup->focusWidget() : popup;
    }
    if (QWidget* modal = QApplication::activeModalWidget()) {
        return modal->focusWidget() ? modal->focusWidget() : modal;
    }
    if (QWidget* focus = QApplication::focusWidget()) {
        return focus;
    }
    return QApplication::activeWindow();
}

inline void PressKey(int key, Qt::KeyboardModifiers modifiers = Qt::NoModifier) {
    QWidget* target = KeyTarget();
    if (target) {
        QTest::keyClick(target, static_cast<Qt::Key>(key), modifiers);
    }
}

inline void TypeText(const QString& text) {
    if (QWidget* target = KeyTarget()) {
        QTest::keyClicks(target, text);
    }
}

// Shows `window` and makes it the active one, as a click on its title does.
inline bool ShowActive(QWidget* window) {
    window->show();
    window->raise();
    window->activateWindow();
    QApplication::setActiveWindow(window);
    return QTest::qWaitForWindowActive(window);
}

// Clicks the cell (row, column) of an item view where the user would.
inline void ClickCell(QAbstractItemView* view, const QModelIndex& index,
                      Qt::KeyboardModifiers modifiers = Qt::NoModifier) {
    QTest::mouseClick(view->viewport(), Qt::LeftButton, modifiers,
                      view->visualRect(index).center());
}

// Alt and each letter open the menu named beside it; two Escapes close it.
inline void ExpectAltOpensMenus(QWidget* window,
                                const std::vector<std::pair<Qt::Key, const char*>>& menus) {
    for (const auto& [key, name] : menus) {
        SCOPED_TRACE(name);
        PressKey(key, Qt::AltModifier);
        QWidget* open = QApplication::activePopupWidget();
        EXPECT_TRUE(open && open == window->findChild<QMenu*>(name));
        PressKey(Qt::Key_Escape);
        PressKey(Qt::Key_Escape);
        EXPECT_FALSE(QApplication::activePopupWidget());
    }
}

// Every menu of the bar and every entry shows the caption `captionOf` gives
// for its name, with one letter marked, and no two in one menu (nor two
// menus) share a letter.
inline void ExpectMenuLetters(QMenuBar* bar,
                              const std::function<std::string(const std::string&)>& captionOf) {
    auto check = [&](const QList<QAction*>& actions) {
        std::set<QChar> letters;
        for (QAction* a : actions) {
            if (a->isSeparator()) {
                continue;
            }
            const QString name = a->menu() ? a->menu()->objectName() : a->objectName();
            SCOPED_TRACE(name.toStdString());
            const QString text = a->text();
            ASSERT_EQ(text.count('&'), 1);
            EXPECT_EQ(QString(text).remove('&').toStdString(), captionOf(name.toStdString()));
            const QChar letter = text.at(text.indexOf('&') + 1).toLower();
            EXPECT_TRUE(letters.insert(letter).second)
                << "letter used twice: " << letter.toLatin1();
        }
    };
    check(bar->actions());
    for (QAction* menu : bar->actions()) {
        check(menu->menu()->actions());
    }
}

#pragma once

#include <QAbstractItemView>
#include <QApplication>
#include <QTest>
#include <QWidget>

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

#pragma once

#include <gtest/gtest.h>
#include <QAbstractButton>
#include <QApplication>
#include <QEventLoop>
#include <QPointer>
#include <QTest>
#include <QTimer>
#include <functional>

// The child widget or action `name` of `window`.
template <typename T>
T* Child(QObject* window, const char* name) {
    T* w = window->findChild<T*>(name);
    EXPECT_TRUE(w) << name;
    return w;
}

// Clicks a check box or option button on its box, which sits at the left
// (the middle of a wide one is beside its caption and takes no click).
inline void Tick(QAbstractButton* button) {
    QTest::mouseClick(button, Qt::LeftButton, {}, QPoint(8, button->height() / 2));
}

// Runs the event loop until `done` holds or `ms` pass; true when it holds.
// A real event loop, unlike QTest::qWaitFor, which sleeps between rounds
// and so slows the browser view's many small tasks down.
inline bool WaitUntil(const std::function<bool()>& done, int ms = 10000) {
    if (done()) {
        return true;
    }
    QEventLoop loop;
    QTimer poll;
    QObject::connect(&poll, &QTimer::timeout, &loop, [&] {
        if (done()) {
            loop.quit();
        }
    });
    poll.start(10);
    QTimer::singleShot(ms, &loop, &QEventLoop::quit);
    loop.exec();
    return done();
}

// Runs `steps` on the next modal window that `matches`, as soon as it shows
// (modal windows block the caller, so the steps are scheduled beforehand).
// A window still open two seconds after its steps is a fault: it is
// reported and closed, so a test never hangs on it.
inline void WhenModal(std::function<bool(QWidget*)> matches, std::function<void(QWidget*)> steps,
                      int triesLeft = 500) {
    QTimer::singleShot(10, [=] {
        QWidget* w = QApplication::activeModalWidget();
        if (!w || !matches(w)) {
            if (triesLeft > 0) {
                WhenModal(matches, steps, triesLeft - 1);
            } else {
                ADD_FAILURE() << "no modal window showed";
            }
            return;
        }
        QPointer<QWidget> shown = w;
        steps(w);
        QTimer::singleShot(2000, [shown] {
            if (shown && shown->isVisible() && QApplication::activeModalWidget() == shown) {
                ADD_FAILURE() << "modal window left open: " << shown->objectName().toStdString();
                shown->close();
            }
        });
    });
}

inline void WhenModal(const char* objectName, std::function<void(QWidget*)> steps) {
    const QString name = objectName;
    WhenModal([name](QWidget* w) { return w->objectName() == name; }, std::move(steps));
}

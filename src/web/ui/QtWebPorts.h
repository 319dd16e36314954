#pragma once

#include <QPointer>
#include <QWidget>
#include <functional>

#include "FolderBrowser.h"
#include "MousePointer.h"

// The pointer over one window: the hourglass is Qt's wait cursor, the
// default is the window's own cursor again.
class WindowPointer : public MousePointer {
public:
    explicit WindowPointer(QWidget* window = nullptr) : window_(window) {}
    void setWindow(QWidget* window) { window_ = window; }
    void setShape(Shape shape) override;

private:
    QPointer<QWidget> window_;
};

// The platform's folder browser, modal over `parent`.
class QtFolderBrowser : public FolderBrowser {
public:
    explicit QtFolderBrowser(QWidget* parent) : parent_(parent) {}
    std::optional<std::string> browseFolder(const std::string& title,
                                            const std::string& startFolder) override;

    // Runs just before the browser opens, so the window behind it shows the
    // form's present state.
    std::function<void()> beforeOpen;

private:
    QWidget* parent_;
};

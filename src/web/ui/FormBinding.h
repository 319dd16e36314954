#pragma once

#include <QObject>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "WebControls.h"

class ControlSet;
class QWidget;

// The description of the control `name` of `infos`; null when there is none.
const WebControlInfo* FindControl(const std::vector<WebControlInfo>& infos,
                                  const std::string& name);

// Keeps a window's widgets in step with its form's controls. Each widget is
// registered under its control's name, which is also its objectName; it shows
// the state the form keeps under that name and hands the user's clicks and
// typing to the form.
class FormBinding {
public:
    struct Handlers {
        std::function<void(const std::string& name)> click;
        std::function<void(const std::string& name, const std::string& text)> setText;
    };

    FormBinding(ControlSet& controls, Handlers handlers);

    // Makes the widget of a button, check box, option button, label, text
    // box, multi-line text box or frame of `infos`, wired to the handlers.
    // Other kinds are made by the window and registered with add().
    QWidget* make(const std::vector<WebControlInfo>& infos, const char* name, QWidget* parent);
    // Registers a widget or an action under a control's name.
    void add(const std::string& name, QObject* object);
    QObject* object(const std::string& name) const;
    // Shows the menu or menu entry `name` with `marked`, its caption with the
    // letter that Alt reaches marked by "&", for as long as the caption is
    // that text.
    void markLetter(const std::string& name, const QString& marked);

    // Runs a user action on the form, then shows its outcome. The touched
    // control is shown again too: its widget may already show a state that
    // the form did not take (a click on a disabled command, refused typing).
    void act(const std::string& source, const std::function<void()>& action);
    // Brings every widget whose control changed in step with the form.
    void sync();
    // Brings every widget in step, changed or not.
    void syncAll();

    // Runs after every user action once the widgets are in step: an action
    // here may change another window's form too (a crawl fills the main
    // window's chosen files and results).
    std::function<void()> afterAction;

private:
    void apply(const std::string& name);
    QString menuText(const std::string& name, const std::string& caption) const;

    ControlSet& controls_;
    Handlers handlers_;
    std::map<std::string, QObject*> objects_;
    std::map<std::string, QString> marked_;
    QObject context_;  // connections end with the binding
    bool syncing_ = false;
};

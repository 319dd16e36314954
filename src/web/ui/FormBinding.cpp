#include "FormBinding.h"

#include <QAction>
#include <QCheckBox>
#include <QComboBox>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QRadioButton>
#include <algorithm>

#include "FormControls.h"

namespace {

QString Text(const std::string& s) {
    return QString::fromStdString(s);
}

// A multi-line box keeps its lines with CR LF; the editor shows them with LF.
QString ShownLines(const std::string& s) {
    return Text(s).replace("\r\n", "\n");
}

std::string KeptLines(const QString& shown) {
    return QString(shown).replace("\n", "\r\n").toStdString();
}

bool SameItems(const QComboBox& combo, const std::vector<std::string>& items) {
    if (combo.count() != static_cast<int>(items.size())) {
        return false;
    }
    for (int i = 0; i < combo.count(); ++i) {
        if (combo.itemText(i) != Text(items[static_cast<size_t>(i)])) {
            return false;
        }
    }
    return true;
}

void ShowCombo(QComboBox& combo, const Control& c) {
    QSignalBlocker block(&combo);
    if (!SameItems(combo, c.items)) {
        combo.clear();
        for (const std::string& item : c.items) {
            combo.addItem(Text(item));
        }
    }
    // The current entry is the one the text names, so that leaving the box
    // never counts as choosing an entry.
    const QString text = Text(c.caption);
    const int index = combo.findText(text, Qt::MatchExactly | Qt::MatchCaseSensitive);
    if (combo.currentIndex() != index) {
        combo.setCurrentIndex(index);
    }
    if (combo.currentText() != text) {
        combo.setEditText(text);
    }
}

}  // namespace

const WebControlInfo* FindControl(const std::vector<WebControlInfo>& infos,
                                  const std::string& name) {
    const auto it = std::find_if(infos.begin(), infos.end(),
                                 [&](const WebControlInfo& i) { return name == i.name; });
    return it == infos.end() ? nullptr : &*it;
}

FormBinding::FormBinding(ControlSet& controls, Handlers handlers)
    : controls_(controls), handlers_(std::move(handlers)) {}

QWidget* FormBinding::make(const std::vector<WebControlInfo>& infos, const char* name,
                           QWidget* parent) {
    const WebControlInfo* it = FindControl(infos, name);
    if (!it) {
        return nullptr;
    }
    const std::string n = name;
    const QString caption = QString::fromUtf8(it->caption);
    QWidget* w = nullptr;
    switch (it->kind) {
        case WebControlKind::Button:
        case WebControlKind::CheckBox:
        case WebControlKind::Option: {
            QAbstractButton* b = nullptr;
            if (it->kind == WebControlKind::Button) {
                b = new QPushButton(caption, parent);
            } else if (it->kind == WebControlKind::CheckBox) {
                b = new QCheckBox(caption, parent);
            } else {
                b = new QRadioButton(caption, parent);
                b->setAutoExclusive(false);  // the form selects one and clears the other
            }
            QObject::connect(b, &QAbstractButton::clicked, &context_,
                             [this, n] { act(n, [&] { handlers_.click(n); }); });
            w = b;
            break;
        }
        case WebControlKind::Label:
            w = new QLabel(caption, parent);
            break;
        case WebControlKind::TextBox: {
            auto* edit = new QLineEdit(parent);
            QObject::connect(edit, &QLineEdit::textEdited, &context_, [this, n](const QString& t) {
                act(n, [&] { handlers_.setText(n, t.toStdString()); });
            });
            w = edit;
            break;
        }
        case WebControlKind::MultiLineText: {
            auto* edit = new QPlainTextEdit(parent);
            QObject::connect(edit, &QPlainTextEdit::textChanged, &context_, [this, n, edit] {
                if (!syncing_) {
                    act(n, [&] { handlers_.setText(n, KeptLines(edit->toPlainText())); });
                }
            });
            w = edit;
            break;
        }
        case WebControlKind::Frame:
            w = new QGroupBox(caption, parent);
            break;
        default:
            return nullptr;
    }
    if (*it->tooltip) {
        w->setToolTip(QString::fromUtf8(it->tooltip));
    }
    add(n, w);
    return w;
}

void FormBinding::add(const std::string& name, QObject* object) {
    object->setObjectName(Text(name));
    objects_[name] = object;
}

QObject* FormBinding::object(const std::string& name) const {
    const auto it = objects_.find(name);
    return it == objects_.end() ? nullptr : it->second;
}

void FormBinding::act(const std::string& source, const std::function<void()>& action) {
    if (syncing_) {
        return;
    }
    action();
    if (controls_.has(source)) {
        controls_[source];
    }
    sync();
    if (afterAction) {
        afterAction();
    }
}

void FormBinding::sync() {
    syncing_ = true;
    for (const std::string& name : controls_.takeDirty()) {
        apply(name);
    }
    syncing_ = false;
}

void FormBinding::syncAll() {
    for (const std::string& name : controls_.names()) {
        controls_[name];
    }
    sync();
}

void FormBinding::markLetter(const std::string& name, const QString& marked) {
    marked_[name] = marked;
}

QString FormBinding::menuText(const std::string& name, const std::string& caption) const {
    auto it = marked_.find(name);
    if (it != marked_.end() && QString(it->second).remove('&') == Text(caption)) {
        return it->second;
    }
    return Text(caption);
}

void FormBinding::apply(const std::string& name) {
    QObject* object = this->object(name);
    if (!object) {
        return;
    }
    const Control& c = controls_.get(name);
    if (auto* a = qobject_cast<QAction*>(object)) {
        a->setEnabled(c.enabled);
        a->setVisible(c.visible);
        a->setText(menuText(name, c.caption));
        if (a->isCheckable()) {
            a->setChecked(c.value == 1);
        }
        return;
    }
    if (auto* menu = qobject_cast<QMenu*>(object)) {
        menu->setTitle(menuText(name, c.caption));
        menu->setEnabled(c.enabled);
        return;
    }
    auto* w = qobject_cast<QWidget*>(object);
    if (!w) {
        return;
    }
    w->setEnabled(c.enabled);
    if (!w->isWindow()) {
        w->setVisible(c.visible);
    }
    if (auto* check = qobject_cast<QCheckBox*>(w)) {
        check->setText(Text(c.caption));
        check->setChecked(c.value == 1);
    } else if (auto* radio = qobject_cast<QRadioButton*>(w)) {
        radio->setText(Text(c.caption));
        radio->setChecked(c.value == 1);
    } else if (auto* button = qobject_cast<QAbstractButton*>(w)) {
        button->setText(Text(c.caption));
    } else if (auto* label = qobject_cast<QLabel*>(w)) {
        label->setText(Text(c.caption));
    } else if (auto* edit = qobject_cast<QLineEdit*>(w)) {
        if (edit->text() != Text(c.caption)) {
            edit->setText(Text(c.caption));
        }
    } else if (auto* plain = qobject_cast<QPlainTextEdit*>(w)) {
        if (plain->toPlainText() != ShownLines(c.caption)) {
            plain->setPlainText(ShownLines(c.caption));
        }
    } else if (auto* combo = qobject_cast<QComboBox*>(w)) {
        ShowCombo(*combo, c);
    } else if (auto* frame = qobject_cast<QGroupBox*>(w)) {
        frame->setTitle(Text(c.caption));
    }
}

#pragma once

#include <QPointer>

#include "Prompts.h"

class QWidget;
class dlgMsg;
class FrmSHD;

// The program's answers to the form's questions: real dialogs.
class QtPrompts : public Prompts {
public:
    explicit QtPrompts(QWidget* parent = nullptr) : parent_(parent) {}
    ~QtPrompts() override;
    void setParent(QWidget* parent) { parent_ = parent; }

    Answer message(const std::string& text, Buttons buttons, Icon icon,
                   const std::string& title) override;
    std::optional<std::string> openFile(const FileDialog& dialog) override;
    std::optional<std::string> saveFile(const FileDialog& dialog) override;
    std::optional<std::string> stripDirectory(const std::string& startFolder) override;
    int problem(const std::string& text) override;
    std::optional<KeywordEntry> keywordEntry(const std::string& title, const KeywordEntry& initial,
                                             const KeywordAccept& accept) override;
    std::optional<int> choose(const std::string& title,
                              const std::vector<std::string>& options) override;

private:
    QWidget* parent_;
    // Created on first use and kept; owned by the window when it has one, so
    // they are watched rather than owned here.
    QPointer<dlgMsg> problemDialog_;
    QPointer<FrmSHD> stripDialog_;
};

// "All Files(*.*)|*.*|Text Files(*.txt)|*.txt" as Qt name filters.
QStringList QtNameFilters(const std::string& filter);

#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

// Everything modal that logic code asks of the user. The program answers with
// real dialogs; tests answer with scripted replies; the command line answers
// as a user who wants the results would.
class Prompts {
public:
    enum class Buttons { OK, OKCancel, YesNo };
    enum class Icon { None, Information, Exclamation, Critical, Question };
    enum class Answer { OK, Cancel, Yes, No };

    // Results of the problem dialog ("Message"): one code per button.
    enum ProblemResult {
        ProblemOK = 0,
        ProblemIgnore = 1,
        ProblemIgnoreAll = 2,
        ProblemCancel = 3
    };

    struct FileDialog {
        // Pairs of description and pattern separated by "|".
        std::string filter = "All Files(*.*)|*.*|Text Files(*.txt)|*.txt";
        int filterIndex = 2;  // 1-based, the preselected filter
    };

    // The fields of the keyword entry dialog.
    struct KeywordEntry {
        std::string keyword;
        std::string positions;
    };
    // Called when the user accepts the keyword dialog; returns true when the
    // entry passes its checks and the dialog may close.
    using KeywordAccept = std::function<bool(const KeywordEntry&)>;

    virtual ~Prompts() = default;

    virtual Answer message(const std::string& text, Buttons buttons, Icon icon,
                           const std::string& title = {}) = 0;
    // A path, or nothing when the user cancels.
    virtual std::optional<std::string> openFile(const FileDialog& dialog) = 0;
    virtual std::optional<std::string> saveFile(const FileDialog& dialog) = 0;
    // The strip-directory chooser: a folder, or nothing on Cancel.
    virtual std::optional<std::string> stripDirectory(const std::string& startFolder) = 0;
    // The problem dialog with its four buttons; returns a ProblemResult.
    virtual int problem(const std::string& text) = 0;
    // The keyword dialog, preset with `initial`; `accept` runs the checks.
    // Returns the accepted entry, or nothing when the user cancels.
    virtual std::optional<KeywordEntry> keywordEntry(const std::string& title,
                                                     const KeywordEntry& initial,
                                                     const KeywordAccept& accept) = 0;
    // A choice among `options`: the chosen index, or nothing on Cancel.
    virtual std::optional<int> choose(const std::string& title,
                                      const std::vector<std::string>& options) = 0;
};

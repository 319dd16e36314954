#pragma once

#include <iosfwd>

#include "Prompts.h"

// Answers the form's questions as a user who wants the results would: save
// Yes, replace Yes, the strip question OK, the problem dialog Ignore. Every
// message and problem text goes to `log` followed by a line feed.
class CliPrompts : public Prompts {
public:
    CliPrompts(std::ostream& log, std::string resultFile, std::string stripDir,
               std::string keywordFile)
        : log_(log),
          resultFile_(std::move(resultFile)),
          stripDir_(std::move(stripDir)),
          keywordFile_(std::move(keywordFile)) {}

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
    std::ostream& log_;
    std::string resultFile_;
    std::string stripDir_;
    std::string keywordFile_;
};

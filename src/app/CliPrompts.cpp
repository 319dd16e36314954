#include "CliPrompts.h"

#include <ostream>

Prompts::Answer CliPrompts::message(const std::string& text, Buttons buttons, Icon,
                                    const std::string&) {
    log_ << text << '\n' << std::flush;
    switch (buttons) {
        case Buttons::YesNo:
            return Answer::Yes;
        case Buttons::OKCancel:
        case Buttons::OK:
            break;
    }
    return Answer::OK;
}

std::optional<std::string> CliPrompts::openFile(const FileDialog&) {
    if (keywordFile_.empty()) {
        return std::nullopt;
    }
    return keywordFile_;
}

std::optional<std::string> CliPrompts::saveFile(const FileDialog&) {
    return resultFile_;
}

std::optional<std::string> CliPrompts::stripDirectory(const std::string&) {
    if (stripDir_.empty()) {
        return std::nullopt;
    }
    return stripDir_;
}

int CliPrompts::problem(const std::string& text) {
    log_ << text << '\n' << std::flush;
    return ProblemIgnore;
}

std::optional<Prompts::KeywordEntry> CliPrompts::keywordEntry(const std::string&,
                                                              const KeywordEntry&,
                                                              const KeywordAccept&) {
    return std::nullopt;
}

std::optional<int> CliPrompts::choose(const std::string&, const std::vector<std::string>&) {
    return std::nullopt;
}

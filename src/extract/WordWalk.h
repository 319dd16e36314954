#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

// The words that follow a keyword, read the way the keyword scanners read
// them: each word taken is removed from the rest of the text everywhere, also
// inside later words, before the next word is read. A word never holds a
// space, so no removal reaches past one: each space-ended piece of the rest is
// read on its own when the walk gets to it, with the removals made so far
// applied to it in their order. The walk thus reads only as far as it goes.
class WordWalk {
public:
    // Gives the next space-ended piece of the rest; false at the end (a last
    // piece with no space after it is never a word).
    using Pieces = std::function<bool(std::string&)>;
    // `interrupted` is asked now and then while a long piece has many
    // removals applied to it at once (work that removing each word from the
    // whole rest would spread over many words); when it says yes, the walk
    // ends there.
    WordWalk(Pieces next, std::function<bool()> interrupted)
        : next_(std::move(next)), interrupted_(std::move(interrupted)) {}

    // The word at the front of the rest; "" when no word is left.
    const std::string& front();
    // Removes every occurrence of `word`, a beginning of front(), from the rest.
    void remove(const std::string& word);

private:
    struct Hash {
        using is_transparent = void;
        size_t operator()(std::string_view s) const { return std::hash<std::string_view>()(s); }
    };

    // `piece` with the removals from the `first`-th on applied in order.
    std::string removeFrom(std::string piece, size_t first);

    Pieces next_;
    std::function<bool()> interrupted_;
    size_t work_ = 0;  // bytes searched since `interrupted` was last asked
    std::string front_;
    bool ended_ = false;
    std::vector<std::string> removed_;
    // Each removed word with the places in removed_ where it was removed.
    std::unordered_map<std::string, std::vector<size_t>, Hash, std::equal_to<>> removedAt_;
};

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>

#include "EventPump.h"
#include "KeywordEntryCheck.h"
#include "RunErrors.h"
#include "ScanEngine.h"
#include "ScanState.h"
#include "TextOps.h"
#include "WordWalk.h"

using textops::FindNoCase;
using textops::FoldAscii;
using textops::Trim;
using textops::TrimRight;

namespace {

// One position number: a piece that is no number counts as 0; numbers are
// rounded to whole ones. The positions are 16-bit numbers, so one outside
// -32768..32767 overflows.
int16_t PositionNumber(std::string_view piece) {
    const std::string text(Trim(piece));
    if (!IsNumeric(text)) {
        return 0;
    }
    const double value = std::nearbyint(std::strtod(text.c_str(), nullptr));
    if (value > INT16_MAX || value < INT16_MIN) {
        throw OverflowError();
    }
    return static_cast<int16_t>(value);
}

// The position text as numbers: the pieces between commas, in their order.
std::vector<int16_t> ParsePositions(std::string_view text) {
    std::vector<int16_t> positions;
    for (size_t comma = text.find(','); comma != std::string_view::npos; comma = text.find(',')) {
        positions.push_back(PositionNumber(text.substr(0, comma)));
        text.remove_prefix(comma + 1);
    }
    positions.push_back(PositionNumber(text));
    return positions;
}

}  // namespace

void ScanEngine::CutAtNames(std::string& word) const {
    const auto cutAt = [&word](std::string_view name) {
        const size_t at = FindNoCase(word, name);
        if (at != std::string::npos) {
            word.resize(at);
        }
    };
    const size_t length = word.size();
    const bool indexed = keyNamesCovered_ == arrKeyNames.size() && keyNameIndex_.size() > 64;
    if (!indexed || length * (length + 1) / 2 >= keyNameIndex_.size()) {
        for (const std::string& entry : arrKeyNames) {
            const std::string_view name = Trim(entry);
            if (!name.empty()) {
                cutAt(name);
            }
        }
        return;
    }
    // Many names and a short word: only names that occur in the word can cut
    // it, so look its parts up and apply those in the names' order.
    std::string folded(word);
    for (char& c : folded) {
        c = FoldAscii(c);
    }
    std::vector<size_t> found;
    for (size_t from = 0; from < length; ++from) {
        for (size_t n = 1; from + n <= length; ++n) {
            const auto it = keyNameIndex_.find(folded.substr(from, n));
            if (it != keyNameIndex_.end()) {
                found.push_back(it->second);
            }
        }
    }
    std::sort(found.begin(), found.end());
    found.erase(std::unique(found.begin(), found.end()), found.end());
    for (size_t index : found) {
        cutAt(Trim(arrKeyNames[index]));
    }
}

// The words at the wanted positions after the next occurrence of the keyword.
// Walking the words, each word taken is removed from the rest of the text
// everywhere, so a word that repeats counts once; the last word of the text
// (with no space behind it) reads as empty. The keyword's occurrence is then
// taken out of the text, so the next call finds the next one.
std::string ScanEngine::ScanKeyword(ScanState& state, const KeywordRecord& keyword, bool cutAtNames,
                                    TextMarker* marker) {
    const std::vector<int16_t> positions = ParsePositions(keyword.Position);
    // An empty name would be "found" at the start of every text without ever
    // being consumed; it is treated as never occurring.
    if (keyword.Name.empty()) {
        return {};
    }
    const size_t found =
        marker != nullptr ? state.find(*marker) : state.findFromStart(keyword.Name, true);
    if (found == ScanState::npos) {
        return {};
    }
    const ScanText& text = state.text;
    SetScanPos(text.rank(found));

    size_t next = state.after(found, keyword.Name.size());
    WordWalk walk(
        [&text, &next](std::string& piece) {
            for (; next < text.size(); next = text.nextKept(next + 1)) {
                const char c = text.at(next);
                if (c != ' ') {
                    piece += c;
                } else if (!piece.empty()) {
                    next = text.nextKept(next + 1);
                    return true;
                }
            }
            return false;
        },
        [this] {
            Yield();
            return intCancel == 1;
        });
    std::string result;
    size_t wanted = 0;
    const int highest = positions.back();
    for (int w = 1; w <= highest; ++w) {
        std::string word = walk.front();
        if (cutAtNames) {
            CutAtNames(word);
        }
        if (wanted < positions.size() && w == positions[wanted]) {
            result.append(Trim(word));
            result += ' ';
            ++wanted;
        }
        if (word.empty()) {
            // No word is left, or it was cut to nothing: every further word
            // would be empty as well and add only spaces.
            break;
        }
        walk.remove(word);
        // A long walk over a big text takes a while: let Cancel in now and
        // then, and stop the walk when it was pressed.
        if (w % kWalkYieldEvery == 0) {
            Yield();
            if (intCancel == 1) {
                break;
            }
        }
    }
    result.resize(TrimRight(result).size());

    state.take(found, keyword.Name.size());
    return result;
}

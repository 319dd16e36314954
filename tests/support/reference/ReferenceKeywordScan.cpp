#include <cmath>
#include <cstdint>
#include <cstdlib>

#include "EventPump.h"
#include "KeywordEntryCheck.h"
#include "ReferenceEngine.h"
#include "RunErrors.h"
#include "TextOps.h"

using textops::FindNoCase;
using textops::ReplaceAll;
using textops::Trim;
using textops::TrimLeft;
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

// The words at the wanted positions after the next occurrence of the keyword.
// Walking the words, each word taken is removed from the rest of the text
// everywhere, so a word that repeats counts once; the last word of the text
// (with no space behind it) reads as empty. The keyword's occurrence is then
// taken out of the text, so the next call finds the next one.
std::string ReferenceEngine::ScanKeyword(const KeywordRecord& keyword, bool cutAtNames) {
    const std::vector<int16_t> positions = ParsePositions(keyword.Position);
    // An empty name would be "found" at the start of every text without ever
    // being consumed; it is treated as never occurring.
    if (keyword.Name.empty()) {
        return {};
    }
    const size_t found = FindNoCase(strScanText, keyword.Name);
    if (found == std::string::npos) {
        return {};
    }
    SetScanPos(found);

    std::string rest(TrimLeft(std::string_view(strScanText).substr(found + keyword.Name.size())));
    std::string result;
    size_t wanted = 0;
    const int highest = positions.back();
    for (int w = 1; w <= highest; ++w) {
        const size_t space = rest.find(' ');
        std::string word = space == std::string::npos ? std::string() : rest.substr(0, space);
        if (cutAtNames) {
            // The word ends where another keyword begins. The names are
            // applied in their order: each cut shortens the word the next
            // name is sought in.
            for (const std::string& entry : arrKeyNames) {
                const std::string_view name = Trim(entry);
                if (name.empty()) {
                    continue;
                }
                const size_t at = FindNoCase(word, name);
                if (at != std::string::npos) {
                    word.resize(at);
                }
            }
        }
        if (wanted < positions.size() && w == positions[wanted]) {
            result.append(Trim(word));
            result += ' ';
            ++wanted;
        }
        if (word.empty()) {
            // Removing an empty word leaves the rest as it is, so every
            // further word is empty as well and adds only spaces, which the
            // final trim drops.
            break;
        }
        ReplaceAll(rest, word, "");
        rest.erase(0, rest.size() - TrimLeft(rest).size());
        // A long walk over a big text takes a while: let Cancel in now and
        // then, and stop the walk when it was pressed.
        if (w % kWalkYieldEvery == 0) {
            pump_.yield();
            if (intCancel == 1) {
                break;
            }
        }
    }
    result.resize(TrimRight(result).size());

    strScanText.erase(found, keyword.Name.size());
    return result;
}

std::string ReferenceEngine::GetKeywordText(const KeywordRecord& keyword) {
    return ScanKeyword(keyword, false);
}

std::string ReferenceEngine::GetKeywordTextToNext(const KeywordRecord& keyword) {
    return ScanKeyword(keyword, true);
}

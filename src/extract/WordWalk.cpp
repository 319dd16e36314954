#include "WordWalk.h"

#include <algorithm>

#include "TextOps.h"

using textops::ReplaceAll;

namespace {

constexpr size_t kWorkBetweenChecks = size_t{64} << 20;

}  // namespace

const std::string& WordWalk::front() {
    while (front_.empty() && !ended_) {
        std::string piece;
        if (!next_(piece)) {
            ended_ = true;
            break;
        }
        front_ = removeFrom(std::move(piece), 0);
    }
    return front_;
}

void WordWalk::remove(const std::string& word) {
    removedAt_[word].push_back(removed_.size());
    removed_.push_back(word);
    ReplaceAll(front_, word, "");
}

std::string WordWalk::removeFrom(std::string piece, size_t first) {
    for (size_t next = first; next < removed_.size() && !piece.empty();) {
        const size_t length = piece.size();
        if (length * (length + 1) / 2 >= removed_.size() - next) {
            // Few removals left: try each in turn.
            for (; next < removed_.size() && !piece.empty(); ++next) {
                ReplaceAll(piece, removed_[next], "");
                work_ += piece.size();
                if (work_ > kWorkBetweenChecks) {
                    work_ = 0;
                    if (interrupted_ && interrupted_()) {
                        ended_ = true;
                        return {};
                    }
                }
            }
            break;
        }
        // Many removals left and a short piece: only words that occur in the
        // piece can change it, so look its parts up and apply the earliest.
        size_t earliest = removed_.size();
        const std::string_view text = piece;
        for (size_t from = 0; from < length; ++from) {
            for (size_t n = 1; from + n <= length; ++n) {
                const auto it = removedAt_.find(text.substr(from, n));
                if (it == removedAt_.end()) {
                    continue;
                }
                const auto at = std::lower_bound(it->second.begin(), it->second.end(), next);
                if (at != it->second.end()) {
                    earliest = std::min(earliest, *at);
                }
            }
        }
        if (earliest == removed_.size()) {
            break;
        }
        ReplaceAll(piece, removed_[earliest], "");
        next = earliest + 1;
    }
    return piece;
}

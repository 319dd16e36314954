#include "ScanEngine.h"

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <limits>

#include "AtExit.h"
#include "EventPump.h"
#include "ProgressBar.h"
#include "ResultTable.h"
#include "RunErrors.h"
#include "ScanState.h"

namespace {

// The "@" scanners cut their result here; GetWebSite does not.
constexpr size_t kAddressCap = 199;

}  // namespace

ScanEngine::ScanEngine(EventPump& pump, ProgressBar& PBFProgress, Clock& clock)
    : pump_(pump), progress_(PBFProgress), clock_(clock) {}

void ScanEngine::SetScanPos(size_t zeroBasedPosition) {
    constexpr size_t kMax = std::numeric_limits<int32_t>::max();
    lngScanPos = static_cast<int32_t>(zeroBasedPosition + 1 > kMax ? kMax : zeroBasedPosition + 1);
}

void ScanEngine::LoadProgress() {
    progressValue_ = progress_.value();
    progressShown_ = true;
}

void ScanEngine::ShowProgress() {
    if (!progressShown_) {
        progress_.setValue(progressValue_);
        progressShown_ = true;
    }
}

void ScanEngine::ProgressStep(float end) {
    const float v = progressValue_;
    progressValue_ = v + (end - v) / 10.0f;
    progressShown_ = progressShown_ && progressValue_ == v;
}

void ScanEngine::Yield() {
    ShowProgress();
    pump_.yield();
}

// The address around the first "@": the characters after the last space in
// front of it (with the "@"), and the characters behind it up to the next
// space. Without a space in front, the local part and the "@" are lost and
// only the domain part is returned. Only the "@" itself is then taken out of
// the text, so the next call finds the next "@".
const std::string& ScanEngine::ScanAtSign(ScanState& state) {
    std::string& result = scanned_;
    result.clear();
    const size_t at = state.firstAt();
    if (at == ScanState::npos) {
        return result;
    }
    const ScanText& text = state.text;
    const size_t spaceBefore = state.spaceBefore(at, state.atSpaces);
    const size_t spaceAfter = state.spaceAfter(at, state.atSpaces);
    if (spaceAfter == ScanState::npos) {
        SetScanPos(text.rank(at));
        throw InvalidArgumentError();
    }
    SetScanPos(text.keptBetween(at + 1, spaceAfter));
    text.appendKept(result, spaceBefore == ScanState::npos ? at + 1 : spaceBefore + 1, spaceAfter,
                    kAddressCap);
    Yield();
    state.take(at, 1);
    return result;
}

void ScanEngine::ReplaceMailToMarks(ScanState& state) {
    // These replacements are permanent: after the first mailto scan the text
    // holds no ":" or "/" any more, nor can it get them back.
    if (!state.mailToMarksReplaced()) {
        state.replaceMailToMarks();
    }
}

// The address around the first "://": the scheme word after the last space
// in front of it, and everything from the "://" up to the next space. A text
// with no space in front of the "://" is an invalid argument.
const std::string& ScanEngine::ScanWebSite(ScanState& state, TextMarker* marker) {
    std::string& result = scanned_;
    result.clear();
    if (state.mailToMarksReplaced()) {
        return result;
    }
    const size_t at = marker != nullptr ? state.find(*marker) : state.findFromStart("://", false);
    if (at == ScanState::npos) {
        return result;
    }
    const ScanText& text = state.text;
    const size_t spaceBefore = state.spaceBefore(at, state.webSpaces);
    const size_t spaceAfter =
        spaceBefore == ScanState::npos ? ScanState::npos : state.spaceAfter(at, state.webSpaces);
    if (spaceAfter == ScanState::npos) {
        SetScanPos(text.rank(at));
        throw InvalidArgumentError();
    }
    SetScanPos(text.keptBetween(at, spaceAfter));
    text.appendKept(result, spaceBefore + 1, spaceAfter, ScanText::npos);
    Yield();
    state.take(at, 3);
    return result;
}

template <class Scan>
std::string ScanEngine::ScanOnce(Scan scan) {
    ScanState state(std::move(strScanText));
    // The text goes back also when a scanner raises its error.
    const AtExit putBack([&] { strScanText = state.text.release(); });
    LoadProgress();
    return scan(state);
}

std::string ScanEngine::GetEmail() {
    return ScanOnce([this](ScanState& state) { return ScanAtSign(state); });
}

std::string ScanEngine::GetMailTo() {
    return ScanOnce([this](ScanState& state) {
        ReplaceMailToMarks(state);
        return ScanAtSign(state);
    });
}

std::string ScanEngine::GetWebSite() {
    return ScanOnce([this](ScanState& state) { return ScanWebSite(state, nullptr); });
}

std::string ScanEngine::GetKeywordText(const KeywordRecord& keyword) {
    return ScanOnce([&](ScanState& state) { return ScanKeyword(state, keyword, false, nullptr); });
}

std::string ScanEngine::GetKeywordTextToNext(const KeywordRecord& keyword) {
    return ScanOnce([&](ScanState& state) { return ScanKeyword(state, keyword, true, nullptr); });
}

std::string StrippedFileName(const std::string& sourceFileName) {
    std::string name;
    name.reserve(sourceFileName.size() + 4);
    for (char c : sourceFileName) {
        if (c != '.') {
            name += c;
        }
    }
    return name + ".txt";
}

bool WriteStrippedFile(const std::string& strStripDir, const std::string& sourcePath,
                       const std::string& text) {
    if (strStripDir.empty()) {
        return false;
    }
    std::string path = strStripDir;
    if (path.back() != '/') {
        path += '/';
    }
    path += StrippedFileName(std::filesystem::path(sourcePath).filename().string());
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    if (!out) {
        return false;
    }
    out.write(text.data(), static_cast<std::streamsize>(text.size()));
    out.write("\r\n", 2);
    out.close();
    return !out.fail();
}

#include "ReferenceEngine.h"

#include <cstdint>
#include <limits>

#include "EventPump.h"
#include "ProgressBar.h"
#include "ResultTable.h"
#include "RunErrors.h"
#include "TextOps.h"

using textops::Trim;

namespace {

// The "@" scanners cut their result here; GetWebSite does not.
constexpr size_t kAddressCap = 199;

}  // namespace

ReferenceEngine::ReferenceEngine(EventPump& pump, ProgressBar& PBFProgress, Clock& clock)
    : pump_(pump), progress_(PBFProgress), clock_(clock) {}

void ReferenceEngine::SetScanPos(size_t zeroBasedPosition) {
    constexpr size_t kMax = std::numeric_limits<int32_t>::max();
    lngScanPos = static_cast<int32_t>(zeroBasedPosition + 1 > kMax ? kMax : zeroBasedPosition + 1);
}

void ReferenceEngine::ProgressStep(float end) {
    const float v = progress_.value();
    progress_.setValue(v + (end - v) / 10.0f);
}

// The address around the first "@": the characters after the last space in
// front of it (with the "@"), and the characters behind it up to the next
// space. Without a space in front, the local part and the "@" are lost and
// only the domain part is returned. Only the "@" itself is then taken out of
// the text, so the next call finds the next "@".
std::string ReferenceEngine::ScanAtSign() {
    const size_t at = strScanText.find('@');
    if (at == std::string::npos) {
        return {};
    }
    SetScanPos(at);
    const std::string_view text = strScanText;
    const std::string_view head = text.substr(0, at + 1);
    const size_t spaceBefore = head.rfind(' ');
    const std::string_view local =
        spaceBefore == std::string_view::npos ? std::string_view() : Trim(head.substr(spaceBefore));

    const std::string_view behind = text.substr(at + 1);
    const size_t spaceAfter = behind.find(' ');
    if (spaceAfter == std::string_view::npos) {
        throw InvalidArgumentError();
    }
    SetScanPos(spaceAfter);
    const std::string_view domain = Trim(behind.substr(0, spaceAfter));

    std::string result(local.substr(0, kAddressCap));
    result.append(domain.substr(0, kAddressCap - result.size()));
    pump_.yield();
    if (const size_t first = strScanText.find('@'); first != std::string::npos) {
        strScanText.erase(first, 1);
    }
    return result;
}

std::string ReferenceEngine::GetEmail() {
    return ScanAtSign();
}

std::string ReferenceEngine::GetMailTo() {
    // These replacements are permanent: after the first mailto scan the text
    // holds no ":" or "/" any more.
    for (char& c : strScanText) {
        if (c == '<' || c == '>' || c == '=' || c == ':' || c == '/') {
            c = ' ';
        }
    }
    return ScanAtSign();
}

// The address around the first "://": the scheme word after the last space
// in front of it, and everything from the "://" up to the next space. A text
// with no space in front of the "://" is an invalid argument.
std::string ReferenceEngine::GetWebSite() {
    const size_t at = strScanText.find("://");
    if (at == std::string::npos) {
        return {};
    }
    SetScanPos(at);
    const std::string_view text = strScanText;
    const std::string_view head = text.substr(0, at);
    const size_t spaceBefore = head.rfind(' ');
    if (spaceBefore == std::string_view::npos) {
        throw InvalidArgumentError();
    }
    const std::string_view scheme = Trim(head.substr(spaceBefore + 1));

    const std::string_view behind = text.substr(at);
    const size_t spaceAfter = behind.find(' ');
    if (spaceAfter == std::string_view::npos) {
        throw InvalidArgumentError();
    }
    SetScanPos(spaceAfter);
    std::string result(scheme);
    result.append(Trim(behind.substr(0, spaceAfter)));
    pump_.yield();
    if (const size_t first = strScanText.find("://"); first != std::string::npos) {
        strScanText.erase(first, 3);
    }
    return result;
}

bool ReferenceEngine::StoreScanned(ResultTable& rstWF, size_t row, size_t column,
                                   const std::string& value, int& remaining) {
    if (column < rstWF.columnCount()) {
        rstWF.setValue(row, column, value);
    }
    ProgressStep();
    if (value.empty()) {
        --remaining;
    }
    return intCancel != 1;
}

#include "EventPump.h"
#include "ProgressBar.h"
#include "ReferenceEngine.h"
#include "TextOps.h"

using textops::FindNoCase;
using textops::ReplaceAll;

// Removes blocks from the first `open` through the first `close` (both found
// ignoring case), every exact copy of a block at once, until one of the two is
// missing. When the first `close` stands shortly before the first `open`, the
// block is cut from `open` with the length that the distance gives: shorter
// than `open`, or empty, in which case nothing changes and the loop goes on,
// yielding on every pass, until the run is cancelled.
bool ReferenceEngine::RemoveBlocks(const char* open, const char* close, long closeLength) {
    for (;;) {
        pump_.yield();
        if (intCancel == 1) {
            return false;
        }
        const size_t openAt = FindNoCase(strScanText, open);
        const size_t closeAt = FindNoCase(strScanText, close);
        if (openAt == std::string::npos) {
            lngScanPos = 0;
            return true;
        }
        SetScanPos(openAt);
        if (closeAt == std::string::npos) {
            return true;
        }
        const long distance = static_cast<long>(closeAt) - static_cast<long>(openAt);
        if (distance < -closeLength) {
            return true;
        }
        const std::string block =
            strScanText.substr(openAt, static_cast<size_t>(distance + closeLength));
        ReplaceAll(strScanText, block, "");
    }
}

void ReferenceEngine::StripTags() {
    strScanText += ' ';
    if (chkStrip) {
        // The stripped output keeps its paragraphs, line breaks and table rows.
        for (const char* tag : {"<P>", "</P>", "<BR>", "<TR>", "</TR>"}) {
            ReplaceAll(strScanText, tag, "\r\n", true);
        }
        ReplaceAll(strScanText, "\x7f", "");
    }
    if (!RemoveBlocks("<SCRIPT", "SCRIPT>", 7) || !RemoveBlocks("<!", "->", 2)) {
        return;
    }

    const float end = chkStrip ? 100.0f : 50.0f;
    for (;;) {
        pump_.yield();
        if (intCancel == 1) {
            return;
        }
        // One whole tag: the first "<" and the first ">" at or after it. A
        // "<" with no ">" behind it ends the loop, also when a ">" stands in
        // front of it.
        size_t open = strScanText.find('<');
        size_t close = strScanText.find('>');
        if (open != std::string::npos && (close == std::string::npos || open > close)) {
            if (close != std::string::npos) {
                close = strScanText.find('>', open);
            }
            if (close == std::string::npos) {
                open = std::string::npos;
            }
        }
        if (open == std::string::npos) {
            break;
        }
        const std::string tag = strScanText.substr(open, close - open + 1);
        ReplaceAll(strScanText, tag, " ");
        ProgressStep(end);
    }

    // Entities: "&amp;" and "&nbsp;" leave spaces only; "&quot;" leaves the
    // word "quot", which the recording routines remove. The letters "amp" and
    // "nbsp" go from ordinary words as well.
    for (const char* mark : {"&", ",", ";"}) {
        ReplaceAll(strScanText, mark, " ");
    }
    ReplaceAll(strScanText, "amp", "");
    ReplaceAll(strScanText, "nbsp", "");
    progress_.setValue(end);
}

#include "AtExit.h"
#include "EventPump.h"
#include "MarkupRemoval.h"
#include "ProgressBar.h"
#include "ScanEngine.h"
#include "TextOps.h"

using textops::ReplaceAll;

namespace {

using Marks = MarkupRemoval::Marks;

const Marks kScripts{"<SCRIPT", "SCRIPT>", true, false, true};
const Marks kComments{"<!", "->", true, false, true};
const Marks kTags{"<", ">", false, true, false};

}  // namespace

// One removal loop: a yield and a Cancel test before each pass, and in the tag
// loop a progress step after each. A piece of no length in a block loop would
// be removed again and again for ever: the loop then only yields until Cancel.
// False when cancelled.
bool ScanEngine::RemoveMarkup(const MarkupRemoval::Marks& marks) {
    MarkupRemoval removal(std::move(strScanText), marks);
    const AtExit putBack([&] {
        strScanText = removal.release();
        // The block loops leave where they last found an opening mark.
        if (!marks.blocks) {
            return;
        }
        if (removal.scanFound() == MarkupRemoval::Found::None) {
            lngScanPos = 0;
        } else if (removal.scanFound() == MarkupRemoval::Found::At) {
            SetScanPos(removal.scanPos());
        }
    });
    const float end = chkStrip ? 100.0f : 50.0f;
    for (;;) {
        Yield();
        if (intCancel == 1) {
            return false;
        }
        switch (removal.next()) {
            case MarkupRemoval::Pass::Done:
                return true;
            case MarkupRemoval::Pass::Endless:
                if (onEndlessLoop) {
                    onEndlessLoop();
                }
                for (;;) {
                    Yield();
                    if (intCancel == 1) {
                        return false;
                    }
                }
            case MarkupRemoval::Pass::Removed:
                if (marks.toSpace) {
                    ProgressStep(end);
                }
                break;
        }
    }
}

void ScanEngine::StripTags() {
    LoadProgress();
    const AtExit show([this] { ShowProgress(); });
    strScanText += ' ';
    if (chkStrip) {
        // The stripped output keeps its paragraphs, line breaks and table rows.
        for (const char* tag : {"<P>", "</P>", "<BR>", "<TR>", "</TR>"}) {
            ReplaceAll(strScanText, tag, "\r\n", true);
        }
        ReplaceAll(strScanText, "\x7f", "");
    }
    if (!RemoveMarkup(kScripts) || !RemoveMarkup(kComments) || !RemoveMarkup(kTags)) {
        return;
    }
    // Entities: "&amp;" and "&nbsp;" leave spaces only; "&quot;" leaves the
    // word "quot", which the recording routines remove. The letters "amp" and
    // "nbsp" go from ordinary words as well.
    for (char& c : strScanText) {
        c = c == '&' || c == ',' || c == ';' ? ' ' : c;
    }
    ReplaceAll(strScanText, "amp", "");
    ReplaceAll(strScanText, "nbsp", "");
    progressValue_ = chkStrip ? 100.0f : 50.0f;
    progressShown_ = false;
}

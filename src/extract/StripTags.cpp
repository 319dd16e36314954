#include <algorithm>
#include <cstring>

#include "AtExit.h"
#include "ByteSearch.h"
#include "EventPump.h"
#include "MarkupRemoval.h"
#include "ProgressBar.h"
#include "ScanEngine.h"
#include "TextOps.h"

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
bool ScanEngine::RemoveMarkup(const MarkupRemoval::Marks& marks, bool mayHoldMarks) {
    MarkupRemoval removal(std::move(strScanText), marks, mayHoldMarks);
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

namespace {

// The first "amp" at or after `from` in p[0, n), or n.
size_t FindAmp(const char* p, size_t n, size_t from) {
    for (size_t at = from;; ++at) {
        at = bytesearch::FindPair(p, n, at, 'a', false, 'm', false);
        if (at >= n || (n - at >= 3 && p[at + 2] == 'p')) {
            return std::min(at, n);
        }
    }
}

// Turns "&", "," and ";" into spaces, then removes every "amp", then every
// "nbsp", each left to right as a replace-all does, in one pass in place:
// the text between two "amp" is copied down, then searched for "nbsp" where
// it was written. A "nbsp" that removing an "amp" joins together counts (the
// second removal reads what the first leaves), but none that starts before
// the place where the last "nbsp" was taken out ("nbnbspsp" keeps one).
void RemoveEntities(std::string& text) {
    bytesearch::ReplaceBytes(text.data(), text.size(), "&,;", ' ');
    char* data = text.data();
    const size_t n = text.size();
    size_t write = 0;
    size_t barrier = 0;  // no "nbsp" may start before this
    for (size_t read = 0; read <= n;) {
        const size_t amp = FindAmp(data, n, read);
        const size_t written = write;
        if (write != read) {
            std::memmove(data + write, data + read, amp - read);
        }
        write += amp - read;
        for (size_t at = std::max(barrier, written < 3 ? 0 : written - 3);;) {
            at = bytesearch::FindPair(data, write, at, 'n', false, 'b', false);
            if (at >= write) {
                break;
            }
            if (write - at >= 4 && data[at + 2] == 's' && data[at + 3] == 'p') {
                std::memmove(data + at, data + at + 4, write - at - 4);
                write -= 4;
                barrier = at;
            } else {
                ++at;
            }
        }
        read = amp + 3;
    }
    text.resize(write);
}

// Replaces every "<P>", then "</P>", "<BR>", "<TR>" and "</TR>" (ignoring
// case) with a line break, then removes every character 127, in one pass in
// place. Each tag holds a single "<", at its start, so no two of them overlap
// and no line break joins a new one together: matching them all on the text
// as it was gives what the replacements one after the other give, and the
// removal of character 127, which comes after them, joins none that counts.
void KeepLineBreaks(std::string& text) {
    static constexpr std::string_view kTags[] = {"<p>", "</p>", "<br>", "<tr>", "</tr>"};
    char* data = text.data();
    const size_t n = text.size();
    size_t write = 0;
    size_t read = 0;
    while (read < n) {
        const size_t at = bytesearch::FindEither(data, n, read, '<', '\x7f');
        if (write != read) {
            std::memmove(data + write, data + read, at - read);
        }
        write += at - read;
        read = at;
        if (at == n) {
            break;
        }
        if (data[at] == '\x7f') {
            ++read;
            continue;
        }
        const std::string_view rest(data + at, n - at);
        const auto tag = std::find_if(std::begin(kTags), std::end(kTags), [&](std::string_view t) {
            return rest.size() >= t.size() &&
                   bytesearch::SameText(rest.substr(0, t.size()), t, true);
        });
        if (tag != std::end(kTags)) {
            data[write++] = '\r';
            data[write++] = '\n';
            read += tag->size();
        } else {
            data[write++] = '<';
            ++read;
        }
    }
    text.resize(write);
}

}  // namespace

void ScanEngine::StripTags() {
    LoadProgress();
    const AtExit show([this] { ShowProgress(); });
    // Stripping appends a space to the text first. No mark and no removed
    // piece can take in the last character, so the space is appended at the
    // end instead, where the text has usually shrunk and has room for it.
    const AtExit appendSpace([this] { strScanText += ' '; });
    if (chkStrip) {
        // The stripped output keeps its paragraphs, line breaks and table rows.
        KeepLineBreaks(strScanText);
    }
    // Every opening mark starts with "<", and removing mark-up brings in no
    // new "<": a text without one (plain text) needs no search for marks.
    const bool mayHoldMarks = strScanText.find('<') != std::string::npos;
    if (!RemoveMarkup(kScripts, mayHoldMarks) || !RemoveMarkup(kComments, mayHoldMarks) ||
        !RemoveMarkup(kTags, mayHoldMarks)) {
        return;
    }
    // Entities: "&amp;" and "&nbsp;" leave spaces only; "&quot;" leaves the
    // word "quot", which the recording routines remove. The letters "amp" and
    // "nbsp" go from ordinary words as well.
    RemoveEntities(strScanText);
    progressValue_ = chkStrip ? 100.0f : 50.0f;
    progressShown_ = false;
}

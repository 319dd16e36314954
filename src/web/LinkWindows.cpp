#include "LinkWindows.h"

#include <algorithm>
#include <map>
#include <optional>
#include <set>
#include <utility>
#include <vector>

namespace {

// Elements that may stand open around a window's end: containers in which
// the parser treats what follows like any body content.
bool Neutral(GumboTag tag) {
    switch (tag) {
        case GUMBO_TAG_HTML:
        case GUMBO_TAG_HEAD:
        case GUMBO_TAG_BODY:
        case GUMBO_TAG_DIV:
        case GUMBO_TAG_SPAN:
        case GUMBO_TAG_P:
        case GUMBO_TAG_UL:
        case GUMBO_TAG_OL:
        case GUMBO_TAG_LI:
        case GUMBO_TAG_DL:
        case GUMBO_TAG_DT:
        case GUMBO_TAG_DD:
        case GUMBO_TAG_SECTION:
        case GUMBO_TAG_ARTICLE:
        case GUMBO_TAG_ASIDE:
        case GUMBO_TAG_NAV:
        case GUMBO_TAG_HEADER:
        case GUMBO_TAG_FOOTER:
        case GUMBO_TAG_MAIN:
        case GUMBO_TAG_CENTER:
        case GUMBO_TAG_BLOCKQUOTE:
        case GUMBO_TAG_ADDRESS:
        case GUMBO_TAG_FIGURE:
        case GUMBO_TAG_FIGCAPTION:
        case GUMBO_TAG_H1:
        case GUMBO_TAG_H2:
        case GUMBO_TAG_H3:
        case GUMBO_TAG_H4:
        case GUMBO_TAG_H5:
        case GUMBO_TAG_H6:
        case GUMBO_TAG_HGROUP:
        case GUMBO_TAG_FORM:
        case GUMBO_TAG_FIELDSET:
        case GUMBO_TAG_DETAILS:
        case GUMBO_TAG_SUMMARY:
        case GUMBO_TAG_TABLE:
        case GUMBO_TAG_TBODY:
        case GUMBO_TAG_THEAD:
        case GUMBO_TAG_TFOOT:
        case GUMBO_TAG_TR:
        case GUMBO_TAG_TD:
        case GUMBO_TAG_TH:
            return true;
        default:
            return false;
    }
}

bool TableTag(GumboTag tag) {
    return tag == GUMBO_TAG_TABLE || tag == GUMBO_TAG_TBODY || tag == GUMBO_TAG_THEAD ||
           tag == GUMBO_TAG_TFOOT || tag == GUMBO_TAG_TR || tag == GUMBO_TAG_TD ||
           tag == GUMBO_TAG_TH;
}

// Elements whose content the tokenizer reads as text up to their end tag.
bool RawText(GumboTag tag) {
    switch (tag) {
        case GUMBO_TAG_SCRIPT:
        case GUMBO_TAG_STYLE:
        case GUMBO_TAG_TEXTAREA:
        case GUMBO_TAG_TITLE:
        case GUMBO_TAG_XMP:
        case GUMBO_TAG_IFRAME:
        case GUMBO_TAG_NOEMBED:
        case GUMBO_TAG_NOFRAMES:
        case GUMBO_TAG_NOSCRIPT:
        case GUMBO_TAG_PLAINTEXT:
            return true;
        default:
            return false;
    }
}

// Elements that start a new list of formatting elements to copy.
bool Marker(GumboTag tag) {
    return tag == GUMBO_TAG_TD || tag == GUMBO_TAG_TH || tag == GUMBO_TAG_CAPTION ||
           tag == GUMBO_TAG_OBJECT || tag == GUMBO_TAG_APPLET || tag == GUMBO_TAG_MARQUEE ||
           tag == GUMBO_TAG_TEMPLATE;
}

bool Formatting(GumboTag tag) {
    switch (tag) {
        case GUMBO_TAG_A:
        case GUMBO_TAG_B:
        case GUMBO_TAG_BIG:
        case GUMBO_TAG_CODE:
        case GUMBO_TAG_EM:
        case GUMBO_TAG_FONT:
        case GUMBO_TAG_I:
        case GUMBO_TAG_NOBR:
        case GUMBO_TAG_S:
        case GUMBO_TAG_SMALL:
        case GUMBO_TAG_STRIKE:
        case GUMBO_TAG_STRONG:
        case GUMBO_TAG_TT:
        case GUMBO_TAG_U:
            return true;
        default:
            return false;
    }
}

// The parser's copies of a formatting element: made again for content
// after the original closed, or by the rules that repair misnested tags.
// A copy carries the original's position.
bool Copy(const GumboNode* node) {
    return (node->parse_flags & (GUMBO_INSERTION_RECONSTRUCTED_FORMATTING_ELEMENT |
                                 GUMBO_INSERTION_ADOPTION_AGENCY_CLONED)) != 0;
}

bool Repaired(const GumboNode* node) {
    return (node->parse_flags & GUMBO_INSERTION_ADOPTION_AGENCY_CLONED) != 0;
}

// Where an element came into being: its start tag, or for a copy the content
// it was made for, its first child that is not a copy itself (a copy made
// for no content at all is placed where it closed).
size_t MadeAt(const GumboNode* node) {
    while (Copy(node)) {
        const GumboVector& children = node->v.element.children;
        if (children.length == 0) {
            return node->v.element.end_pos.offset;
        }
        const auto* child = static_cast<const GumboNode*>(children.data[0]);
        if (child->type != GUMBO_NODE_ELEMENT && child->type != GUMBO_NODE_TEMPLATE) {
            return child->v.text.start_pos.offset;
        }
        node = child;
    }
    return node->v.element.start_pos.offset;
}

// An element of a window's tree as the search for a cut sees it.
struct Span {
    const GumboNode* node;
    size_t start;  // where it came into being
    size_t end;    // where the token that closed it starts
    long scope;    // the innermost cell (or other marker element) around it; -1 for none
    bool html;
    bool ownEnd;  // closed by its own end tag
    // It can be open around a cut: the next window opens it again in front.
    bool reopens;
    bool candidate;  // made by a start tag of the text itself, after `from`
    GumboTag tag() const { return node->v.element.tag; }
    // Open at p: start < p <= end (an element without content never is).
    bool open(size_t p) const { return start < p && p <= end && start < end; }
};

// Whether the element was closed by its own end tag. gumbo records the
// token that closed an element only when it pops it; the repairs of
// misnested tags take elements off without a record, and the parser's copies
// start with their original's record.
bool OwnEnd(const GumboElement& e, std::string_view text) {
    const GumboStringPiece& tag = e.original_end_tag;
    const std::string_view name = gumbo_normalized_tagname(e.tag);
    if (tag.data != text.data() + e.end_pos.offset || tag.length < name.size() + 3) {
        return false;
    }
    for (size_t i = 0; i < name.size(); ++i) {
        if ((tag.data[i + 2] | 0x20) != name[i]) {
            return false;
        }
    }
    const char after = tag.data[name.size() + 2];
    return after == '>' || after == '/' || after == ' ' || after == '\t' || after == '\n' ||
           after == '\r' || after == '\f';
}

std::vector<Span> Spans(const GumboNode* root, std::string_view text, size_t from) {
    std::vector<Span> spans;  // in document order
    std::vector<std::pair<const GumboNode*, long>> pending{{root, -1}};
    while (!pending.empty()) {
        const auto [node, scope] = pending.back();
        pending.pop_back();
        if (node->type != GUMBO_NODE_ELEMENT && node->type != GUMBO_NODE_TEMPLATE) {
            continue;
        }
        const GumboElement& e = node->v.element;
        const size_t start = MadeAt(node);
        const bool html = e.tag_namespace == GUMBO_NAMESPACE_HTML;
        const unsigned madeUp = GUMBO_INSERTION_BY_PARSER | GUMBO_INSERTION_CONVERTED_FROM_END_TAG;
        spans.push_back({node, start, std::max(start, static_cast<size_t>(e.end_pos.offset)), scope,
                         html, OwnEnd(e, text),
                         html && (Neutral(e.tag) || (Formatting(e.tag) && e.tag != GUMBO_TAG_A)) &&
                             !Repaired(node),
                         (node->parse_flags & madeUp) == 0 && start > from && start < text.size() &&
                             e.original_tag.length > 0 &&
                             e.original_tag.data == text.data() + start});
        const long inner = html && Marker(e.tag) ? static_cast<long>(spans.size() - 1) : scope;
        for (unsigned i = e.children.length; i > 0; --i) {
            pending.push_back({static_cast<const GumboNode*>(e.children.data[i - 1]), inner});
        }
    }
    return spans;
}

// Where an `a` may stand in the parser's way: open, or kept in its list of
// formatting elements to be copied into what follows. The parser copies an
// `a` closed by anything but its own end tag until the next `a` within the
// same cell (or, with no cell around, outside any) or the end of its cell;
// an `a` and its copies share the original's position, and the copy made
// last tells where the `a` stands. Each pair (from, to) says: at the places
// p with from < p <= to.
std::vector<std::pair<size_t, size_t>> AnchorsInTheWay(const std::vector<Span>& spans) {
    std::map<size_t, std::vector<const Span*>> anchors;  // by the original's position
    for (const Span& s : spans) {
        if (s.html && s.tag() == GUMBO_TAG_A) {
            anchors[s.node->v.element.start_pos.offset].push_back(&s);
        }
    }
    std::map<long, size_t> newest;   // scope -> the last `a` begun in it so far
    std::map<size_t, size_t> until;  // original's position -> last place it can matter
    for (const auto& [position, copies] : anchors) {
        const long scope = copies.front()->scope;
        if (auto it = newest.find(scope); it != newest.end()) {
            until[it->second] = position;  // the new `a` takes the old one off the list
        }
        newest[scope] = position;
        until[position] = SIZE_MAX;
        if (scope >= 0 &&
            spans[static_cast<size_t>(scope)].end >= spans[static_cast<size_t>(scope)].start) {
            until[position] = spans[static_cast<size_t>(scope)].end;  // the cell's end clears it
        }
    }
    std::vector<std::pair<size_t, size_t>> ways;
    for (auto& [position, copies] : anchors) {
        std::sort(copies.begin(), copies.end(),
                  [](const Span* a, const Span* b) { return a->start < b->start; });
        const size_t last = until.at(position);
        for (size_t i = 0; i < copies.size(); ++i) {
            const Span& copy = *copies[i];
            // This copy is the latest from its start to the next copy's.
            const size_t next = i + 1 < copies.size() ? copies[i + 1]->start : SIZE_MAX;
            const size_t to = std::min(copy.ownEnd ? copy.end : next, std::min(next, last));
            if (copy.start < to) {
                ways.push_back({copy.start, to});
            }
        }
    }
    return ways;
}

// Start tags that open again, in front of the next window, the elements open
// at the cut; inside a script or the like, that element too.
std::string Reopen(const std::vector<Span>& spans, size_t p) {
    std::string text;
    const Span* innermost = nullptr;
    for (const Span& s : spans) {  // outer elements first
        if (s.open(p)) {
            innermost = &s;
            if (s.reopens) {
                text += '<' + std::string(gumbo_normalized_tagname(s.tag())) + '>';
            }
        }
    }
    if (innermost && innermost->html && RawText(innermost->tag())) {
        text += '<' + std::string(gumbo_normalized_tagname(innermost->tag())) + '>';
    }
    return text;
}

}  // namespace

// Where the window `text` (its first `from` bytes reopening what was open
// before it) may end so that the next window can be parsed on its own, with
// the elements open there opened again in front of it: the start of a start
// tag, so the tokenizer is in plain text there, at which, ranked best first,
//  0. every element still open can be opened again, any table open around
//     it is entered through a cell, and no `a` is open or waits to be copied
//     into what follows;
//  1. as 0, but inside a table outside any cell, where stray content would
//     be moved before the table;
//  2. any other start tag.
// The latest place of the best rank in the last three quarters of the
// window wins; failing that, of the whole window; failing even that (no
// start tag at all), a place before the window's last '<'.
Cut Boundary(const GumboNode* root, std::string_view text, size_t from) {
    const std::vector<Span> spans = Spans(root, text, from);
    auto order = [&](auto key) {
        std::vector<size_t> indexes(spans.size());
        for (size_t i = 0; i < indexes.size(); ++i) {
            indexes[i] = i;
        }
        std::stable_sort(indexes.begin(), indexes.end(),
                         [&](size_t a, size_t b) { return key(spans[a]) < key(spans[b]); });
        return indexes;
    };
    const auto opens = order([](const Span& s) { return s.start; });
    const auto closes = order([](const Span& s) { return s.end; });
    // Each reach of an `a` as two events: in the way after `after`, out of
    // it after `until`.
    std::vector<std::pair<size_t, int>> anchorEvents;
    for (const auto& [after, until] : AnchorsInTheWay(spans)) {
        anchorEvents.push_back({after, 1});
        if (until != SIZE_MAX) {
            anchorEvents.push_back({until, -1});
        }
    }
    std::sort(anchorEvents.begin(), anchorEvents.end());

    size_t opened = 0;
    size_t closed = 0;
    size_t anchorEvent = 0;
    long fixed = 0;                              // open elements that cannot be opened again
    long inTheWay = 0;                           // `a` elements
    std::set<std::pair<size_t, size_t>> tables;  // open table elements by start
    const size_t early = from + (text.size() - from) / 4;
    std::optional<std::pair<int, size_t>> best;  // rank and place, in the last three quarters
    std::optional<std::pair<int, size_t>> anywhere;
    auto better = [](const std::optional<std::pair<int, size_t>>& old, int rank, size_t place) {
        return !old || rank < old->first || (rank == old->first && place > old->second);
    };
    for (size_t i : opens) {
        const size_t p = spans[i].start;
        if (!spans[i].candidate) {
            continue;
        }
        for (; opened < opens.size() && spans[opens[opened]].start < p; ++opened) {
            const Span& s = spans[opens[opened]];
            if (s.start < s.end) {
                fixed += s.reopens ? 0 : 1;
                if (s.html && TableTag(s.tag())) {
                    tables.insert({s.start, opens[opened]});
                }
            }
        }
        for (; closed < closes.size() && spans[closes[closed]].end < p; ++closed) {
            const Span& s = spans[closes[closed]];
            if (s.start < s.end) {
                fixed -= s.reopens ? 0 : 1;
                tables.erase({s.start, closes[closed]});
            }
        }
        for (; anchorEvent < anchorEvents.size() && anchorEvents[anchorEvent].first < p;
             ++anchorEvent) {
            inTheWay += anchorEvents[anchorEvent].second;
        }
        const GumboTag inner = tables.empty() ? GUMBO_TAG_TD : spans[tables.rbegin()->second].tag();
        const int rank = fixed > 0 || inTheWay > 0                        ? 2
                         : inner == GUMBO_TAG_TD || inner == GUMBO_TAG_TH ? 0
                                                                          : 1;
        if (p >= early && better(best, rank, p)) {
            best = {rank, p};
        }
        if (better(anywhere, rank, p)) {
            anywhere = {rank, p};
        }
    }
    size_t at = best ? best->second : anywhere ? anywhere->second : text.size();
    if (!anywhere) {
        // No start tag at all: the window lies inside one long text, most
        // likely a script. It ends before its last '<', so that no end tag
        // is cut in two.
        const size_t last = text.rfind('<');
        at = last != std::string_view::npos && last >= early ? last : text.size();
    }
    return {at, Reopen(spans, at)};
}

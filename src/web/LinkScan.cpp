#include "LinkScan.h"

#include "LinkWindows.h"

#include <gumbo.h>

#include <algorithm>
#include <csetjmp>
#include <cstdlib>
#include <map>
#include <optional>
#include <set>
#include <utility>
#include <vector>

namespace {

constexpr size_t kSmallestWindowBytes = 16 * 1024;

// The memory of one parse. gumbo's many small allocations are carved from
// large blocks that all go back at once, so the tree is freed without a walk
// (gumbo's own walk recurses, and a deeply nested page would overflow the
// stack), and a cap on the blocks bounds what one parse may take.
class Arena {
public:
    explicit Arena(size_t cap) : cap_(cap) {}
    ~Arena() {
        while (blocks_) {
            Block* block = blocks_;
            blocks_ = block->previous;
            std::free(block);
        }
    }
    Arena(const Arena&) = delete;
    Arena& operator=(const Arena&) = delete;

    // nullptr when the memory would pass the cap.
    void* allocate(size_t size) {
        if (size > cap_) {
            return nullptr;
        }
        size = (size + kAlign - 1) & ~(kAlign - 1);
        if (size <= left_) {
            void* memory = next_;
            next_ += size;
            left_ -= size;
            return memory;
        }
        if (size > kBlockBytes / 4) {
            return newBlock(size);  // a block of its own; the current block stays in use
        }
        char* block = newBlock(kBlockBytes);
        if (block) {
            next_ = block + size;
            left_ = kBlockBytes - size;
        }
        return block;
    }

    std::jmp_buf escape;

private:
    struct alignas(16) Block {
        Block* previous;
    };
    static constexpr size_t kAlign = 16;
    static constexpr size_t kBlockBytes = 1024 * 1024;

    char* newBlock(size_t size) {
        if (used_ + size > cap_) {
            return nullptr;
        }
        auto* block = static_cast<Block*>(std::malloc(sizeof(Block) + size));
        if (!block) {
            return nullptr;
        }
        block->previous = blocks_;
        blocks_ = block;
        used_ += size;
        return reinterpret_cast<char*>(block + 1);
    }

    size_t cap_;
    size_t used_ = 0;
    Block* blocks_ = nullptr;
    char* next_ = nullptr;
    size_t left_ = 0;
};

void* ArenaAllocate(void* userdata, size_t size) {
    auto* arena = static_cast<Arena*>(userdata);
    void* memory = arena->allocate(size);
    if (!memory) {
        std::longjmp(arena->escape, 1);
    }
    return memory;
}

void ArenaRelease(void*, void*) {}

// gumbo has no way to report that memory ran out. When the arena refuses, it
// jumps back here past gumbo's frames (plain C, with nothing to unwind), the
// parse is abandoned, and everything gumbo took is the arena's to free.
GumboOutput* Parse(Arena& arena, std::string_view html) {
    GumboOptions options = kGumboDefaultOptions;
    options.allocator = ArenaAllocate;
    options.deallocator = ArenaRelease;
    options.userdata = &arena;
    options.max_errors = 0;  // the errors are of no use here, and a broken page has many
    if (setjmp(arena.escape) != 0) {
        return nullptr;
    }
    return gumbo_parse_with_options(&options, html.data(), html.size());
}

// Calls `visit` with every element of the tree under `root` in document
// order. A loop rather than recursion, for deeply nested pages.
template <class Visit>
void EachElement(const GumboNode* root, Visit visit) {
    std::vector<const GumboNode*> pending{root};
    while (!pending.empty()) {
        const GumboNode* node = pending.back();
        pending.pop_back();
        if (node->type != GUMBO_NODE_ELEMENT && node->type != GUMBO_NODE_TEMPLATE) {
            continue;
        }
        visit(node);
        const GumboVector& children = node->v.element.children;
        for (unsigned i = children.length; i > 0; --i) {
            pending.push_back(static_cast<const GumboNode*>(children.data[i - 1]));
        }
    }
}

const char* Href(const GumboElement& element) {
    const GumboAttribute* href = gumbo_get_attribute(&element.attributes, "href");
    return href ? href->value : nullptr;
}

// Adds the links of the elements that start between `from` and `end` (the
// parser's copies of an `a` with their original), and the first
// `<base href>` when none was found yet; false once the links would take
// more than `budget`.
bool Collect(const GumboNode* root, size_t from, size_t end, size_t addressBytes, size_t budget,
             LinkScan& scan) {
    bool room = true;
    EachElement(root, [&](const GumboNode* node) {
        const GumboElement& element = node->v.element;
        const size_t at = element.start_pos.offset;
        const bool inside = at >= from && at < end;
        if (!room || !inside) {
            return;
        }
        if (const char* href = Href(element)) {
            if (element.tag == GUMBO_TAG_A || element.tag == GUMBO_TAG_AREA) {
                const std::string_view text(href);
                // A resolved link: a string, the address it is resolved
                // against and the href, and the allocator's share.
                scan.weight += sizeof(std::string) + 16 + addressBytes + text.size();
                if (scan.weight > budget) {
                    room = false;
                    return;
                }
                scan.hrefs += text;
                scan.ends.push_back(scan.hrefs.size());
            } else if (element.tag == GUMBO_TAG_BASE && !scan.base) {
                scan.base = href;
            }
        }
    });
    return room;
}

QUrl Url(std::string_view text) {
    return QUrl(QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size())).trimmed());
}

}  // namespace

LinkScan ScanLinks(std::string_view html, const QUrl& pageUrl, const LinkScanLimits& limits) {
    LinkScan scan;
    const size_t addressBytes = static_cast<size_t>(pageUrl.toEncoded().size());
    std::string doctype;  // tells later windows whether the page is parsed in quirks mode
    std::string reopen;
    std::string buffer;  // a later window behind the tags that reopen what was open before it
    size_t windowBytes = limits.windowBytes;
    size_t start = 0;
    while (start < html.size()) {
        std::string_view window = html.substr(start);
        const bool last = window.size() <= windowBytes + windowBytes / 2;
        if (!last) {
            window = window.substr(0, windowBytes);
        }
        std::string_view text = window;
        if (start > 0) {
            buffer.assign(doctype).append(reopen).append(window);
            text = buffer;
        }
        Arena arena(limits.treeBytes);
        const GumboOutput* output = Parse(arena, text);
        if (!output) {
            // Markup as dense as it gets takes some 30 times its size: the
            // rest of the page goes in smaller windows. Only markup that
            // makes the parser copy elements over and over fails even in
            // the smallest.
            if (windowBytes <= kSmallestWindowBytes) {
                break;
            }
            windowBytes /= 2;
            continue;
        }
        if (start == 0) {
            const bool quirks =
                output->document->v.document.doc_type_quirks_mode == GUMBO_DOCTYPE_QUIRKS;
            doctype = quirks ? "" : "<!DOCTYPE html>";
        }
        const size_t from = text.size() - window.size();
        const Cut cut = last ? Cut{std::string_view::npos, {}} : Boundary(output->root, text, from);
        if (!Collect(output->root, from, cut.at, addressBytes, limits.linkBytes, scan) || last) {
            break;
        }
        start += cut.at - from;
        reopen = cut.reopen;
    }
    return scan;
}

std::vector<std::string> ResolveLinks(const LinkScan& scan, const QUrl& pageUrl) {
    const QUrl baseUrl = scan.base ? pageUrl.resolved(Url(*scan.base)) : pageUrl;
    std::vector<std::string> links;
    links.reserve(scan.ends.size());
    size_t begin = 0;
    for (size_t end : scan.ends) {
        const QUrl href = Url(std::string_view(scan.hrefs).substr(begin, end - begin));
        links.push_back(baseUrl.resolved(href).toString(QUrl::FullyEncoded).toStdString());
        begin = end;
    }
    return links;
}

std::vector<std::string> ExtractLinks(std::string_view html, const QUrl& pageUrl,
                                      const LinkScanLimits& limits) {
    return ResolveLinks(ScanLinks(html, pageUrl, limits), pageUrl);
}

#include "SpillList.h"

#include <cstdint>
#include <cstring>
#include <stdexcept>

namespace harvest {
namespace {

void putNumber(std::string& out, std::uint64_t n) {
    char bytes[8];
    std::memcpy(bytes, &n, 8);
    out.append(bytes, 8);
}

void putText(std::string& out, std::string_view text) {
    putNumber(out, text.size());
    out.append(text);
}

void putOptional(std::string& out, const std::optional<int>& n) {
    putNumber(out,
              n ? static_cast<std::uint64_t>(static_cast<std::uint32_t>(*n)) | (1ull << 32) : 0);
}

// Reads back what the put functions wrote; false once the bytes run out.
class Reader {
public:
    explicit Reader(std::string_view in) : in_(in) {}
    bool number(std::uint64_t& n) {
        if (in_.size() < 8) {
            return false;
        }
        std::memcpy(&n, in_.data(), 8);
        in_.remove_prefix(8);
        return true;
    }
    bool text(std::string& s) {
        std::uint64_t n = 0;
        if (!number(n) || in_.size() < n) {
            return false;
        }
        s.assign(in_.data(), n);
        in_.remove_prefix(n);
        return true;
    }
    bool optional(std::optional<int>& v) {
        std::uint64_t n = 0;
        if (!number(n)) {
            return false;
        }
        v = (n >> 32) ? std::optional<int>(static_cast<int>(static_cast<std::uint32_t>(n)))
                      : std::nullopt;
        return true;
    }
    bool integer(std::int64_t& v) {
        std::uint64_t n = 0;
        bool ok = number(n);
        v = static_cast<std::int64_t>(n);
        return ok;
    }

private:
    std::string_view in_;
};

}  // namespace

SpillBytes::SpillBytes(std::size_t memoryLimit) : memoryLimit_(memoryLimit) {}

SpillBytes::~SpillBytes() {
    if (file_) {
        std::fclose(file_);
    }
}

void SpillBytes::append(std::string_view record) {
    putText(memory_, record);
    if (memory_.size() >= memoryLimit_) {
        spill();
    }
}

void SpillBytes::appendRun(std::string_view run) {
    memory_.append(run);
    if (memory_.size() >= memoryLimit_) {
        spill();
    }
}

void forEachEncoded(std::string_view run, const std::function<void(std::string_view)>& each) {
    while (run.size() >= 8) {
        std::uint64_t n = 0;
        std::memcpy(&n, run.data(), 8);
        if (run.size() < 8 + n) {
            return;
        }
        each(run.substr(8, n));
        run.remove_prefix(8 + n);
    }
}

void shiftSightings(std::string& run, std::int64_t lineDelta, int messageDelta,
                    std::int64_t offsetDelta) {
    // The layout of encodeRecord(Sighting): flags, five texts (address, name,
    // domain, kind, source), page, message, two texts (Message-ID, field),
    // line, offset, context; a text is its length and its bytes.
    auto number = [&](std::size_t at) {
        std::uint64_t n = 0;
        std::memcpy(&n, run.data() + at, 8);
        return n;
    };
    auto put = [&](std::size_t at, std::uint64_t n) { std::memcpy(run.data() + at, &n, 8); };
    std::size_t at = 0;
    while (at + 8 <= run.size()) {
        const std::size_t end = at + 8 + number(at);
        std::size_t field = at + 8 + 8;  // past the length and the flags
        for (int text = 0; text < 5; ++text) {
            field += 8 + number(field);
        }
        field += 8;  // the page
        const std::uint64_t message = number(field);
        if ((message >> 32) != 0 && messageDelta != 0) {
            const auto shifted =
                static_cast<std::uint32_t>(message) + static_cast<std::uint32_t>(messageDelta);
            put(field, shifted | (1ull << 32));
        }
        field += 8;
        for (int text = 0; text < 2; ++text) {
            field += 8 + number(field);
        }
        put(field, number(field) + static_cast<std::uint64_t>(lineDelta));
        field += 8;
        put(field, number(field) + static_cast<std::uint64_t>(offsetDelta));
        at = end;
    }
}

void SpillBytes::spill() {
    if (!file_) {
        file_ = std::tmpfile();
        if (!file_) {
            throw std::runtime_error("no temporary file for the harvest's records");
        }
    }
    std::fseek(file_, 0, SEEK_END);
    if (std::fwrite(memory_.data(), 1, memory_.size(), file_) != memory_.size()) {
        throw std::runtime_error("the temporary file for the harvest's records is full");
    }
    memory_.clear();
}

void SpillBytes::forEach(const std::function<void(std::string_view)>& each) const {
    auto walk = [&](std::string_view bytes, std::string& carry) {
        // carry holds the start of a record cut by the end of the last block.
        carry.append(bytes);
        std::string_view rest = carry;
        while (rest.size() >= 8) {
            std::uint64_t n = 0;
            std::memcpy(&n, rest.data(), 8);
            if (rest.size() < 8 + n) {
                break;
            }
            each(rest.substr(8, n));
            rest.remove_prefix(8 + n);
        }
        carry.erase(0, carry.size() - rest.size());
    };
    std::string carry;
    if (file_) {
        std::fflush(file_);
        std::fseek(file_, 0, SEEK_SET);
        std::string block(1 << 20, '\0');
        for (;;) {
            std::size_t got = std::fread(block.data(), 1, block.size(), file_);
            if (got == 0) {
                break;
            }
            walk(std::string_view(block.data(), got), carry);
        }
    }
    walk(memory_, carry);
}

void encodeRecord(const Sighting& s, std::string& out) {
    putNumber(out, static_cast<std::uint64_t>(s.what) | (s.reserved ? 0x100u : 0u));
    putText(out, s.address);
    putText(out, s.name);
    putText(out, s.domain);
    putText(out, s.kind);
    putText(out, s.origin.source);
    putOptional(out, s.origin.page);
    putOptional(out, s.origin.message);
    putText(out, s.origin.messageId);
    putText(out, s.origin.field);
    putNumber(out, static_cast<std::uint64_t>(s.line));
    putNumber(out, static_cast<std::uint64_t>(s.offset));
    putText(out, s.context);
    putText(out, s.origin.referrer);
    putOptional(out, s.origin.depth);
}

bool decodeRecord(std::string_view in, Sighting& s) {
    Reader r(in);
    std::uint64_t flags = 0;
    bool ok = r.number(flags) && r.text(s.address) && r.text(s.name) && r.text(s.domain) &&
              r.text(s.kind) && r.text(s.origin.source) && r.optional(s.origin.page) &&
              r.optional(s.origin.message) && r.text(s.origin.messageId) &&
              r.text(s.origin.field) && r.integer(s.line) && r.integer(s.offset) &&
              r.text(s.context) && r.text(s.origin.referrer) && r.optional(s.origin.depth);
    s.what = static_cast<FindKind>(flags & 0xFF);
    s.reserved = (flags & 0x100u) != 0;
    return ok;
}

void encodeRecord(const SourceInfo& s, std::string& out) {
    putText(out, s.path);
    putText(out, s.kind);
    putNumber(out, static_cast<std::uint64_t>(s.bytes));
}

bool decodeRecord(std::string_view in, SourceInfo& s) {
    Reader r(in);
    return r.text(s.path) && r.text(s.kind) && r.integer(s.bytes);
}

}  // namespace harvest

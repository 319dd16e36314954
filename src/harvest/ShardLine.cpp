// One line of a JSON Lines shard into a Sighting. The objects are flat and
// their keys known, so a small parser reads the values straight into the
// sighting's strings; values under keys it does not know are checked and
// skipped.
#include <charconv>
#include <limits>

#include "ShardReader.h"

namespace harvest {

namespace {

constexpr int kMaxNesting = 64;

// A scalar as read: what it was, and its text or whole number.
struct Value {
    enum class Type { Null, String, Integer, Fraction, Boolean, Composite };
    Type type = Type::Null;
    std::int64_t integer = 0;
};

void appendUtf8(std::string& out, std::uint32_t cp) {
    if (cp < 0x80) {
        out += static_cast<char>(cp);
    } else if (cp < 0x800) {
        out += static_cast<char>(0xC0 | (cp >> 6));
        out += static_cast<char>(0x80 | (cp & 0x3F));
    } else if (cp < 0x10000) {
        out += static_cast<char>(0xE0 | (cp >> 12));
        out += static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (cp & 0x3F));
    } else {
        out += static_cast<char>(0xF0 | (cp >> 18));
        out += static_cast<char>(0x80 | ((cp >> 12) & 0x3F));
        out += static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (cp & 0x3F));
    }
}

class JsonCursor {
public:
    explicit JsonCursor(std::string_view text) : s_(text) {}

    void skipSpace() {
        while (p_ < s_.size() &&
               (s_[p_] == ' ' || s_[p_] == '\t' || s_[p_] == '\r' || s_[p_] == '\n')) {
            ++p_;
        }
    }
    bool take(char c) {
        skipSpace();
        if (p_ < s_.size() && s_[p_] == c) {
            ++p_;
            return true;
        }
        return false;
    }
    bool atEnd() {
        skipSpace();
        return p_ == s_.size();
    }

    // A string after its opening quote, unescaped into out.
    bool string(std::string& out) {
        out.clear();
        for (;;) {
            // The plain run up to a quote or a backslash is copied whole.
            std::size_t stop = p_;
            unsigned char c = 0;
            while (stop < s_.size()) {
                c = static_cast<unsigned char>(s_[stop]);
                if (c == '"' || c == '\\' || c < 0x20) {
                    break;
                }
                ++stop;
            }
            out.append(s_.substr(p_, stop - p_));
            p_ = stop;
            if (p_ == s_.size() || c < 0x20) {
                return false;  // no closing quote, or a raw control character
            }
            ++p_;
            if (c == '"') {
                return true;
            }
            if (!escape(out)) {
                return false;
            }
        }
    }

    // Any value; a string's text goes to text, a composite is checked and skipped.
    bool value(Value& v, std::string& text, int depth = 0) {
        skipSpace();
        if (p_ >= s_.size() || depth > kMaxNesting) {
            return false;
        }
        const char c = s_[p_];
        if (c == '"') {
            ++p_;
            v.type = Value::Type::String;
            return string(text);
        }
        if (c == '{' || c == '[') {
            v.type = Value::Type::Composite;
            return composite(depth);
        }
        if (word("null")) {
            v.type = Value::Type::Null;
            return true;
        }
        if (word("true") || word("false")) {
            v.type = Value::Type::Boolean;
            return true;
        }
        return number(v);
    }

private:
    bool word(std::string_view w) {
        if (s_.substr(p_, w.size()) == w) {
            p_ += w.size();
            return true;
        }
        return false;
    }

    bool hex4(std::uint32_t& out) {
        if (p_ + 4 > s_.size()) {
            return false;
        }
        out = 0;
        for (int i = 0; i < 4; ++i) {
            const char c = s_[p_++];
            const int d = c >= '0' && c <= '9'   ? c - '0'
                          : c >= 'a' && c <= 'f' ? c - 'a' + 10
                          : c >= 'A' && c <= 'F' ? c - 'A' + 10
                                                 : -1;
            if (d < 0) {
                return false;
            }
            out = out * 16 + static_cast<std::uint32_t>(d);
        }
        return true;
    }

    bool escape(std::string& out) {
        if (p_ >= s_.size()) {
            return false;
        }
        const char c = s_[p_++];
        switch (c) {
            case '"':
            case '\\':
            case '/':
                out += c;
                return true;
            case 'b':
                out += '\b';
                return true;
            case 'f':
                out += '\f';
                return true;
            case 'n':
                out += '\n';
                return true;
            case 'r':
                out += '\r';
                return true;
            case 't':
                out += '\t';
                return true;
            case 'u':
                break;
            default:
                return false;
        }
        std::uint32_t cp = 0;
        if (!hex4(cp)) {
            return false;
        }
        if (cp >= 0xD800 && cp < 0xDC00 && s_.substr(p_, 2) == "\\u") {
            const std::size_t back = p_;
            p_ += 2;
            std::uint32_t low = 0;
            if (hex4(low) && low >= 0xDC00 && low < 0xE000) {
                appendUtf8(out, 0x10000 + ((cp - 0xD800) << 10) + (low - 0xDC00));
                return true;
            }
            p_ = back;  // the next escape is read on its own
        }
        appendUtf8(out, cp >= 0xD800 && cp < 0xE000 ? 0xFFFD : cp);  // a lone surrogate
        return true;
    }

    bool number(Value& v) {
        const std::size_t start = p_;
        if (p_ < s_.size() && s_[p_] == '-') {
            ++p_;
        }
        const std::size_t digits = p_;
        while (p_ < s_.size() && s_[p_] >= '0' && s_[p_] <= '9') {
            ++p_;
        }
        if (p_ == digits || (s_[digits] == '0' && p_ - digits > 1)) {
            return false;
        }
        const std::size_t intEnd = p_;
        if (p_ < s_.size() && s_[p_] == '.') {
            if (!moreDigits()) {
                return false;
            }
        }
        if (p_ < s_.size() && (s_[p_] == 'e' || s_[p_] == 'E')) {
            if (p_ + 1 < s_.size() && (s_[p_ + 1] == '+' || s_[p_ + 1] == '-')) {
                ++p_;
            }
            if (!moreDigits()) {
                return false;
            }
        }
        if (p_ != intEnd) {
            v.type = Value::Type::Fraction;
            return true;
        }
        // A whole number too large for 64 bits counts as not whole.
        const auto [end, ec] = std::from_chars(s_.data() + start, s_.data() + p_, v.integer);
        v.type = ec == std::errc() && end == s_.data() + p_ ? Value::Type::Integer
                                                            : Value::Type::Fraction;
        return true;
    }

    // Past a '.' or an exponent mark: one digit or more.
    bool moreDigits() {
        const std::size_t from = ++p_;
        while (p_ < s_.size() && s_[p_] >= '0' && s_[p_] <= '9') {
            ++p_;
        }
        return p_ > from;
    }

    bool composite(int depth) {
        const char close = s_[p_++] == '{' ? '}' : ']';
        if (take(close)) {
            return true;
        }
        Value inner;
        std::string text;
        do {
            if (close == '}' && !(take('"') && string(text) && take(':'))) {
                return false;
            }
            if (!value(inner, text, depth + 1)) {
                return false;
            }
        } while (take(','));
        return take(close);
    }

    std::string_view s_;
    std::size_t p_ = 0;
};

enum class Field {
    Address,
    Name,
    Source,
    Page,
    Message,
    MessageId,
    Line,
    Offset,
    FieldName,
    Context,
    Referrer,
    Depth,
    Other
};

Field fieldNamed(std::string_view key) {
    static constexpr std::pair<std::string_view, Field> kFields[] = {
        {"address", Field::Address},   {"name", Field::Name},
        {"source", Field::Source},     {"page", Field::Page},
        {"message", Field::Message},   {"message_id", Field::MessageId},
        {"line", Field::Line},         {"offset", Field::Offset},
        {"field", Field::FieldName},   {"context", Field::Context},
        {"referrer", Field::Referrer}, {"depth", Field::Depth},
    };
    for (const auto& [name, field] : kFields) {
        if (name == key) {
            return field;
        }
    }
    return Field::Other;
}

// The string field a key names, or null for the others.
std::string* textField(Field field, Sighting& s) {
    switch (field) {
        case Field::Address:
            return &s.address;
        case Field::Name:
            return &s.name;
        case Field::Source:
            return &s.origin.source;
        case Field::MessageId:
            return &s.origin.messageId;
        case Field::FieldName:
            return &s.origin.field;
        case Field::Context:
            return &s.context;
        case Field::Referrer:
            return &s.origin.referrer;
        default:
            return nullptr;
    }
}

}  // namespace

bool ShardReader::parseLine(std::string_view line, Sighting& out, std::string& reason) {
    out.address.clear();
    out.name.clear();
    out.origin = Origin{};
    out.line = 0;
    out.offset = 0;
    out.context.clear();
    JsonCursor json(line);
    if (!json.take('{')) {
        reason = "not a JSON object";
        return false;
    }
    bool hasAddress = false;
    bool hasSource = false;
    std::string key;
    std::string scratch;
    Value v;
    if (!json.take('}')) {
        do {
            if (!(json.take('"') && json.string(key) && json.take(':'))) {
                reason = "not valid JSON";
                return false;
            }
            const Field field = fieldNamed(key);
            std::string* text = textField(field, out);
            if (!json.value(v, text ? *text : scratch)) {
                reason = "not valid JSON";
                return false;
            }
            if (field == Field::Other) {
                continue;
            }
            const bool nullable = field != Field::Address && field != Field::Source;
            if (v.type == Value::Type::Null && nullable) {
                if (text) {
                    text->clear();
                }
                continue;
            }
            if (text && v.type != Value::Type::String) {
                reason = "\"" + key + "\" is not a string";
                return false;
            }
            if (!text && v.type != Value::Type::Integer) {
                reason = "\"" + key + "\" is not a whole number";
                return false;
            }
            switch (field) {
                case Field::Address:
                    hasAddress = true;
                    break;
                case Field::Source:
                    hasSource = true;
                    break;
                case Field::Page:
                case Field::Message:
                case Field::Depth:
                    if (v.integer < std::numeric_limits<int>::min() ||
                        v.integer > std::numeric_limits<int>::max()) {
                        reason = "\"" + key + "\" is out of range";
                        return false;
                    }
                    (field == Field::Page      ? out.origin.page
                     : field == Field::Message ? out.origin.message
                                               : out.origin.depth) = static_cast<int>(v.integer);
                    break;
                case Field::Line:
                    out.line = v.integer;
                    break;
                case Field::Offset:
                    out.offset = v.integer;
                    break;
                default:
                    break;
            }
        } while (json.take(','));
        if (!json.take('}')) {
            reason = "not valid JSON";
            return false;
        }
    }
    if (!json.atEnd()) {
        reason = "more than one JSON value on the line";
        return false;
    }
    if (!hasAddress || out.address.empty()) {
        reason = "no \"address\"";
        return false;
    }
    if (!hasSource) {
        // A contact row has no source: the shard was written without --sightings.
        reason = "no \"source\" (a contact, not a sighting: write shards with --sightings)";
        return false;
    }
    if (!kinds_.classify(out)) {
        reason = "the address is not an e-mail address, a web address or a phone number";
        return false;
    }
    return true;
}

}  // namespace harvest

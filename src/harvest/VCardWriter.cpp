#include <string_view>

#include "FieldText.h"
#include "WriterParts.h"

namespace harvest {

namespace {

using fieldtext::appendFoldedLine;
using fieldtext::appendVCardValue;

bool isSpace(char c) {
    return c == ' ' || c == '\t' || c == '\n' || c == '\r';
}

// The name's words when there are exactly two ("Ada Lovelace" -> given
// "Ada", family "Lovelace"); otherwise false.
bool twoWords(std::string_view name, std::string_view& given, std::string_view& family) {
    std::string_view words[3];
    int count = 0;
    std::size_t i = 0;
    while (i < name.size()) {
        while (i < name.size() && isSpace(name[i])) {
            ++i;
        }
        const std::size_t start = i;
        while (i < name.size() && !isSpace(name[i])) {
            ++i;
        }
        if (i > start) {
            if (count == 3) {
                return false;
            }
            words[count++] = name.substr(start, i - start);
        }
    }
    if (count != 2) {
        return false;
    }
    given = words[0];
    family = words[1];
    return true;
}

void appendProperty(std::string& out, std::string& line, std::string_view property,
                    std::string_view value) {
    line.assign(property);
    line += ':';
    appendVCardValue(line, value);
    appendFoldedLine(out, line);
}

}  // namespace

void appendVCard(std::string& out, const Contact& contact) {
    std::string line;
    out += "BEGIN:VCARD\r\nVERSION:3.0\r\n";
    appendProperty(out, line, "FN", contact.name.empty() ? contact.address : contact.name);
    std::string_view given, family;
    line = "N:";
    if (twoWords(contact.name, given, family)) {
        appendVCardValue(line, family);
        line += ';';
        appendVCardValue(line, given);
    } else {
        appendVCardValue(line, contact.name);
        line += ';';
    }
    appendFoldedLine(out, line);
    if (contact.kind == "personal" || contact.kind == "role" || contact.kind == "no-reply") {
        appendProperty(out, line, "EMAIL;TYPE=INTERNET", contact.address);
    } else if (contact.kind == "phone") {
        appendProperty(out, line, "TEL", contact.address);
    } else if (contact.kind == "web") {
        appendProperty(out, line, "URL", contact.address);
    }
    out += "END:VCARD\r\n";
}

}  // namespace harvest

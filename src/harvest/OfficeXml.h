#pragma once
// The text of the XML parts inside Office Open XML (docx, xlsx, pptx) and
// OpenDocument files and EPUB packages, read with QXmlStreamReader.
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace harvest {

enum class XmlDialect { OfficeOpen, OpenDocument };

// A hyperlink's target (a URL, or in Office Open XML a relationship id to be
// looked up in the part's .rels) and the text it is laid over.
struct LinkText {
    std::string target;
    std::string text;
};

struct PartText {
    // Paragraphs, rows and line breaks become newlines, cells and tabs become
    // tabs; the runs of one paragraph join without a separator.
    std::string text;
    std::vector<std::string> links;  // mailto: and http(s): targets of its attributes
    std::vector<LinkText> linkTexts;
    std::string error;  // QXmlStreamReader's message when the XML is malformed
};

PartText partText(std::string_view xml, XmlDialect dialect);

// The targets of a .rels part that are mailto: or http(s): addresses, by Id.
std::map<std::string, std::string> relationshipLinks(std::string_view rels);

// The text of every element, each on a line of its own. With names, only the
// elements of those local names; with within, only inside an element of that
// local name (an EPUB package's "metadata").
std::string propertiesText(std::string_view xml, const std::vector<std::string_view>& names = {},
                           std::string_view within = {});

// Whether a link target is a mailto: or http(s): address.
bool isAddressLink(std::string_view target);

}  // namespace harvest

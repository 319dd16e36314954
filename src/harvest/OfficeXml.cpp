#include "OfficeXml.h"

#include <QByteArray>
#include <QXmlStreamReader>
#include <algorithm>

namespace harvest {
namespace {

QByteArray rawBytes(std::string_view xml) {
    return QByteArray::fromRawData(xml.data(), qsizetype(xml.size()));
}

// Ends a line unless the text is empty or already at a line's start.
void breakLine(std::string& out) {
    if (!out.empty() && out.back() != '\n') {
        out += '\n';
    }
}

bool startsWithIgnoringCase(std::string_view text, std::string_view prefix) {
    return text.size() >= prefix.size() &&
           std::equal(prefix.begin(), prefix.end(), text.begin(), [](char a, char b) {
               return a == std::tolower(static_cast<unsigned char>(b));
           });
}

// Walks one part, keeping the state of the element being read.
class PartWalker {
public:
    PartWalker(std::string_view xml, XmlDialect dialect)
        : reader_(rawBytes(xml)), dialect_(dialect) {}

    PartText walk() {
        while (!reader_.atEnd()) {
            switch (reader_.readNext()) {
                case QXmlStreamReader::StartElement:
                    start();
                    break;
                case QXmlStreamReader::EndElement:
                    end();
                    break;
                case QXmlStreamReader::Characters:
                    if (collecting()) {
                        part_.text += reader_.text().toUtf8().toStdString();
                    }
                    break;
                default:
                    break;
            }
        }
        if (reader_.hasError()) {
            part_.error = reader_.errorString().toStdString();
        }
        return std::move(part_);
    }

private:
    bool collecting() const { return dialect_ == XmlDialect::OpenDocument || textDepth_ > 0; }
    QStringView parent() const {
        return names_.size() >= 2 ? QStringView(names_[names_.size() - 2]) : QStringView();
    }

    void start() {
        const QStringView name = reader_.name();
        const QStringView ns = reader_.namespaceUri();
        // Content that repeats other content, or is not shown: Office's
        // fallbacks for older readers, phonetic guides, deleted changes,
        // OpenDocument's number formats and embedded binaries.
        if (name == u"Fallback" || name == u"rPh" || name == u"tracked-changes" ||
            name == u"binary-data" || ns.contains(u":datastyle:")) {
            reader_.skipCurrentElement();
            return;
        }
        names_.push_back(name.toString());
        for (const QXmlStreamAttribute& attribute : reader_.attributes()) {
            if (attribute.name() == u"href") {
                const std::string target = attribute.value().toUtf8().toStdString();
                if (isAddressLink(target)) {
                    part_.links.push_back(target);
                    if (name == u"a") {
                        openLink(target);
                    }
                }
            }
        }
        if (dialect_ == XmlDialect::OpenDocument) {
            startOpenDocument(name);
        } else {
            startOfficeOpen(name);
        }
    }

    void startOfficeOpen(QStringView name) {
        if (name == u"t" || (name == u"v" && parent() == u"c" && cellType_ == u"str")) {
            ++textDepth_;
        } else if (name == u"instrText") {
            // A field code, such as HYPERLINK "mailto:...": a word of its own.
            part_.text += ' ';
            ++textDepth_;
        } else if (name == u"c") {
            cellType_ = reader_.attributes().value(QLatin1String("t")).toString();
        } else if (name == u"tab" && parent() == u"r") {
            part_.text += '\t';
        } else if (name == u"br" || name == u"cr") {
            part_.text += '\n';
        } else if (name == u"noBreakHyphen") {
            part_.text += '-';
        } else if (name == u"hyperlink") {
            const QStringView id = reader_.attributes().value(
                QLatin1String(
                    "http://schemas.openxmlformats.org/officeDocument/2006/relationships"),
                QLatin1String("id"));
            if (!id.isEmpty()) {
                openLink(id.toUtf8().toStdString());
            }
        }
    }

    void startOpenDocument(QStringView name) {
        if (name == u"s") {
            int count = 1;
            for (const QXmlStreamAttribute& attribute : reader_.attributes()) {
                if (attribute.name() == u"c") {
                    count = attribute.value().toInt();
                }
            }
            part_.text.append(static_cast<size_t>(std::clamp(count, 1, 100)), ' ');
        } else if (name == u"tab") {
            part_.text += '\t';
        } else if (name == u"line-break") {
            part_.text += '\n';
        } else if (isOpenDocumentBlock(name)) {
            breakLine(part_.text);
        }
    }

    static bool isOpenDocumentBlock(QStringView name) {
        return name == u"p" || name == u"h" || name == u"note" || name == u"annotation" ||
               name == u"creator" || name == u"date" || name == u"note-citation";
    }

    void end() {
        if (names_.empty()) {
            return;
        }
        const QString name = names_.back();
        if (dialect_ == XmlDialect::OfficeOpen) {
            if ((name == u"t" || name == u"v") && textDepth_ > 0) {
                --textDepth_;
            } else if (name == u"instrText" && textDepth_ > 0) {
                --textDepth_;
                part_.text += ' ';
            }
        }
        if (name == u"tc" || name == u"c" || name == u"table-cell") {
            // A cell's last paragraph ends with the cell, not with a line.
            if (!part_.text.empty() && part_.text.back() == '\n') {
                part_.text.back() = '\t';
            } else {
                part_.text += '\t';
            }
        } else if (name == u"p" || name == u"tr" || name == u"si" || name == u"row" ||
                   name == u"table-row" ||
                   (dialect_ == XmlDialect::OpenDocument && isOpenDocumentBlock(name))) {
            breakLine(part_.text);
        } else if ((name == u"hyperlink" || name == u"a") && linkStart_ != std::string::npos) {
            part_.linkTexts.back().text = part_.text.substr(linkStart_);
            linkStart_ = std::string::npos;
        }
        names_.pop_back();
    }

    void openLink(std::string target) {
        part_.linkTexts.push_back({std::move(target), {}});
        linkStart_ = part_.text.size();
    }

    QXmlStreamReader reader_;
    XmlDialect dialect_;
    PartText part_;
    std::vector<QString> names_;  // the open elements' local names
    int textDepth_ = 0;           // inside elements whose characters are text
    QString cellType_;            // the t attribute of the spreadsheet cell being read
    size_t linkStart_ = std::string::npos;
};

}  // namespace

bool isAddressLink(std::string_view target) {
    return startsWithIgnoringCase(target, "mailto:") || startsWithIgnoringCase(target, "http://") ||
           startsWithIgnoringCase(target, "https://");
}

PartText partText(std::string_view xml, XmlDialect dialect) {
    return PartWalker(xml, dialect).walk();
}

std::map<std::string, std::string> relationshipLinks(std::string_view rels) {
    std::map<std::string, std::string> links;
    QXmlStreamReader reader(rawBytes(rels));
    while (!reader.atEnd() && !reader.hasError()) {
        if (reader.readNext() == QXmlStreamReader::StartElement &&
            reader.name() == u"Relationship") {
            const std::string target =
                reader.attributes().value(QLatin1String("Target")).toUtf8().toStdString();
            if (isAddressLink(target)) {
                links[reader.attributes().value(QLatin1String("Id")).toUtf8().toStdString()] =
                    target;
            }
        }
    }
    return links;
}

std::string propertiesText(std::string_view xml, const std::vector<std::string_view>& names,
                           std::string_view within) {
    std::string out;
    std::vector<std::string> open;  // the open elements' local names
    int inside = within.empty() ? 1 : 0;
    QXmlStreamReader reader(rawBytes(xml));
    while (!reader.atEnd() && !reader.hasError()) {
        switch (reader.readNext()) {
            case QXmlStreamReader::StartElement:
                open.push_back(reader.name().toUtf8().toStdString());
                inside += open.back() == within ? 1 : 0;
                break;
            case QXmlStreamReader::EndElement:
                if (!open.empty()) {
                    inside -= open.back() == within ? 1 : 0;
                    open.pop_back();
                }
                break;
            case QXmlStreamReader::Characters: {
                const QString text = reader.text().trimmed().toString();
                if (inside > 0 && !open.empty() && !text.isEmpty() &&
                    (names.empty() ||
                     std::find(names.begin(), names.end(), open.back()) != names.end())) {
                    out += text.toUtf8().toStdString();
                    out += '\n';
                }
                break;
            }
            default:
                break;
        }
    }
    return out;
}

}  // namespace harvest

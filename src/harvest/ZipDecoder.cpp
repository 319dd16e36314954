// A zip file: an Office Open XML or OpenDocument file is read as one document
// whose text keeps the file's own name, an EPUB hands its pages on, and any
// other zip is a container whose members are sources of their own.
#include <QByteArray>
#include <QString>
#include <algorithm>
#include <map>

#include "ArchiveReading.h"
#include "Decoders.h"
#include "OfficeXml.h"

namespace harvest {
namespace {

enum class ZipKind { Container, OfficeOpen, OpenDocument, Epub };

struct Survey {
    ZipKind kind = ZipKind::Container;
    ArchiveFormats formats = ArchiveFormats::Zip;
};

// Looks at the members' names (and the "mimetype" member) to tell what the
// zip holds. A zip whose central directory cannot be read is read by its
// local headers instead.
Survey survey(const Blob& blob, DecodeContext& context) {
    Survey result;
    for (ArchiveFormats formats : {ArchiveFormats::Zip, ArchiveFormats::ZipStreaming}) {
        ArchiveReading reading(blob, context, formats);
        bool contentTypes = false;
        bool officeFolder = false;
        bool any = false;
        std::string mimetype;
        while (reading.next()) {
            any = true;
            const std::string path = reading.path();
            contentTypes = contentTypes || path == "[Content_Types].xml";
            officeFolder = officeFolder || path.starts_with("word/") || path.starts_with("xl/") ||
                           path.starts_with("ppt/");
            if (path == "mimetype" && !reading.encrypted()) {
                char head[128];
                const std::int64_t n =
                    reading.readSome(head, sizeof head, blob.origin.source + "!" + path);
                mimetype.assign(head, static_cast<size_t>(std::max<std::int64_t>(n, 0)));
                while (!mimetype.empty() &&
                       std::isspace(static_cast<unsigned char>(mimetype.back()))) {
                    mimetype.pop_back();
                }
            }
        }
        result.formats = formats;
        if (contentTypes && officeFolder) {
            result.kind = ZipKind::OfficeOpen;
        } else if (mimetype.starts_with("application/vnd.oasis.opendocument.")) {
            result.kind = ZipKind::OpenDocument;
        } else if (mimetype == "application/epub+zip") {
            result.kind = ZipKind::Epub;
        }
        if (any || !reading.damaged()) {
            break;
        }
    }
    return result;
}

bool isPartIn(const std::string& path, std::string_view folder) {
    return path.starts_with(folder) && path.ends_with(".xml") &&
           path.find('/', folder.size()) == std::string::npos;
}

// Where a part's text goes among the document's pieces: the main text first,
// then headers, footers, notes and comments; -1 for a part not read.
int rankOf(const std::string& path, ZipKind kind) {
    if (kind == ZipKind::OpenDocument) {
        return path == "content.xml" ? 0 : path == "styles.xml" ? 1 : -1;
    }
    if (path == "word/document.xml" || path == "xl/sharedStrings.xml" ||
        isPartIn(path, "xl/worksheets/") || isPartIn(path, "ppt/slides/")) {
        return 0;
    }
    if (path == "word/footnotes.xml" || path == "word/endnotes.xml" ||
        path == "word/comments.xml" || isPartIn(path, "ppt/notesSlides/") ||
        (isPartIn(path, "word/") &&
         (path.starts_with("word/header") || path.starts_with("word/footer"))) ||
        (isPartIn(path, "xl/") && path.starts_with("xl/comments"))) {
        return 1;
    }
    return -1;
}

// "slide2.xml" before "slide10.xml".
bool naturalLess(const std::string& a, const std::string& b) {
    size_t i = 0, j = 0;
    while (i < a.size() && j < b.size()) {
        if (std::isdigit(static_cast<unsigned char>(a[i])) &&
            std::isdigit(static_cast<unsigned char>(b[j]))) {
            size_t ie = i, je = j;
            while (ie < a.size() && std::isdigit(static_cast<unsigned char>(a[ie])))
                ++ie;
            while (je < b.size() && std::isdigit(static_cast<unsigned char>(b[je])))
                ++je;
            if (ie - i != je - j)
                return ie - i < je - j;
            const int order = a.compare(i, ie - i, b, j, je - j);
            if (order != 0)
                return order < 0;
            i = ie;
            j = je;
        } else {
            if (a[i] != b[j])
                return a[i] < b[j];
            ++i;
            ++j;
        }
    }
    return a.size() - i < b.size() - j;
}

// A part's .rels: "word/document.xml" -> "word/_rels/document.xml.rels".
std::string relsOf(const std::string& part) {
    const size_t slash = part.rfind('/');
    const size_t cut = slash == std::string::npos ? 0 : slash + 1;
    return part.substr(0, cut) + "_rels/" + part.substr(cut) + ".rels";
}

// A mailto: target with its percent-escapes undone; others as they are.
std::string readableLink(const std::string& target) {
    if (target.size() > 7 && QByteArray(target.data(), 7).toLower() == "mailto:") {
        const QByteArray decoded =
            QByteArray::fromPercentEncoding(QByteArray::fromStdString(target));
        return QString::fromUtf8(decoded).toStdString();
    }
    return QString::fromUtf8(target).toStdString();
}

struct DocumentPiece {
    int rank = 0;
    std::string path;
    std::string text;
    std::string field;
    std::vector<NameHint> names;
};

// Gathers a document's pieces, then hands them on in order, each starting
// where the one before it ended.
class DocumentReader {
public:
    DocumentReader(const Blob& blob, DecodeContext& context, ZipKind kind)
        : blob_(blob), context_(context), kind_(kind) {}

    void read(ArchiveFormats formats) {
        ArchiveReading reading(blob_, context_, formats);
        std::string bytes;
        while (reading.next()) {
            const std::string path = reading.path();
            if (!reading.isFile() || reading.encrypted() || !wanted(path)) {
                if (reading.encrypted() && wanted(path)) {
                    context_.problem(blob_.origin.source, "encrypted part " + path);
                }
                continue;
            }
            if (reading.read(bytes, blob_.origin.source + "!" + path)) {
                take(path, bytes);
            }
        }
        if (reading.damaged()) {
            context_.problem(blob_.origin.source, "damaged zip: " + reading.error());
        }
        handOn();
    }

private:
    bool wanted(const std::string& path) const {
        if (kind_ == ZipKind::Epub) {
            const QString lower = QString::fromStdString(path).toLower();
            return lower.endsWith(".opf") || lower.endsWith(".xhtml") || lower.endsWith(".html") ||
                   lower.endsWith(".htm") || lower.endsWith(".xht");
        }
        return rankOf(path, kind_) >= 0 || path.ends_with(".rels") || path == "docProps/core.xml" ||
               path == "docProps/app.xml" || path == "meta.xml";
    }

    void take(const std::string& path, const std::string& bytes) {
        if (kind_ == ZipKind::Epub) {
            takeEpubMember(path, bytes);
        } else if (path.ends_with(".rels")) {
            for (auto& [id, target] : relationshipLinks(bytes)) {
                rels_[path][id] = target;
                addLink(target);
            }
        } else if (path == "docProps/core.xml" || path == "meta.xml") {
            metadata_ += propertiesText(bytes);
        } else if (path == "docProps/app.xml") {
            metadata_ += propertiesText(bytes, {"Company", "Manager", "HyperlinkBase"});
        } else {
            takePart(path, bytes);
        }
    }

    void takePart(const std::string& path, const std::string& bytes) {
        PartText part = partText(bytes, kind_ == ZipKind::OpenDocument ? XmlDialect::OpenDocument
                                                                       : XmlDialect::OfficeOpen);
        if (!part.error.empty()) {
            context_.problem(blob_.origin.source, "damaged part " + path + ": " + part.error);
        }
        for (const std::string& link : part.links) {
            addLink(link);
        }
        DocumentPiece piece{rankOf(path, kind_), path, std::move(part.text), {}, {}};
        linkTexts_[path] = std::move(part.linkTexts);
        pieces_.push_back(std::move(piece));
    }

    void takeEpubMember(const std::string& path, const std::string& bytes) {
        if (QString::fromStdString(path).toLower().endsWith(".opf")) {
            metadata_ += propertiesText(bytes, {}, "metadata");
        } else {
            Origin origin;
            origin.source = blob_.origin.source + "!" + path;
            context_.nested(bytes, std::move(origin), blob_.depth + 1);
        }
    }

    void addLink(const std::string& target) {
        const std::string link = readableLink(target);
        if (std::find(links_.begin(), links_.end(), link) == links_.end()) {
            links_.push_back(link);
        }
    }

    // The names that mailto: links are laid over.
    std::vector<NameHint> namesOf(const std::string& path) const {
        std::vector<NameHint> names;
        const auto rels = rels_.find(relsOf(path));
        for (const LinkText& link : linkTexts_.at(path)) {
            std::string target = link.target;
            if (kind_ == ZipKind::OfficeOpen) {
                if (rels == rels_.end() || !rels->second.contains(target)) {
                    continue;
                }
                target = rels->second.at(target);
            }
            target = readableLink(target);
            if (target.size() <= 7 || QByteArray(target.data(), 7).toLower() != "mailto:") {
                continue;
            }
            std::string address = target.substr(7, target.find('?') - 7);
            const std::string name = QString::fromStdString(link.text).simplified().toStdString();
            if (!name.empty() && name != address) {
                names.push_back({std::move(address), name});
            }
        }
        return names;
    }

    void handOn() {
        for (DocumentPiece& piece : pieces_) {
            piece.names = namesOf(piece.path);
        }
        std::string links;
        for (const std::string& link : links_) {
            links += link + "\n";
        }
        pieces_.push_back({2, "", std::move(links), "", {}});
        pieces_.push_back({3, "", std::move(metadata_), "metadata", {}});
        std::stable_sort(pieces_.begin(), pieces_.end(), [](const auto& a, const auto& b) {
            return a.rank != b.rank ? a.rank < b.rank : naturalLess(a.path, b.path);
        });
        std::int64_t line = 1;
        std::int64_t offset = 0;
        for (DocumentPiece& piece : pieces_) {
            if (piece.text.empty()) {
                continue;
            }
            TextPiece text;
            text.origin.source = blob_.origin.source;
            text.origin.field = piece.field;
            text.names = std::move(piece.names);
            text.firstLine = line;
            text.firstOffset = offset;
            line += std::count(piece.text.begin(), piece.text.end(), '\n') + 1;
            offset += static_cast<std::int64_t>(piece.text.size()) + 1;
            text.text = std::move(piece.text);
            context_.text(std::move(text));
        }
    }

    const Blob& blob_;
    DecodeContext& context_;
    ZipKind kind_;
    std::vector<DocumentPiece> pieces_;
    std::map<std::string, std::map<std::string, std::string>> rels_;  // .rels path -> id -> target
    std::map<std::string, std::vector<LinkText>> linkTexts_;          // part -> its links' texts
    std::vector<std::string> links_;
    std::string metadata_;
};

}  // namespace

void decodeZip(const Blob& blob, DecodeContext& context) {
    const Survey found = survey(blob, context);
    if (found.kind == ZipKind::Container) {
        // Read by its central directory, a zip goes on after a damaged
        // member: it is opened again and the members done are passed over.
        for (int done = 0;;) {
            ArchiveReading reading(blob, context, found.formats);
            int passed = 0;
            while (passed < done && reading.next()) {
                ++passed;
            }
            if (passed < done) {
                return;
            }
            done += handMembersOn(reading, blob, context);
            if (reading.damaged()) {
                context.problem(blob.origin.source, "damaged zip: " + reading.error());
            }
            if (!reading.brokeInMember() || found.formats != ArchiveFormats::Zip) {
                return;
            }
        }
    }
    const std::int64_t maxBytes = context.limits().maxDocumentBytes;
    if (found.kind != ZipKind::Epub && static_cast<std::int64_t>(blob.bytes.size()) > maxBytes) {
        context.problem(blob.origin.source,
                        "document larger than " + std::to_string(maxBytes >> 20) + " MB; not read");
        return;
    }
    DocumentReader(blob, context, found.kind).read(found.formats);
}

}  // namespace harvest

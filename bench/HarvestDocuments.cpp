// The mixed folder of the harvest benchmark: minimal PDFs written by hand,
// DOCX and ODT zipped with libarchive, gzip files written with zlib, and
// plain text.

#include <archive.h>
#include <archive_entry.h>
#include <zlib.h>

#include <filesystem>
#include <map>
#include <memory>
#include <stdexcept>
#include <vector>

#include "BenchProse.h"
#include "HarvestInputs.h"

namespace {

std::vector<std::string> TextLines(Prose& prose, size_t bytes) {
    std::vector<std::string> lines;
    for (size_t size = 0; size < bytes; size += lines.back().size() + 1) {
        lines.push_back(prose.line());
    }
    return lines;
}

// A PDF with one uncompressed content stream per page of 48 lines.
void WritePdf(const std::string& path, const std::vector<std::string>& lines) {
    std::map<int, std::string> objects;
    objects[1] = "<< /Type /Catalog /Pages 2 0 R >>";
    objects[3] = "<< /Type /Font /Subtype /Type1 /BaseFont /Helvetica >>";
    std::string kids;
    int next = 4;
    for (size_t first = 0; first < lines.size(); first += 48) {
        std::string stream = "BT /F1 9 Tf 11 TL 40 800 Td\n";
        for (size_t i = first; i < std::min(lines.size(), first + 48); ++i) {
            stream += "(";
            for (char c : lines[i]) {
                if (c == '(' || c == ')' || c == '\\') {
                    stream += '\\';
                }
                stream += c;
            }
            stream += ") Tj T*\n";
        }
        stream += "ET";
        const int page = next++;
        const int content = next++;
        objects[page] =
            "<< /Type /Page /Parent 2 0 R /MediaBox [0 0 595 842] /Resources << /Font "
            "<< /F1 3 0 R >> >> /Contents " +
            std::to_string(content) + " 0 R >>";
        objects[content] = "<< /Length " + std::to_string(stream.size()) + " >>\nstream\n" +
                           stream + "\nendstream";
        kids += std::to_string(page) + " 0 R ";
    }
    objects[2] = "<< /Type /Pages /Kids [" + kids + "] /Count " +
                 std::to_string((lines.size() + 47) / 48) + " >>";
    std::string out = "%PDF-1.4\n";
    std::string xref = "xref\n0 " + std::to_string(next) + "\n0000000000 65535 f \n";
    for (const auto& [number, body] : objects) {
        char entry[32];
        std::snprintf(entry, sizeof entry, "%010zu 00000 n \n", out.size());
        xref += entry;
        out += std::to_string(number) + " 0 obj\n" + body + "\nendobj\n";
    }
    const size_t xrefAt = out.size();
    out += xref + "trailer\n<< /Size " + std::to_string(next) + " /Root 1 0 R >>\nstartxref\n" +
           std::to_string(xrefAt) + "\n%%EOF\n";
    FileSink sink(path);
    sink.put(out);
    sink.close();
}

// A zip of the given members in order; `storedFirst` keeps the first member
// uncompressed, as OpenDocument wants its "mimetype".
void WriteZip(const std::string& path,
              const std::vector<std::pair<std::string, std::string>>& members, bool storedFirst) {
    std::unique_ptr<archive, decltype(&archive_write_free)> zip(archive_write_new(),
                                                                &archive_write_free);
    archive_write_set_format_zip(zip.get());
    if (archive_write_open_filename(zip.get(), path.c_str()) != ARCHIVE_OK) {
        throw std::runtime_error("cannot create " + path);
    }
    for (size_t i = 0; i < members.size(); ++i) {
        if (i == 0 && storedFirst) {
            archive_write_zip_set_compression_store(zip.get());
        } else {
            archive_write_zip_set_compression_deflate(zip.get());
        }
        std::unique_ptr<archive_entry, decltype(&archive_entry_free)> entry(archive_entry_new(),
                                                                            &archive_entry_free);
        archive_entry_set_pathname(entry.get(), members[i].first.c_str());
        archive_entry_set_filetype(entry.get(), AE_IFREG);
        archive_entry_set_perm(entry.get(), 0644);
        archive_entry_set_size(entry.get(), static_cast<la_int64_t>(members[i].second.size()));
        const std::string& data = members[i].second;
        if (archive_write_header(zip.get(), entry.get()) != ARCHIVE_OK ||
            archive_write_data(zip.get(), data.data(), data.size()) !=
                static_cast<la_ssize_t>(data.size())) {
            throw std::runtime_error("cannot write " + path);
        }
    }
    if (archive_write_close(zip.get()) != ARCHIVE_OK) {
        throw std::runtime_error("cannot write " + path);
    }
}

void WriteDocx(const std::string& path, const std::vector<std::string>& lines) {
    std::string body;
    for (const std::string& line : lines) {
        body +=
            "<w:p><w:r><w:t xml:space=\"preserve\">" + EscapeMarkup(line) + "</w:t></w:r></w:p>";
    }
    WriteZip(path,
             {{"[Content_Types].xml",
               "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<Types xmlns=\"http://schemas."
               "openxmlformats.org/package/2006/content-types\"><Default Extension=\"rels\" "
               "ContentType=\"application/vnd.openxmlformats-package.relationships+xml\"/>"
               "<Default Extension=\"xml\" ContentType=\"application/xml\"/><Override "
               "PartName=\"/word/document.xml\" ContentType=\"application/vnd.openxmlformats-"
               "officedocument.wordprocessingml.document.main+xml\"/></Types>"},
              {"_rels/.rels",
               "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<Relationships xmlns=\"http://"
               "schemas.openxmlformats.org/package/2006/relationships\"><Relationship Id=\"rId1\" "
               "Type=\"http://schemas.openxmlformats.org/officeDocument/2006/relationships/"
               "officeDocument\" Target=\"word/document.xml\"/></Relationships>"},
              {"word/document.xml",
               "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<w:document xmlns:w=\"http://schemas."
               "openxmlformats.org/wordprocessingml/2006/main\"><w:body>" +
                   body + "</w:body></w:document>"}},
             false);
}

void WriteOdt(const std::string& path, const std::vector<std::string>& lines) {
    std::string body;
    for (const std::string& line : lines) {
        body += "<text:p>" + EscapeMarkup(line) + "</text:p>";
    }
    WriteZip(path,
             {{"mimetype", "application/vnd.oasis.opendocument.text"},
              {"META-INF/manifest.xml",
               "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<manifest:manifest xmlns:manifest="
               "\"urn:oasis:names:tc:opendocument:xmlns:manifest:1.0\" manifest:version=\"1.2\">"
               "<manifest:file-entry manifest:full-path=\"/\" manifest:media-type=\"application/"
               "vnd.oasis.opendocument.text\"/><manifest:file-entry manifest:full-path=\"content."
               "xml\" manifest:media-type=\"text/xml\"/></manifest:manifest>"},
              {"content.xml",
               "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<office:document-content "
               "xmlns:office=\"urn:oasis:names:tc:opendocument:xmlns:office:1.0\" "
               "xmlns:text=\"urn:oasis:names:tc:opendocument:xmlns:text:1.0\" "
               "office:version=\"1.2\"><office:body><office:text>" +
                   body + "</office:text></office:body></office:document-content>"}},
             true);
}

void WriteGzip(const std::string& path, const std::string& text) {
    gzFile file = gzopen(path.c_str(), "wb6");
    if (file == nullptr) {
        throw std::runtime_error("cannot create " + path);
    }
    const bool ok = gzwrite(file, text.data(), static_cast<unsigned>(text.size())) ==
                    static_cast<int>(text.size());
    if (gzclose(file) != Z_OK || !ok) {
        throw std::runtime_error("cannot write " + path);
    }
}

}  // namespace

uint64_t WriteMixedFolder(const std::string& folder, uint64_t count, uint32_t seed) {
    Prose prose(seed);
    std::filesystem::create_directories(folder);
    for (uint64_t i = 0; i < count; ++i) {
        const std::vector<std::string> lines = TextLines(prose, 20000 + prose.below(40000));
        const std::string stem = folder + "/doc" + std::to_string(i);
        std::string text;
        for (const std::string& line : lines) {
            text += line + "\n";
        }
        switch (i % 5) {
            case 0:
                WritePdf(stem + ".pdf", lines);
                break;
            case 1:
                WriteDocx(stem + ".docx", lines);
                break;
            case 2:
                WriteOdt(stem + ".odt", lines);
                break;
            case 3:
                WriteGzip(stem + ".txt.gz", text);
                break;
            default: {
                FileSink sink(stem + ".txt");
                sink.put(text);
                sink.close();
                break;
            }
        }
    }
    uint64_t total = 0;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        total += entry.file_size();
    }
    return total;
}

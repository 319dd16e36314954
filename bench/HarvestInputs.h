#pragma once

#include <cstdint>
#include <string>

// The harvest benchmark's inputs, written into files and folders of a
// temporary place. Sizes are targets: whole lines, pages or messages are
// written, so the result is a little larger. Everything is deterministic for
// a given seed; failures throw std::runtime_error.

// Plain text lines; `oneLine` joins them with spaces into a single line;
// `rarity` makes addresses that many times rarer (one line in 50 has one).
void WriteTextFile(const std::string& path, uint64_t bytes, uint32_t seed, bool oneLine = false,
                   size_t rarity = 1);

// One HTML document: headings, paragraphs, mailto: links with names, https
// links and character entities.
void WriteHtmlFile(const std::string& path, uint64_t bytes, uint32_t seed);

// An mbox of messages of about 8.7 KB (50 MB hold about 6,000): display
// names (some as encoded words), plain, quoted-printable and base64 bodies,
// and multipart/alternative messages with an HTML part.
void WriteMbox(const std::string& path, uint64_t bytes, uint32_t seed);

// `count` files of 1 to 5 KB (text, HTML and .eml in turn) in subfolders of
// 1,000; returns the bytes written.
uint64_t WriteSmallFiles(const std::string& folder, uint64_t count, uint32_t seed);

// `count` files: minimal PDFs, DOCX, ODT, gzip-compressed text and plain
// text in turn, 20 to 60 KB of text each; returns the bytes written.
uint64_t WriteMixedFolder(const std::string& folder, uint64_t count, uint32_t seed);

#pragma once

#include <optional>
#include <string>
#include <vector>

// The filter and shortcut files: plain text, one entry a line. A record is
// written as its bytes followed by CR LF; reading takes CR LF, LF or CR as a
// line end.
namespace webfiles {

// The file's lines, or nothing when it cannot be read. A last line without a
// line end counts; an empty file has no lines.
std::optional<std::vector<std::string>> ReadLines(const std::string& path);
// Replaces the file with `text` and a line end. False when it cannot be written.
bool WriteRecord(const std::string& path, const std::string& text);
// Appends `text` and a line end, making the file when it is missing.
bool AppendRecord(const std::string& path, const std::string& text);

}  // namespace webfiles

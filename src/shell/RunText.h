#pragma once

#include <cstdint>
#include <string>

// A file size in kilobytes, rounded to two decimals and written without
// trailing zeros ("12.35", "0.5", "3").
std::string KiloText(uintmax_t bytes);

// i of n as a percentage rounded to two decimals.
float Percent(size_t i, size_t n);

// True when a file name holds one of the extensions that the mail-list run
// accepts: ".eml", ".html", ".htm", ".asp" or ".txt".
bool IsMailFileName(const std::string& name);

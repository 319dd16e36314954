#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

// Deterministic benchmark inputs of about `bytes` bytes (whole pages or
// paragraphs, so a little more): the same seed gives the same text everywhere.

// HTML pages with head, scripts, comments, entities, tables, e-mail addresses,
// http links and mailto links.
std::string MakeHtmlCorpus(size_t bytes, uint32_t seed = 1);

// Plain text paragraphs with e-mail and web addresses among the words.
std::string MakeTextCorpus(size_t bytes, uint32_t seed = 2);

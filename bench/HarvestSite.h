#pragma once
#include <string>

// The site harvest against a generated site on 127.0.0.1: pages a second for
// 2,000 pages, peak memory for 10,000, and the first site harvested again
// from its WARC archive. Files go into `folder`.
void MeasureSite(const std::string& program, const std::string& folder);

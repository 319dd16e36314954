#pragma once

#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include "KeywordTable.h"

// One generated engine run: a document built from the pieces the engine
// reacts to (mark-up of every shape, scripts, comments, entities, addresses,
// keywords, control characters), and the functions and columns to run on it.
struct GeneratedRun {
    uint32_t seed = 0;
    std::string text;

    // What to call: StripTags first (unless mailto is on, as the runs do),
    // then one of the recording routines or a series of single scanner calls.
    enum class Record { File, Keyword, Scanners };
    Record record = Record::File;
    bool strip = true;
    bool chkStrip = false;
    bool chkFileName = false;
    bool chkTime = false;
    int16_t intUseKeyword = 0;
    std::vector<std::string> columns;
    KeywordTable keywords;
    std::vector<std::string> arrKeyNames;  // as earlier files left them
    // Scanner calls for Record::Scanners: 0 GetEmail, 1 GetMailTo, 2 GetWebSite,
    // 3 GetKeywordText, 4 GetKeywordTextToNext (with the first keyword).
    std::vector<int> calls;

    // Cancel at this yield (0: never).
    long cancelAt = 0;

    // A readable description for failure messages.
    std::string describe() const;
};

// The run for `seed`; the same seed gives the same run everywhere.
GeneratedRun GenerateRun(uint32_t seed);

// The linear engine against the straightforward reference on generated runs:
// same text, rows, messages (errors), progress, yields and cancel points.
//
// GLEANMARK_DIFF_SEED (first seed) and GLEANMARK_DIFF_CASES (how many) replay
// or widen the run; a failure prints its seed and the run.
#include <gtest/gtest.h>

#include <cstdlib>
#include <sstream>

#include "Fakes.h"
#include "GeneratedDocument.h"
#include "ProgressBar.h"
#include "ReferenceEngine.h"
#include "ResultTable.h"
#include "RunErrors.h"
#include "ScanEngine.h"

namespace {

// A run that would loop for ever is cancelled here, in both engines alike.
constexpr long kYieldCap = 3000;

struct Outcome {
    std::string text;
    std::vector<std::vector<std::string>> rows;
    std::vector<std::string> scanned;  // single scanner results
    std::vector<std::string> arrKeyNames;
    float progress = 0;
    long yields = 0;
    int error = 0;
    int16_t intCancel = 0;
    int32_t lngScanPos = 0;

    bool operator==(const Outcome&) const = default;
};

std::string Show(const Outcome& o) {
    std::ostringstream out;
    out << "error " << o.error << ", yields " << o.yields << ", cancel " << o.intCancel
        << ", progress " << o.progress << ", lngScanPos " << o.lngScanPos << "\ntext [" << o.text
        << "]\nrows:";
    for (const auto& row : o.rows) {
        out << "\n ";
        for (const std::string& cell : row) {
            out << " [" << cell << "]";
        }
    }
    out << "\nscanned:";
    for (const std::string& s : o.scanned) {
        out << " [" << s << "]";
    }
    out << "\narrKeyNames:";
    for (const std::string& s : o.arrKeyNames) {
        out << " [" << s << "]";
    }
    return out.str();
}

template <class Engine>
Outcome RunEngine(const GeneratedRun& run) {
    ScriptedPump pump;
    PlainProgress progress;
    FixedClock clock;
    Engine engine(pump, progress, clock);
    pump.every = [&](long n) {
        if (n == run.cancelAt || n >= kYieldCap) {
            engine.intCancel = 1;
        }
    };
    engine.strScanText = run.text;
    engine.strCurFile = "/in/page.htm";
    engine.chkStrip = run.chkStrip;
    engine.chkFileName = run.chkFileName;
    engine.chkTime = run.chkTime;
    engine.intUseKeyword = run.intUseKeyword;
    engine.arrKeyNames = run.arrKeyNames;
    ResultTable table;
    for (const std::string& c : run.columns) {
        table.appendColumn(c);
    }
    Outcome out;
    try {
        if (run.strip) {
            engine.StripTags();
        }
        switch (run.record) {
            case GeneratedRun::Record::File:
                engine.RecordFileResults(run.columns, table, run.keywords);
                break;
            case GeneratedRun::Record::Keyword:
                engine.RecordKeywordResults(run.columns, table, run.keywords);
                break;
            case GeneratedRun::Record::Scanners:
                engine.strScanText += ' ';
                for (int call : run.calls) {
                    switch (call) {
                        case 0:
                            out.scanned.push_back(engine.GetEmail());
                            break;
                        case 1:
                            out.scanned.push_back(engine.GetMailTo());
                            break;
                        case 2:
                            out.scanned.push_back(engine.GetWebSite());
                            break;
                        case 3:
                            out.scanned.push_back(engine.GetKeywordText(run.keywords[0]));
                            break;
                        default:
                            out.scanned.push_back(engine.GetKeywordTextToNext(run.keywords[0]));
                            break;
                    }
                }
                break;
        }
    } catch (const RunError& e) {
        out.error = e.number();
    }
    out.text = engine.strScanText;
    for (size_t r = 0; r < table.rowCount(); ++r) {
        out.rows.emplace_back();
        for (size_t c = 0; c < table.columnCount(); ++c) {
            out.rows.back().push_back(table.cell(r, c) ? "=" + std::string(*table.cell(r, c))
                                                       : "unset");
        }
    }
    out.arrKeyNames = engine.arrKeyNames;
    out.progress = progress.value();
    out.yields = pump.count;
    out.intCancel = engine.intCancel;
    out.lngScanPos = engine.lngScanPos;
    return out;
}

uint32_t EnvNumber(const char* name, uint32_t fallback) {
    const char* value = std::getenv(name);
    return value != nullptr && *value != '\0'
               ? static_cast<uint32_t>(std::strtoul(value, nullptr, 10))
               : fallback;
}

TEST(Differential, LinearEngineMatchesTheReferenceOnGeneratedRuns) {
    const uint32_t first = EnvNumber("GLEANMARK_DIFF_SEED", 1);
    const uint32_t cases = EnvNumber("GLEANMARK_DIFF_CASES", 10000);
    std::cout << "differential: seeds " << first << " to " << first + cases - 1 << "\n";
    int failures = 0;
    long cancelled = 0, endless = 0, errors = 0, rows = 0;
    for (uint32_t seed = first; seed < first + cases && failures < 5; ++seed) {
        const GeneratedRun run = GenerateRun(seed);
        const Outcome expected = RunEngine<ReferenceEngine>(run);
        const Outcome actual = RunEngine<ScanEngine>(run);
        cancelled += expected.intCancel;
        endless += expected.yields >= kYieldCap ? 1 : 0;
        errors += expected.error != 0 ? 1 : 0;
        rows += static_cast<long>(expected.rows.size());
        if (!(actual == expected)) {
            ++failures;
            ADD_FAILURE() << "replay with GLEANMARK_DIFF_SEED=" << seed
                          << " GLEANMARK_DIFF_CASES=1\n"
                          << run.describe() << "\n--- reference:\n"
                          << Show(expected) << "\n--- linear engine:\n"
                          << Show(actual);
        }
    }
    std::cout << "differential: " << cancelled << " cancelled (" << endless
              << " would loop for ever), " << errors << " with a run error, " << rows
              << " rows compared\n";
}

}  // namespace

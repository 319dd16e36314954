#pragma once

#include <optional>
#include <string>
#include <vector>

class QCommandLineParser;

// The main window's choices as command-line options: the functions, the
// boxes, the process option and the result file. `gleanmark run` and the web
// commands share them.
struct RunOptions {
    std::optional<std::string> strip;     // --strip DIR ("" strips nothing)
    std::optional<std::string> keywords;  // --keywords FILE
    bool email = false, website = false, mailto = false;
    std::string ext = "*";
    std::vector<std::string> boxes;  // control names of the boxes to tick
    std::string processFlag;         // "--files" ... or empty
    std::string output = "-";        // "-": standard output
};

// The option descriptions, added to `parser`.
void AddRunOptions(QCommandLineParser& parser);

// Reads the options that `parser` found. Returns the problem when they cannot
// go together.
std::optional<std::string> ReadRunOptions(const QCommandLineParser& parser, RunOptions& options);

// The help text of those options, for the usage texts.
extern const char* const kRunOptionsHelp;

// Exit statuses of the commands that run the window's processing.
namespace exitstatus {
constexpr int kCompleted = 0;
constexpr int kRefused = 1;
constexpr int kUsage = 2;
constexpr int kUnwritable = 3;  // the result file could not be written
constexpr int kInterrupted = 130;
}  // namespace exitstatus

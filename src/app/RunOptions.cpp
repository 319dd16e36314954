#include "RunOptions.h"

#include <QCommandLineParser>
#include <utility>

namespace {

// Box options and the controls they tick, in the order they are ticked.
const std::pair<const char*, const char*> kBoxes[] = {
    {"subdirs", "ChkSbD"},       {"cc", "chkCC"},        {"file-name", "chkFileName"},
    {"from", "chkFrom"},         {"heading", "chkHead"}, {"body", "chkMailList"},
    {"process-time", "chkTime"}, {"to", "chkTo"}};

const char* const kProcessFlags[] = {"directory", "files", "selected", "mail"};

}  // namespace

const char* const kRunOptionsHelp =
    "Functions (ticked in this order):\n"
    "  --strip DIR        strip HTML tags, writing .txt files into DIR\n"
    "  --email            extract e-mail addresses (switches mailto on too)\n"
    "  --website          extract web addresses\n"
    "  --mailto           extract mailto addresses\n"
    "  --keywords FILE    extract the words after the keywords of FILE\n"
    "Boxes:\n"
    "  --subdirs          walk sub-folders too (with --directory)\n"
    "  --ext WORD         file extension filter (default *)\n"
    "  --file-name        FileName box\n"
    "  --process-time     ProcessTime box\n"
    "  --heading --from --to --cc --body   mail-list boxes\n"
    "Process option (default: the one the window selects):\n"
    "  --directory        PATH is the one folder to process\n"
    "  --files            process the files given\n"
    "  --selected         keyword run over the files given\n"
    "  --mail             mail list from the messages given\n"
    "Output:\n"
    "  -o, --output FILE  result file (default or \"-\": standard output)\n";

void AddRunOptions(QCommandLineParser& parser) {
    for (const char* name : {"strip", "keywords", "ext"}) {
        parser.addOption(QCommandLineOption(name, {}, "value"));
    }
    parser.addOption(QCommandLineOption(QStringList{"o", "output"}, {}, "file"));
    for (const char* name : {"email", "website", "mailto"}) {
        parser.addOption(QCommandLineOption(name));
    }
    for (const auto& [name, control] : kBoxes) {
        parser.addOption(QCommandLineOption(name));
    }
    for (const char* name : kProcessFlags) {
        parser.addOption(QCommandLineOption(name));
    }
}

std::optional<std::string> ReadRunOptions(const QCommandLineParser& parser, RunOptions& o) {
    // An empty value is a value: "--ext ''" reaches the window's own check.
    auto text = [&](const char* name) -> std::optional<std::string> {
        if (!parser.isSet(name)) {
            return std::nullopt;
        }
        return parser.value(name).toStdString();
    };
    o.strip = text("strip");
    o.keywords = text("keywords");
    o.ext = text("ext").value_or("*");
    o.output = text("output").value_or("-");
    o.email = parser.isSet("email");
    o.website = parser.isSet("website");
    o.mailto = parser.isSet("mailto");
    for (const auto& [name, control] : kBoxes) {
        if (parser.isSet(name)) {
            o.boxes.emplace_back(control);
        }
    }
    for (const char* name : kProcessFlags) {
        if (!parser.isSet(name)) {
            continue;
        }
        const std::string flag = std::string("--") + name;
        if (!o.processFlag.empty()) {
            return "conflicting options " + o.processFlag + " and " + flag;
        }
        o.processFlag = flag;
    }
    return std::nullopt;
}

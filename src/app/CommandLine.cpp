#include "CommandLine.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <iostream>

#include "RunOptions.h"
#include "RunSession.h"

namespace {

const std::string kUsage = std::string(
                               "usage: gleanmark run [OPTIONS] PATH...\n"
                               "\n") +
                           kRunOptionsHelp +
                           "\n"
                           "Messages go to standard error. Exit status: 0 run completed, 1 run "
                           "refused,\n"
                           "2 usage error, 3 result file not written, 130 ended by Ctrl+C "
                           "(what was\n"
                           "found so far is still written).\n";

int Usage(const std::string& problem) {
    std::cerr << "gleanmark: " << problem << "\n\n" << kUsage;
    return exitstatus::kUsage;
}

}  // namespace

int RunCommandLine(int argc, char* argv[]) {
    QCoreApplication app(argc, argv);
    QCommandLineParser parser;
    AddRunOptions(parser);
    parser.addOption(QCommandLineOption(QStringList{"h", "help"}));
    QStringList args = QCoreApplication::arguments();
    args.removeAt(1);  // "run"
    if (!parser.parse(args)) {
        return Usage(parser.errorText().toStdString());
    }
    if (parser.isSet("help")) {
        std::cout << kUsage;
        return exitstatus::kCompleted;
    }
    RunOptions options;
    if (auto problem = ReadRunOptions(parser, options)) {
        return Usage(*problem);
    }
    std::vector<std::string> paths;
    for (const QString& p : parser.positionalArguments()) {
        paths.push_back(p.toStdString());
    }
    if (paths.empty()) {
        return Usage("no PATH given");
    }

    RunSession session(options);
    if (auto problem = session.apply()) {
        return Usage(*problem);
    }
    if (auto problem = session.choose(paths)) {
        return Usage(*problem);
    }
    session.process();
    return session.finish();
}

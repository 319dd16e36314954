// The program users type: the command line itself, and the window through
// gleanmark-window. It links only what the commands need (no widgets, no
// browser), so that each of the many short command-line runs starts quickly.
#include <cstring>
#include <iostream>

#include "CommandLine.h"
#include "HarvestCommand.h"
#include "MergeCommand.h"
#include "WebCommands.h"
#include "WindowProgram.h"

int main(int argc, char* argv[]) {
    if (argc == 2 && std::strcmp(argv[1], "--version") == 0) {
        std::cout << "Gleanmark " GLEANMARK_VERSION "\n";
        return 0;
    }
    if (argc > 1) {
        if (std::strcmp(argv[1], "run") == 0) {
            return RunCommandLine(argc, argv);
        }
        if (std::strcmp(argv[1], "harvest") == 0) {
            return HarvestCommandLine(argc, argv);
        }
        if (std::strcmp(argv[1], "merge") == 0) {
            return MergeCommandLine(argc, argv);
        }
        if (std::strcmp(argv[1], "crawl") == 0 || std::strcmp(argv[1], "shortcut") == 0) {
            return WebCommandLine(argc, argv);
        }
        std::cerr
            << "usage: gleanmark            open the main window\n"
               "       gleanmark run --help       process files from the command line\n"
               "       gleanmark crawl --help     crawl a web site and process its pages\n"
               "       gleanmark shortcut --help  save, clear and process shortcut addresses\n"
               "       gleanmark harvest --help   find clean, validated contacts in files\n"
               "       gleanmark merge --help     add up the shards of harvests into one\n"
               "       gleanmark --version        print the version\n";
        return 2;
    }
    return StartWindowProgram(argv);
}

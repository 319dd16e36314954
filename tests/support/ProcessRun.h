#pragma once
// A program run as a process to its end, for the tests of the command line.
#include <signal.h>
#include <sys/types.h>

#include <QProcess>
#include <QThread>
#include <fstream>
#include <string>
#include <vector>

struct ProcessResult {
    int status;
    std::string out;
    std::string err;
};

// Runs `program` with `first` and then `args`, `input` on its standard input,
// in `cwd` when one is given; waits up to five minutes for it to end.
inline ProcessResult RunProcess(const QString& program, QStringList first,
                                const std::vector<std::string>& args = {},
                                const std::string& input = {}, const std::string& cwd = {}) {
    for (const std::string& a : args) {
        first << QString::fromStdString(a);
    }
    QProcess p;
    if (!cwd.empty()) {
        p.setWorkingDirectory(QString::fromStdString(cwd));
    }
    p.start(program, first);
    p.waitForStarted();
    p.write(input.data(), static_cast<qint64>(input.size()));
    p.closeWriteChannel();
    p.waitForFinished(300000);
    return {p.exitCode(), p.readAllStandardOutput().toStdString(),
            p.readAllStandardError().toStdString()};
}

// Whether the process catches `signal`, by its mask in /proc.
inline bool CatchesSignal(qint64 pid, int signal) {
    std::ifstream status("/proc/" + std::to_string(pid) + "/status");
    for (std::string line; std::getline(status, line);) {
        if (line.rfind("SigCgt:", 0) == 0) {
            return (std::stoull(line.substr(7), nullptr, 16) & (1ull << (signal - 1))) != 0;
        }
    }
    return false;
}

// Waits up to 30 s until the process catches `signal`.
inline bool WaitUntilCatching(qint64 pid, int signal) {
    for (int tries = 0; tries < 3000 && !CatchesSignal(pid, signal); ++tries) {
        QThread::msleep(10);
    }
    return CatchesSignal(pid, signal);
}

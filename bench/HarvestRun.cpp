#include "HarvestRun.h"

#include <fcntl.h>
#include <sched.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <mutex>
#include <stdexcept>
#include <thread>

namespace fs = std::filesystem;

Timing RunOnce(const std::vector<std::string>& args, const std::string& errorFile,
               std::string* output, bool oneCore, double interruptAfter) {
    int fds[2];
    if (pipe(fds) != 0) {
        throw std::runtime_error("pipe failed");
    }
    std::vector<char*> argv;
    for (const std::string& a : args) {
        argv.push_back(const_cast<char*>(a.c_str()));
    }
    argv.push_back(nullptr);
    const auto start = std::chrono::steady_clock::now();
    const pid_t child = fork();
    if (child < 0) {
        throw std::runtime_error("fork failed");
    }
    if (child == 0) {
        const int in = open("/dev/null", O_RDONLY);
        const int err = open(errorFile.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
        if (in < 0 || err < 0 || dup2(in, 0) < 0 || dup2(fds[1], 1) < 0 || dup2(err, 2) < 0) {
            _exit(127);
        }
        close(fds[0]);
        close(fds[1]);
        cpu_set_t cpus;
        if (oneCore && sched_getaffinity(0, sizeof cpus, &cpus) == 0) {
            for (int cpu = 0; cpu < CPU_SETSIZE; ++cpu) {
                if (CPU_ISSET(cpu, &cpus)) {
                    CPU_ZERO(&cpus);
                    CPU_SET(cpu, &cpus);
                    sched_setaffinity(0, sizeof cpus, &cpus);
                    break;
                }
            }
        }
        execvp(argv[0], argv.data());
        _exit(127);
    }
    close(fds[1]);
    // Ctrl+C from a thread of its own, unless the child is gone by then.
    std::mutex mutex;
    std::condition_variable ended;
    bool exited = false;
    std::chrono::steady_clock::time_point signalled{};
    std::thread interrupter;
    if (interruptAfter >= 0) {
        interrupter = std::thread([&] {
            std::unique_lock lock(mutex);
            if (!ended.wait_for(lock, std::chrono::duration<double>(interruptAfter),
                                [&] { return exited; })) {
                signalled = std::chrono::steady_clock::now();
                kill(child, SIGINT);
            }
        });
    }
    Timing t;
    char buffer[1 << 16];
    for (;;) {
        const ssize_t n = read(fds[0], buffer, sizeof buffer);
        if (n < 0 && errno == EINTR) {
            continue;
        }
        if (n <= 0) {
            break;
        }
        t.lines += static_cast<uint64_t>(std::count(buffer, buffer + n, '\n'));
        if (output != nullptr) {
            output->append(buffer, static_cast<size_t>(n));
        }
    }
    close(fds[0]);
    int status = 0;
    rusage usage{};
    while (wait4(child, &status, 0, &usage) < 0 && errno == EINTR) {
    }
    const auto end = std::chrono::steady_clock::now();
    if (interrupter.joinable()) {
        {
            std::lock_guard lock(mutex);
            exited = true;
        }
        ended.notify_all();
        interrupter.join();
        if (signalled != std::chrono::steady_clock::time_point{}) {
            t.stopSeconds = std::chrono::duration<double>(end - signalled).count();
        }
    }
    t.seconds = std::chrono::duration<double>(end - start).count();
    t.peakKb = usage.ru_maxrss;
    t.status = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    std::ifstream errors(errorFile);
    for (std::string line; std::getline(errors, line);) {
        ++t.errorLines;
    }
    return t;
}

Timing RunBest(const std::vector<std::string>& args, const std::string& errorFile, int runs,
               bool oneCore) {
    Timing best = RunOnce(args, errorFile, nullptr, oneCore);
    for (int i = 1; i < runs; ++i) {
        const Timing t = RunOnce(args, errorFile, nullptr, oneCore);
        best.seconds = std::min(best.seconds, t.seconds);
        best.peakKb = std::max(best.peakKb, t.peakKb);
        best.status = best.status != 0 ? best.status : t.status;
    }
    return best;
}

void WarmCache(const std::string& path) {
    std::vector<char> buffer(1 << 20);
    const auto warm = [&buffer](const fs::path& file) {
        const int fd = open(file.c_str(), O_RDONLY);
        if (fd < 0) {
            return;
        }
        while (read(fd, buffer.data(), buffer.size()) > 0) {
        }
        close(fd);
    };
    if (!fs::is_directory(path)) {
        warm(path);
        return;
    }
    for (const auto& entry : fs::recursive_directory_iterator(path)) {
        if (entry.is_regular_file()) {
            warm(entry.path());
        }
    }
}

void CountFiles(const std::string& path, uint64_t& files, uint64_t& bytes) {
    files = bytes = 0;
    if (!fs::is_directory(path)) {
        files = 1;
        bytes = fs::file_size(path);
        return;
    }
    for (const auto& entry : fs::recursive_directory_iterator(path)) {
        if (entry.is_regular_file()) {
            ++files;
            bytes += entry.file_size();
        }
    }
}

#pragma once

// Parts of a test that run in a child process, so that a file size limit or a
// kill never reaches the test program itself.

#include <signal.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <functional>
#include <string>
#include <vector>

// Writes that would reach past `bytes` into any file fail with EFBIG instead
// of killing the process. Only the soft limit moves, so RLIM_INFINITY lifts it.
inline void LimitFileSize(rlim_t bytes) {
    ::signal(SIGXFSZ, SIG_IGN);
    struct rlimit limit {};
    ::getrlimit(RLIMIT_FSIZE, &limit);
    limit.rlim_cur = std::min(bytes, limit.rlim_max);
    ::setrlimit(RLIMIT_FSIZE, &limit);
}

// For a program started with a file size limit: the coverage counts that a
// coverage build writes as it ends go under `counts`, where the limit can cut
// them short without harm.
inline void LimitProgramFileSize(rlim_t bytes, const std::string& counts) {
    ::setenv("GCOV_PREFIX", counts.c_str(), 1);
    LimitFileSize(bytes);
}

struct ChildResult {
    int exitCode;     // -1 when the child didn't exit by itself
    std::string out;  // what the child wrote to its standard output
};

inline ChildResult WaitForChild(pid_t pid, int outFd) {
    std::string out;
    char buffer[4096];
    for (ssize_t got; (got = ::read(outFd, buffer, sizeof buffer)) > 0;)
        out.append(buffer, static_cast<std::size_t>(got));
    ::close(outFd);
    int status = 0;
    ::waitpid(pid, &status, 0);
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, out};
}

// Coverage builds write their counts when the program ends, which a child
// leaving through _Exit would skip.
#ifdef BRISAVANE_COVERAGE
extern "C" void __gcov_dump();
#endif
inline void WriteCoverageCounts() {
#ifdef BRISAVANE_COVERAGE
    LimitFileSize(RLIM_INFINITY);  // written whole, not cut short by a test's limit
    __gcov_dump();
#endif
}

// Starts a child whose standard output comes back through the returned pipe
// end; body runs in the child, which then ends with the code it returns.
inline pid_t StartChild(const std::function<int()>& body, int& outFd) {
    int fds[2];
    if (::pipe(fds) != 0) return -1;
    std::fflush(nullptr);
    const pid_t pid = ::fork();
    if (pid == 0) {
        ::close(fds[0]);
        ::dup2(fds[1], STDOUT_FILENO);
        ::close(fds[1]);
        const int code = body();
        WriteCoverageCounts();
        std::_Exit(code);
    }
    ::close(fds[1]);
    outFd = fds[0];
    return pid;
}

// Runs body in a child; what it returns comes back as the child's output.
inline ChildResult InChild(const std::function<std::string()>& body) {
    int fd = -1;
    const pid_t pid = StartChild(
        [&] {
            const std::string report = body();
            std::fwrite(report.data(), 1, report.size(), stdout);
            std::fflush(stdout);
            return 0;
        },
        fd);
    return WaitForChild(pid, fd);
}

// Starts a program; setUp runs in the child before the program replaces it.
inline pid_t StartProgram(const std::vector<std::string>& argv, int& outFd,
                          const std::function<void()>& setUp = {}) {
    return StartChild(
        [&] {
            if (setUp) setUp();
            std::vector<char*> args;
            for (const std::string& a : argv) args.push_back(const_cast<char*>(a.c_str()));
            args.push_back(nullptr);
            ::execv(args[0], args.data());
            return 127;
        },
        outFd);
}

inline ChildResult RunProgram(const std::vector<std::string>& argv,
                              const std::function<void()>& setUp = {}) {
    int fd = -1;
    const pid_t pid = StartProgram(argv, fd, setUp);
    return WaitForChild(pid, fd);
}

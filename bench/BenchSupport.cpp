#include "BenchSupport.h"

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fstream>

#include "PixelLayout.h"

namespace fs = std::filesystem;

namespace bench {

namespace {
// A bench stopped by a signal takes its scratch folder with it: gigabytes
// left behind in /dev/shm squeeze the page cache and slow every later run on
// the machine, whichever program it measures. The handler does only what a
// signal handler may: it ends the program being measured, runs rm, and then
// ends as the signal would have.
char scratchFolder[4096] = "";
volatile pid_t measured = 0;

extern "C" void RemoveScratchAndEnd(int signal) {
    if (measured > 0) {
        ::kill(measured, SIGKILL);
        ::waitpid(measured, nullptr, 0);
    }
    if (const pid_t rm = ::fork(); rm == 0) {
        char* args[] = {const_cast<char*>("/bin/rm"), const_cast<char*>("-rf"), scratchFolder,
                        nullptr};
        ::execv(args[0], args);
        ::_exit(127);
    } else if (rm > 0) {
        ::waitpid(rm, nullptr, 0);
    }
    ::signal(signal, SIG_DFL);
    ::raise(signal);
}

void RemoveScratchOnSignals(const fs::path& folder) {
    folder.string().copy(scratchFolder, sizeof scratchFolder - 1);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) ::signal(signal, RemoveScratchAndEnd);
}
}  // namespace

Run Execute(const std::vector<std::string>& argv) {
    std::vector<char*> args;
    for (const std::string& a : argv) args.push_back(const_cast<char*>(a.c_str()));
    args.push_back(nullptr);
    const auto start = std::chrono::steady_clock::now();
    std::fflush(stdout);
    const pid_t pid = ::fork();
    if (pid == 0) {
        std::freopen("/dev/null", "w", stdout);
        ::execv(args[0], args.data());
        std::_Exit(127);
    }
    measured = pid;
    int status = 0;
    struct rusage usage {};
    ::wait4(pid, &status, 0, &usage);
    measured = 0;
    const double seconds =
        std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) {
        std::fprintf(stderr, "%s failed\n", argv[0].c_str());
        std::exit(1);
    }
    const auto time = [](const timeval& t) { return t.tv_sec + t.tv_usec / 1e6; };
    return {seconds, usage.ru_maxrss, time(usage.ru_utime), time(usage.ru_stime)};
}

Job Program(std::vector<std::string> argv, std::function<void()> prepare) {
    return [argv = std::move(argv), prepare = std::move(prepare)] {
        prepare();
        return Execute(argv);
    };
}

std::vector<Run> MeasureInTurn(const std::vector<Job>& jobs, int runs) {
    for (const Job& job : jobs) job();
    std::vector<std::vector<double>> wall(jobs.size()), user(jobs.size()), system(jobs.size());
    std::vector<Run> result(jobs.size(), Run{0, 0});
    for (int round = 0; round < runs; ++round)
        for (std::size_t k = 0; k < jobs.size(); ++k) {
            const Run r = jobs[k]();
            wall[k].push_back(r.seconds);
            user[k].push_back(r.user);
            system[k].push_back(r.system);
            result[k].peakKiB = std::max(result[k].peakKiB, r.peakKiB);
        }
    for (std::size_t k = 0; k < jobs.size(); ++k)
        result[k] = {Median(wall[k]), result[k].peakKiB, Median(user[k]), Median(system[k])};
    return result;
}

void Print(const char* what, const Run& run) {
    std::printf("  %-40s %7.3f s  (user %.3f, system %.3f)\n", what, run.seconds, run.user,
                run.system);
}

double Median(std::vector<double> seconds) {
    std::sort(seconds.begin(), seconds.end());
    return seconds[seconds.size() / 2];
}

namespace {
void Put(std::ofstream& out, std::uint32_t value, int bytes) {
    for (int k = 0; k < bytes; ++k) out.put(static_cast<char>((value >> (8 * k)) & 255u));
}

// sample(x, y, c) in 0..1; the ICC profile, if any, between the tags and the pixels.
template <class Sample>
void WriteTiff(const fs::path& path, int bits, const std::vector<std::uint8_t>& icc,
               Sample sample) {
    std::ofstream out(path, std::ios::binary);
    const std::uint32_t bytesPerSample = bits / 8, rowBytes = kWidth * 3 * bytesPerSample;
    const std::uint32_t entries = icc.empty() ? 10 : 11, ifd = 8;
    const std::uint32_t bitsAt = ifd + 2 + entries * 12 + 4, iccAt = bitsAt + 6;
    const auto iccBytes = static_cast<std::uint32_t>(icc.size() + icc.size() % 2);
    const std::uint32_t pixelsAt = iccAt + iccBytes;
    out.write("II", 2);
    Put(out, 42, 2);
    Put(out, ifd, 4);
    Put(out, entries, 2);
    const std::uint32_t tags[][4] = {{256, 4, 1, kWidth},
                                     {257, 4, 1, kHeight},
                                     {258, 3, 3, bitsAt},
                                     {259, 3, 1, 1},
                                     {262, 3, 1, 2},
                                     {273, 4, 1, pixelsAt},
                                     {277, 3, 1, 3},
                                     {278, 4, 1, kHeight},
                                     {279, 4, 1, rowBytes * kHeight},
                                     {284, 3, 1, 1},
                                     {34675, 7, static_cast<std::uint32_t>(icc.size()), iccAt}};
    for (std::uint32_t k = 0; k < entries; ++k) {
        for (int field = 0; field < 4; ++field) Put(out, tags[k][field], field < 2 ? 2 : 4);
    }
    Put(out, 0, 4);
    for (int k = 0; k < 3; ++k) Put(out, static_cast<std::uint32_t>(bits), 2);
    out.write(reinterpret_cast<const char*>(icc.data()), static_cast<std::streamsize>(icc.size()));
    if (icc.size() % 2) out.put(0);
    const PixelLayout layout = PixelLayout::For(3 * bytesPerSample, true, rowBytes);
    std::vector<std::uint8_t> row(rowBytes);
    for (std::uint32_t y = 0; y < kHeight; ++y) {
        for (std::uint32_t x = 0; x < kWidth; ++x)
            for (std::uint32_t c = 0; c < 3; ++c)
                layout.Store(row.data() + x * layout.pixelBytes, c,
                             static_cast<std::uint16_t>(sample(x, y, c) * layout.Ceiling()));
        out.write(reinterpret_cast<const char*>(row.data()), rowBytes);
    }
}

double Falloff(std::uint32_t x, std::uint32_t y) {
    const double dx = (x - kWidth * 0.5) / kWidth, dy = (y - kHeight * 0.5) / kHeight;
    return 0.95 - 0.8 * (dx * dx + dy * dy);
}
}  // namespace

void WriteWhiteCard(const fs::path& path, int bits, const std::vector<std::uint8_t>& icc) {
    WriteTiff(path, bits, icc, [](std::uint32_t x, std::uint32_t y, int) { return Falloff(x, y); });
}

void WriteSubject(const fs::path& path, int bits, const std::vector<std::uint8_t>& icc) {
    WriteTiff(path, bits, icc, [](std::uint32_t x, std::uint32_t y, int c) {
        return Falloff(x, y) * (0.3 + 0.2 * c + 0.1 * std::sin(x * 0.01 + y * 0.02));
    });
}

void WriteDarkFrame(const fs::path& path, int bits) {
    WriteTiff(path, bits, {}, [](std::uint32_t x, std::uint32_t y, int c) {
        return 0.01 + 0.002 * ((x * 7 + y * 13 + static_cast<std::uint32_t>(c)) % 5);
    });
}

void Warm(const std::vector<fs::path>& files) {
    std::vector<char> chunk(1 << 20);
    for (const fs::path& file : files) {
        std::ifstream in(file, std::ios::binary);
        while (in.read(chunk.data(), static_cast<std::streamsize>(chunk.size()))) {
        }
    }
}

void Empty(const fs::path& folder) {
    fs::remove_all(folder);
    fs::create_directories(folder);
    ::sync();
}

int RunAtDepths(int argc, char** argv, const DepthBench& bench, const std::vector<int>& depths) {
    const std::string cli = fs::absolute(argc > 1 ? argv[1] : "build/cli/brisavane-cli").string();
    const int runs = argc > 2 ? std::max(1, std::atoi(argv[2])) : 5;
    if (!fs::exists(cli)) {
        std::fprintf(stderr, "no brisavane-cli at %s\n", cli.c_str());
        return 2;
    }
    std::string pattern = (argc > 3 ? argv[3] : "/tmp") + std::string("/brisavane-bench-XXXXXX");
    if (!::mkdtemp(pattern.data())) {
        std::fprintf(stderr, "no folder can be made in %s\n", argc > 3 ? argv[3] : "/tmp");
        return 2;
    }
    const fs::path dir = pattern;
    RemoveScratchOnSignals(dir);
    std::vector<std::string> clis = {cli};
    if (const char* before = std::getenv("BRISAVANE_BENCH_BEFORE")) {
        clis.push_back(fs::absolute(before).string());
        std::printf("before: %s\n", clis.back().c_str());
    }
    ::setenv("TMPDIR", dir.c_str(), 1);
    std::printf("scratch files in %s\n", dir.c_str());
    for (const int bits : depths) bench(clis, dir, bits, runs);
    fs::remove_all(dir);
    return 0;
}

}  // namespace bench

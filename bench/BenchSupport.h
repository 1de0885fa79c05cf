#pragma once

// What the benchmarks share: the 6000 x 4000 test files and the timing of
// programs run to their end.

#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

namespace bench {

inline constexpr std::uint32_t kWidth = 6000, kHeight = 4000;

// Wall time, and the CPU time the program spent in itself and in the kernel:
// on a shared machine the kernel's share (page allocation, writeback of
// earlier outputs) varies far more from run to run than the program's own.
struct Run {
    double seconds;
    long peakKiB;
    double user = 0;
    double system = 0;
};

// User and system time together.
inline double CpuSeconds(const Run& run) {
    return run.user + run.system;
}

// Runs a program to its end with stdout to /dev/null; exits the benchmark
// when the program fails.
Run Execute(const std::vector<std::string>& argv);

// One thing to time, run to its end: its wall time and peak memory.
using Job = std::function<Run()>;

// A program run to its end after `prepare` has cleared what the last run left.
Job Program(
    std::vector<std::string> argv, std::function<void()> prepare = [] {});

// Runs every job once per round, in turn, after one round that warms the page
// cache, so that the machine's ups and downs fall on all of them alike and
// their ratios hold. Per job: the median wall, user and system times and the
// largest peak.
std::vector<Run> MeasureInTurn(const std::vector<Job>& jobs, int runs);

// One line of a report: what was run, its wall, user and system times.
void Print(const char* what, const Run& run);

// The median of the given times.
double Median(std::vector<double> seconds);

// A little-endian RGB TIFF of kWidth x kHeight in one strip lit like a white
// card with falloff toward the corners, and a subject shot under the same light;
// with the ICC profile given, if any.
void WriteWhiteCard(const std::filesystem::path& path, int bits,
                    const std::vector<std::uint8_t>& icc = {});
void WriteSubject(const std::filesystem::path& path, int bits,
                  const std::vector<std::uint8_t>& icc = {});
// A dark frame of the same size: the sensor's own faint signal, lens capped.
void WriteDarkFrame(const std::filesystem::path& path, int bits);

// Reads the files through once, so that they are in the page cache: a machine
// that hands idle pages back would otherwise make a run read from the disk.
void Warm(const std::vector<std::filesystem::path>& files);

// An empty folder, made anew. The removal is written through to the disk at
// once: left pending, it made later runs' copies wait on the file system now
// and then, up to ten times as long as a copy takes.
void Empty(const std::filesystem::path& folder);

// One benchmark at one sample depth, its files in dir: for each brisavane-cli
// given (this build's, then an earlier one's when BRISAVANE_BENCH_BEFORE names
// it), the same runs, taking turns with each other.
using DepthBench = std::function<void(const std::vector<std::string>& clis,
                                      const std::filesystem::path& dir, int bits, int runs)>;

// How a line of the k-th brisavane-cli's figures begins: "" or "before: ".
inline const char* Who(std::size_t k) {
    return k == 0 ? "" : "before: ";
}

// Takes [brisavane-cli] [runs] [folder] from the command line and runs the
// benchmark at each depth given in a temporary folder made in folder (/tmp if
// not given; a tmpfs such as /dev/shm gives the steadiest figures), removed at
// the end; the exit status. The programs' scratch files (TMPDIR) go into that
// folder too: in a tmpfs their pages count in no process's resident size.
int RunAtDepths(int argc, char** argv, const DepthBench& bench, const std::vector<int>& depths);
inline int RunInBothDepths(int argc, char** argv, const DepthBench& bench) {
    return RunAtDepths(argc, argv, bench, {16, 8});
}

}  // namespace bench

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

struct Run {
    double seconds;
    long peakKiB;
};

// Runs a program to its end with stdout to /dev/null; exits the benchmark
// when the program fails.
Run Execute(const std::vector<std::string>& argv);

// Median wall time and largest peak memory of several runs, after one run
// that warms the page cache; before each run `prepare` clears what the last
// one left.
template <class Prepare>
Run Measure(const std::vector<std::string>& argv, int runs, Prepare prepare);

// The median of the given times.
double Median(std::vector<double> seconds);

// A little-endian RGB TIFF of kWidth x kHeight in one strip lit like a white
// card with falloff toward the corners, and a subject shot under the same light.
void WriteWhiteCard(const std::filesystem::path& path, int bits);
void WriteSubject(const std::filesystem::path& path, int bits);

// An empty folder, made anew.
void Empty(const std::filesystem::path& folder);

// One benchmark at one sample depth, its files in dir.
using DepthBench = std::function<void(const std::string& cli, const std::filesystem::path& dir,
                                      int bits, int runs)>;

// Takes [brisavane-cli] [runs] from the command line and runs the benchmark in
// 16-bit and 8-bit in a temporary folder, removed at the end; the exit status.
int RunInBothDepths(int argc, char** argv, const DepthBench& bench);

template <class Prepare>
Run Measure(const std::vector<std::string>& argv, int runs, Prepare prepare) {
    std::vector<double> times;
    long peak = 0;
    prepare();
    Execute(argv);
    for (int k = 0; k < runs; ++k) {
        prepare();
        const Run r = Execute(argv);
        times.push_back(r.seconds);
        if (r.peakKiB > peak) peak = r.peakKiB;
    }
    return {Median(times), peak};
}

}  // namespace bench

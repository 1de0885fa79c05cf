// Measures brisavane-cli on a 6000 x 4000 white card and subject, in 16-bit and
// 8-bit, against plain file copies and reads of the same bytes:
//
//     build/bench/brisavane-bench [build/cli/brisavane-cli] [runs]
//
// Every figure is the median of the runs, with the page cache warm.

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

namespace fs = std::filesystem;

namespace {
constexpr std::uint32_t kWidth = 6000, kHeight = 4000;

struct Run {
    double seconds;
    long peakKiB;
};

// Runs a program to its end; stdout goes to /dev/null.
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
    int status = 0;
    struct rusage usage {};
    ::wait4(pid, &status, 0, &usage);
    const double seconds =
        std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) {
        std::fprintf(stderr, "%s failed\n", argv[0].c_str());
        std::exit(1);
    }
    return {seconds, usage.ru_maxrss};
}

// Median wall time and largest peak memory of several runs; before each run
// `prepare` clears what the last one left.
template <class Prepare>
Run Measure(const std::vector<std::string>& argv, int runs, Prepare prepare) {
    std::vector<double> times;
    long peak = 0;
    prepare();
    Execute(argv);  // warms the page cache
    for (int k = 0; k < runs; ++k) {
        prepare();
        const Run r = Execute(argv);
        times.push_back(r.seconds);
        peak = std::max(peak, r.peakKiB);
    }
    std::sort(times.begin(), times.end());
    return {times[times.size() / 2], peak};
}

void Put(std::ofstream& out, std::uint32_t value, int bytes) {
    for (int k = 0; k < bytes; ++k) out.put(static_cast<char>((value >> (8 * k)) & 255u));
}

// A little-endian RGB TIFF in one strip; sample(x, y, c) in 0..1.
template <class Sample>
void WriteTiff(const fs::path& path, int bits, Sample sample) {
    std::ofstream out(path, std::ios::binary);
    const std::uint32_t bytesPerSample = bits / 8, rowBytes = kWidth * 3 * bytesPerSample;
    const std::uint32_t entries = 10, ifd = 8, bitsAt = ifd + 2 + entries * 12 + 4;
    const std::uint32_t pixelsAt = bitsAt + 6;
    out.write("II", 2);
    Put(out, 42, 2);
    Put(out, ifd, 4);
    Put(out, entries, 2);
    const std::uint32_t tags[][3] = {
        {256, 4, kWidth}, {257, 4, kHeight}, {258, 3, bitsAt},
        {259, 3, 1},      {262, 3, 2},       {273, 4, pixelsAt},
        {277, 3, 3},      {278, 4, kHeight}, {279, 4, rowBytes * kHeight},
        {284, 3, 1}};
    for (const auto& t : tags) {
        Put(out, t[0], 2);
        Put(out, t[1], 2);
        Put(out, t[0] == 258 ? 3 : 1, 4);
        Put(out, t[2], 4);
    }
    Put(out, 0, 4);
    for (int k = 0; k < 3; ++k) Put(out, static_cast<std::uint32_t>(bits), 2);
    const double peak = bits == 8 ? 255.0 : 65535.0;
    std::vector<char> row(rowBytes);
    for (std::uint32_t y = 0; y < kHeight; ++y) {
        for (std::uint32_t x = 0; x < kWidth; ++x)
            for (std::uint32_t c = 0; c < 3; ++c) {
                const auto v = static_cast<std::uint32_t>(sample(x, y, c) * peak);
                for (std::uint32_t b = 0; b < bytesPerSample; ++b)
                    row[(x * 3 + c) * bytesPerSample + b] =
                        static_cast<char>((v >> (8 * b)) & 255u);
            }
        out.write(row.data(), rowBytes);
    }
}

double Falloff(std::uint32_t x, std::uint32_t y) {
    const double dx = (x - kWidth * 0.5) / kWidth, dy = (y - kHeight * 0.5) / kHeight;
    return 0.95 - 0.8 * (dx * dx + dy * dy);
}

// The white card is scanned once per run, so the cost of equalizing one more
// subject is told apart from the scan by running one subject and then several.
constexpr int kExtraSubjects = 3;

void Bench(const std::string& cli, const fs::path& dir, int bits, int runs) {
    const fs::path white = dir / ("white" + std::to_string(bits) + ".tif");
    const fs::path many = dir / ("subjects" + std::to_string(bits));
    const fs::path subject = many / "subject0.tif";
    const fs::path out = dir / "out";
    fs::create_directories(many);
    WriteTiff(white, bits, [](std::uint32_t x, std::uint32_t y, int) { return Falloff(x, y); });
    WriteTiff(subject, bits, [](std::uint32_t x, std::uint32_t y, int c) {
        return Falloff(x, y) * (0.3 + 0.2 * c + 0.1 * std::sin(x * 0.01 + y * 0.02));
    });
    for (int k = 1; k <= kExtraSubjects; ++k)
        fs::copy_file(subject, many / ("subject" + std::to_string(k) + ".tif"));
    const auto clear = [&] {
        fs::remove_all(out);
        fs::create_directories(out);
    };
    const double megabytes = static_cast<double>(fs::file_size(subject)) / 1e6;
    const std::vector<std::string> equalize = {cli,        "equalize",  "--white", white.string(),
                                               "--output", out.string()};
    const auto with = [&](const fs::path& subjects) {
        std::vector<std::string> argv = equalize;
        argv.push_back(subjects.string());
        return argv;
    };

    const Run cp = Measure({"/bin/cp", subject.string(), (out / "copy.tif").string()}, runs, clear);
    const Run one = Measure(with(subject), runs, clear);
    const Run all = Measure(with(many), runs, clear);
    const Run scan = Measure({cli, "analyze", white.string()}, runs, [] {});
    const Run read = Measure({"/bin/cat", white.string()}, runs, [] {});
    const double each = (all.seconds - one.seconds) / kExtraSubjects;

    std::printf("%d-bit, %u x %u, %.1f MB a file, median of %d runs\n", bits, kWidth, kHeight,
                megabytes, runs);
    std::printf("  cp of the subject                       %7.3f s\n", cp.seconds);
    std::printf("  equalize, one subject (with card scan)  %7.3f s  %5.2f x cp\n", one.seconds,
                one.seconds / cp.seconds);
    std::printf(
        "  equalize, each further subject          %7.3f s  %5.2f x cp  (target <= 3.5)"
        "  %.0f MB/s\n",
        each, each / cp.seconds, megabytes / each);
    std::printf(
        "  white card scan (analyze)               %7.3f s  %5.2f x a plain read (%.3f s)\n",
        scan.seconds, scan.seconds / read.seconds, read.seconds);
    std::printf("  peak memory of equalize                 %7.1f MiB  (target < 16)\n",
                std::max(one.peakKiB, all.peakKiB) / 1024.0);
}
}  // namespace

int main(int argc, char** argv) {
    const std::string cli = fs::absolute(argc > 1 ? argv[1] : "build/cli/brisavane-cli").string();
    const int runs = argc > 2 ? std::max(1, std::atoi(argv[2])) : 5;
    if (!fs::exists(cli)) {
        std::fprintf(stderr, "no brisavane-cli at %s\n", cli.c_str());
        return 2;
    }
    char pattern[] = "/tmp/brisavane-bench-XXXXXX";
    const fs::path dir = ::mkdtemp(pattern);
    Bench(cli, dir, 16, runs);
    Bench(cli, dir, 8, runs);
    fs::remove_all(dir);
    return 0;
}

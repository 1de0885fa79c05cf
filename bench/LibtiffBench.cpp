// Measures brisavane-cli on subjects it reads through libtiff, a 6000 x 4000
// card and subject in 16-bit and 8-bit, against what the same bytes cost
// elsewhere in the same run:
//
//     build/bench/brisavane-libtiff-bench [build/cli/brisavane-cli] [runs] [folder]
//
// with BRISAVANE_BENCH_BEFORE naming an earlier brisavane-cli to compare with.
// An LZW subject (strips of 16 rows, predictor 2) against tiffcp re-encoding
// that file the same way, and an uncompressed subject in strips of 16 rows
// against the same pixels in one strip, which the one-strip engine takes; and 8
// LZW subjects with the card in LZW strips against the card in one plain
// strip (the LZW card is decoded once a run). Medians of the runs, page cache
// warm, the programs taking turns.

#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

#include "BenchSupport.h"

namespace fs = std::filesystem;
using namespace bench;

namespace {
// tiffcp with the given options, from one file into another.
std::vector<std::string> Tiffcp(std::vector<std::string> options, const fs::path& from,
                                const fs::path& to) {
    options.insert(options.begin(), "/usr/bin/tiffcp");
    options.push_back(from.string());
    options.push_back(to.string());
    return options;
}

constexpr int kSubjects = 8;

struct Files {
    fs::path white, lzwWhite, plain, lzw, strips, many, out;
};

// One brisavane-cli's runs: the subject in one strip, in LZW strips and in
// uncompressed strips, and 8 LZW subjects with the LZW card and with the card
// in one plain strip.
std::vector<Job> Runs(const std::string& cli, const Files& f) {
    const auto prepare = [&f](std::vector<fs::path> files) {
        return [&f, files] {
            Empty(f.out);
            Warm(files);
        };
    };
    const auto equalize = [&](const fs::path& white, const fs::path& subject,
                              std::vector<fs::path> warm) {
        warm.insert(warm.end(), {white, subject});
        return Program({cli, "equalize", "--white", white.string(), "--output", f.out.string(),
                        subject.string()},
                       prepare(warm));
    };
    std::vector<fs::path> many;
    for (const auto& entry : fs::directory_iterator(f.many)) many.push_back(entry.path());
    return {equalize(f.white, f.plain, {}), equalize(f.white, f.lzw, {}),
            equalize(f.white, f.strips, {}), equalize(f.lzwWhite, f.many, many),
            equalize(f.white, f.many, many)};
}

void Report(const char* who, const Run& tiffcp, const Run* r) {
    const Run &engine = r[0], &lzw = r[1], &strips = r[2], &lzwCard = r[3], &plainCard = r[4];
    const std::string w = who;
    Print((w + "equalize, one strip (one-strip engine)").c_str(), engine);
    Print((w + "equalize, LZW strips of 16 rows").c_str(), lzw);
    Print((w + "equalize, uncompressed strips of 16 rows").c_str(), strips);
    Print((w + "8 LZW subjects, the LZW card").c_str(), lzwCard);
    Print((w + "8 LZW subjects, the card in one strip").c_str(), plainCard);
    std::printf(
        "  %sLZW subject      %5.2f x tiffcp    (target <= 1.3; CPU %.2f x), peak %.1f MiB\n", who,
        lzw.seconds / tiffcp.seconds, CpuSeconds(lzw) / CpuSeconds(tiffcp), lzw.peakKiB / 1024.0);
    std::printf(
        "  %s16-row strips    %5.2f x one strip (target <= 1.2; CPU %.2f x), peak %.1f MiB\n", who,
        strips.seconds / engine.seconds, CpuSeconds(strips) / CpuSeconds(engine),
        strips.peakKiB / 1024.0);
    std::printf(
        "  %sthe LZW card     %5.2f x one strip (target <= 1.15; CPU %.2f x), peak %.1f "
        "MiB\n",
        who, lzwCard.seconds / plainCard.seconds, CpuSeconds(lzwCard) / CpuSeconds(plainCard),
        lzwCard.peakKiB / 1024.0);
}

void Bench(const std::vector<std::string>& clis, const fs::path& dir, int bits, int runs) {
    const std::string depth = std::to_string(bits);
    const Files f{dir / ("white" + depth + ".tif"),
                  dir / ("lzwwhite" + depth + ".tif"),
                  dir / ("plain" + depth + ".tif"),
                  dir / ("lzw" + depth + ".tif"),
                  dir / ("strips" + depth + ".tif"),
                  dir / ("many" + depth),
                  dir / "out"};
    WriteWhiteCard(f.white, bits);
    WriteSubject(f.plain, bits);
    const std::vector<std::string> kLzw = {"-r", "16", "-c", "lzw:2"};
    Execute(Tiffcp(kLzw, f.plain, f.lzw));  // exits the benchmark when it fails
    Execute(Tiffcp(kLzw, f.white, f.lzwWhite));
    Execute(Tiffcp({"-r", "16"}, f.plain, f.strips));
    fs::create_directories(f.many);
    for (int k = 0; k < kSubjects; ++k)
        fs::copy_file(f.lzw, f.many / ("subject" + std::to_string(k) + ".tif"));
    std::vector<Job> jobs = {Program(Tiffcp(kLzw, f.lzw, f.out / "tiffcp.tif"), [&f] {
        Empty(f.out);
        Warm({f.lzw});
    })};
    for (const std::string& cli : clis) {
        const std::vector<Job> runs = Runs(cli, f);
        jobs.insert(jobs.end(), runs.begin(), runs.end());
    }
    const std::vector<Run> inTurn = MeasureInTurn(jobs, runs);
    std::printf("%d-bit, %u x %u, median of %d rounds\n", bits, kWidth, kHeight, runs);
    Print("tiffcp -r 16 -c lzw:2 of the LZW subject", inTurn[0]);
    for (std::size_t k = 0; k < clis.size(); ++k) Report(Who(k), inTurn[0], &inTurn[1 + 5 * k]);
}
}  // namespace

int main(int argc, char** argv) {
    return RunInBothDepths(argc, argv, Bench);
}

// Measures brisavane-cli on subjects it reads through libtiff, a 6000 x 4000
// card and subject in 16-bit and 8-bit, against what the same bytes cost
// elsewhere in the same run:
//
//     build/bench/brisavane-libtiff-bench [build/cli/brisavane-cli] [runs] [folder]
//
// with BRISAVANE_BENCH_BEFORE naming an earlier brisavane-cli to compare with.
// An LZW subject (strips of 16 rows, predictor 2) against tiffcp re-encoding
// that file the same way, and an uncompressed subject in strips of 16 rows
// against the same pixels in one strip, which the one-strip engine takes.
// Medians of the runs, page cache warm, the programs taking turns.

#include <cstdio>
#include <cstdlib>
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

void Bench(const std::string& cli, const fs::path& dir, int bits, int runs) {
    const std::string depth = std::to_string(bits);
    const fs::path white = dir / ("white" + depth + ".tif"),
                   plain = dir / ("plain" + depth + ".tif");
    const fs::path lzw = dir / ("lzw" + depth + ".tif"), strips = dir / ("strips" + depth + ".tif");
    const fs::path out = dir / "out";
    WriteWhiteCard(white, bits);
    WriteSubject(plain, bits);
    const std::vector<std::string> kLzw = {"-r", "16", "-c", "lzw:2"};
    Execute(Tiffcp(kLzw, plain, lzw));  // exits the benchmark when it fails
    Execute(Tiffcp({"-r", "16"}, plain, strips));
    const auto prepare = [&out](std::vector<fs::path> files) {
        return [&out, files] {
            Empty(out);
            Warm(files);
        };
    };
    const auto equalize = [&](const fs::path& subject, const std::string& program) {
        return Program({program, "equalize", "--white", white.string(), "--output", out.string(),
                        subject.string()},
                       prepare({white, subject}));
    };
    std::vector<Job> jobs = {Program(Tiffcp(kLzw, lzw, out / "tiffcp.tif"), prepare({lzw})),
                             equalize(plain, cli), equalize(lzw, cli), equalize(strips, cli)};
    // An earlier build takes its turns too, so that a change is measured
    // before and after in the same run.
    const char* before = std::getenv("BRISAVANE_BENCH_BEFORE");
    if (before) jobs.insert(jobs.end(), {equalize(lzw, before), equalize(strips, before)});
    const std::vector<Run> inTurn = MeasureInTurn(jobs, runs);
    const Run &tiffcp = inTurn[0], &engine = inTurn[1];

    std::printf("%d-bit, %u x %u, median of %d rounds\n", bits, kWidth, kHeight, runs);
    Print("tiffcp -r 16 -c lzw:2 of the LZW subject", tiffcp);
    Print("equalize, one strip (one-strip engine)", engine);
    const auto cpu = [](const Run& r) { return r.user + r.system; };
    for (std::size_t k = 2; k < inTurn.size(); ++k) {  // LZW and strips, after and before
        const bool lzwRun = k % 2 == 0, earlier = k >= 4;
        const Run& run = inTurn[k];
        Print(lzwRun ? (earlier ? "before: equalize, LZW" : "equalize, LZW strips of 16 rows")
                     : (earlier ? "before: equalize, 16-row strips"
                                : "equalize, uncompressed strips of 16 rows"),
              run);
        const Run& against = lzwRun ? tiffcp : engine;
        std::printf("    %5.2f x %s (target <= %.1f; CPU %.2f x), peak %.1f MiB\n",
                    run.seconds / against.seconds, lzwRun ? "tiffcp" : "one strip",
                    lzwRun ? 1.3 : 1.2, cpu(run) / cpu(against), run.peakKiB / 1024.0);
    }
}
}  // namespace

int main(int argc, char** argv) {
    return RunInBothDepths(argc, argv, Bench);
}

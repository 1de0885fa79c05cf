// Measures brisavane-cli on subjects it reads through libtiff, a 6000 x 4000
// card and subject in 16-bit and 8-bit, against what the same bytes cost
// elsewhere in the same run:
//
//     build/bench/brisavane-libtiff-bench [build/cli/brisavane-cli] [runs] [folder]
//
// An LZW subject (strips of 16 rows, predictor 2) against tiffcp re-encoding
// that file the same way, and an uncompressed subject in strips of 16 rows
// against the same pixels in one strip, which the one-strip engine takes.
// Medians of the runs, page cache warm, the programs taking turns.

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
    const auto equalize = [&](const fs::path& subject) {
        return Program({cli, "equalize", "--white", white.string(), "--output", out.string(),
                        subject.string()},
                       prepare({white, subject}));
    };
    const std::vector<Run> inTurn =
        MeasureInTurn({Program(Tiffcp(kLzw, lzw, out / "tiffcp.tif"), prepare({lzw})),
                       equalize(lzw), equalize(plain), equalize(strips)},
                      runs);
    const Run &tiffcp = inTurn[0], &throughLzw = inTurn[1], &engine = inTurn[2],
              &throughStrips = inTurn[3];

    std::printf("%d-bit, %u x %u, median of %d rounds\n", bits, kWidth, kHeight, runs);
    Print("tiffcp -r 16 -c lzw:2 of the LZW subject", tiffcp);
    Print("equalize, LZW strips of 16 rows", throughLzw);
    Print("equalize, one strip (one-strip engine)", engine);
    Print("equalize, uncompressed strips of 16 rows", throughStrips);
    const auto cpu = [](const Run& r) { return r.user + r.system; };
    std::printf("  LZW subject          %5.2f x tiffcp      (target <= 1.3; CPU %.2f x)\n",
                throughLzw.seconds / tiffcp.seconds, cpu(throughLzw) / cpu(tiffcp));
    std::printf("  16-row strips        %5.2f x one strip   (target <= 1.2; CPU %.2f x)\n",
                throughStrips.seconds / engine.seconds, cpu(throughStrips) / cpu(engine));
    std::printf("  peak memory, LZW     %7.1f MiB\n", throughLzw.peakKiB / 1024.0);
}
}  // namespace

int main(int argc, char** argv) {
    return RunInBothDepths(argc, argv, Bench);
}

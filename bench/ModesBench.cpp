// Measures what brisavane-cli's correction modes cost on a 6000 x 4000 16-bit
// white card and subject with an sRGB profile, against the default correction
// and the white card scan:
//
//     build/bench/brisavane-modes-bench [build/cli/brisavane-cli] [runs] [folder]
//
// Every figure is the median of the runs, with the page cache warm; the runs
// take turns, so that each ratio compares runs made side by side. The numbered
// lines are the targets.

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

#include "BenchSupport.h"
#include "support/SavedProfile.h"

namespace fs = std::filesystem;
using namespace bench;

namespace {
void Bench(const std::string& cli, const fs::path& dir, int bits, int runs) {
    const fs::path white = dir / "white.tif", subject = dir / "subject.tif", out = dir / "out";
    const std::vector<std::uint8_t> srgb = SavedProfile(cmsCreate_sRGBProfile());
    WriteWhiteCard(white, bits, srgb);
    WriteSubject(subject, bits, srgb);
    const auto prepare = [&out](std::vector<fs::path> files) {
        return [&out, files] {
            Empty(out);
            Warm(files);
        };
    };
    const auto equalize = [&](std::vector<std::string> modes) {
        std::vector<std::string> argv = {cli,        "equalize",  "--white", white.string(),
                                         "--output", out.string()};
        argv.insert(argv.end(), modes.begin(), modes.end());
        argv.push_back(subject.string());
        return Program(argv, prepare({white, subject}));
    };
    const std::vector<std::string> rgb = {"--channels", "rgb", "--max-gain", "4"};
    const auto plus = [&rgb](std::vector<std::string> more) {
        more.insert(more.begin(), rgb.begin(), rgb.end());
        return more;
    };
    // Smoothing is told apart from the rest of the modes' work by running the
    // same modes with it and without.
    const std::vector<Run> inTurn =
        MeasureInTurn({equalize({}), equalize(rgb), equalize(plus({"--linear"})),
                       equalize(plus({"--smooth", "16"})),
                       Program({cli, "analyze", white.string()}, prepare({white}))},
                      runs);
    const Run &plain = inTurn[0], &channels = inTurn[1], &linear = inTurn[2], &smooth = inTurn[3],
              &scan = inTurn[4];
    const auto cpu = [](const Run& r) { return r.user + r.system; };

    std::printf("%d-bit, %u x %u, sRGB profile, one subject, median of %d rounds\n", bits, kWidth,
                kHeight, runs);
    Print("equalize", plain);
    Print("equalize --channels rgb --max-gain 4", channels);
    Print("  and --linear", linear);
    Print("  and --smooth 16", smooth);
    Print("analyze (the white card scan)", scan);
    std::printf("  1. rgb and a gain cap      %5.2f x equalize  (target <= 1.5; CPU %.2f x)\n",
                channels.seconds / plain.seconds, cpu(channels) / cpu(plain));
    std::printf("  2. and linear light        %5.2f x equalize  (target <= 2.0; CPU %.2f x)\n",
                linear.seconds / plain.seconds, cpu(linear) / cpu(plain));
    std::printf("  3. smoothing the card      %5.2f x the scan  (target <= 2.0; CPU %.2f x)\n",
                (smooth.seconds - channels.seconds) / scan.seconds,
                (cpu(smooth) - cpu(channels)) / cpu(scan));
    std::printf("  4. peak memory, --smooth 16  %6.1f MiB     (target <= 64)\n",
                smooth.peakKiB / 1024.0);
}
}  // namespace

int main(int argc, char** argv) {
    return RunAtDepths(argc, argv, Bench, {16});
}

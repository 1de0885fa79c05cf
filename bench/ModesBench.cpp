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
constexpr int kSubjects = 8;

struct Files {
    fs::path white, shot, dark, subject, many, out;
};

// One brisavane-cli's runs: the default, the modes, the card's scan, and 8
// subjects with two shots of the card and a dark frame against one shot.
std::vector<Job> Runs(const std::string& cli, const Files& f) {
    const auto prepare = [&f](std::vector<fs::path> files) {
        return [&f, files] {
            Empty(f.out);
            Warm(files);
        };
    };
    const auto equalize = [&](std::vector<std::string> modes, const fs::path& subjects,
                              std::vector<fs::path> warm) {
        std::vector<std::string> argv = {cli,        "equalize",    "--white", f.white.string(),
                                         "--output", f.out.string()};
        argv.insert(argv.end(), modes.begin(), modes.end());
        argv.push_back(subjects.string());
        warm.push_back(subjects);
        return Program(argv, prepare(warm));
    };
    const std::vector<std::string> rgb = {"--channels", "rgb", "--max-gain", "4"};
    const auto plus = [&rgb](std::vector<std::string> more) {
        more.insert(more.begin(), rgb.begin(), rgb.end());
        return more;
    };
    std::vector<fs::path> all = {f.white, f.shot, f.dark};
    for (const auto& entry : fs::directory_iterator(f.many)) all.push_back(entry.path());
    // Smoothing is told apart from the rest of the modes' work by running the
    // same modes with it and without.
    return {equalize({}, f.subject, {f.white}),
            equalize(rgb, f.subject, {f.white}),
            equalize(plus({"--linear"}), f.subject, {f.white}),
            equalize(plus({"--smooth", "16"}), f.subject, {f.white}),
            Program({cli, "analyze", f.white.string()}, prepare({f.white})),
            equalize({}, f.many, all),
            equalize({"--white", f.shot.string(), "--dark", f.dark.string()}, f.many, all)};
}

void Report(const char* who, const Run* r) {
    const Run &plain = r[0], &channels = r[1], &linear = r[2], &smooth = r[3], &scan = r[4],
              &oneShot = r[5], &twoShots = r[6];
    const std::string w = who;
    Print((w + "equalize").c_str(), plain);
    Print((w + "equalize --channels rgb --max-gain 4").c_str(), channels);
    Print((w + "  and --linear").c_str(), linear);
    Print((w + "  and --smooth 16").c_str(), smooth);
    Print((w + "analyze (the white card scan)").c_str(), scan);
    Print((w + "8 subjects, one shot").c_str(), oneShot);
    Print((w + "8 subjects, two shots and --dark").c_str(), twoShots);
    std::printf("  %s1. rgb and a gain cap      %5.2f x equalize  (target <= 1.5; CPU %.2f x)\n",
                who, channels.seconds / plain.seconds, CpuSeconds(channels) / CpuSeconds(plain));
    std::printf("  %s2. and linear light        %5.2f x equalize  (target <= 2.0; CPU %.2f x)\n",
                who, linear.seconds / plain.seconds, CpuSeconds(linear) / CpuSeconds(plain));
    std::printf("  %s3. smoothing the card      %5.2f x the scan  (target <= 2.0; CPU %.2f x)\n",
                who, (smooth.seconds - channels.seconds) / scan.seconds,
                (CpuSeconds(smooth) - CpuSeconds(channels)) / CpuSeconds(scan));
    long peak = 0;
    for (int k = 1; k < 7; ++k) peak = std::max(peak, r[k].peakKiB);
    std::printf("  %s4. peak memory of the modes  %6.1f MiB     (target <= 64)\n", who,
                peak / 1024.0);
    std::printf(
        "  %s5. two shots and --dark    %5.2f x one shot, 8 subjects (target <= 1.2; CPU "
        "%.2f x)\n",
        who, twoShots.seconds / oneShot.seconds, CpuSeconds(twoShots) / CpuSeconds(oneShot));
}

void Bench(const std::vector<std::string>& clis, const fs::path& dir, int bits, int runs) {
    const Files f{dir / "white.tif",         dir / "shot.tif", dir / "dark.tif",
                  dir / "many/subject0.tif", dir / "many",     dir / "out"};
    fs::create_directories(f.many);
    const std::vector<std::uint8_t> srgb = SavedProfile(cmsCreate_sRGBProfile());
    WriteWhiteCard(f.white, bits, srgb);
    WriteWhiteCard(f.shot, bits, srgb);
    WriteDarkFrame(f.dark, bits);
    WriteSubject(f.subject, bits, srgb);
    for (int k = 1; k < kSubjects; ++k)
        fs::copy_file(f.subject, f.many / ("subject" + std::to_string(k) + ".tif"));
    std::vector<Job> jobs;
    for (const std::string& cli : clis) {
        const std::vector<Job> runs = Runs(cli, f);
        jobs.insert(jobs.end(), runs.begin(), runs.end());
    }
    const std::vector<Run> inTurn = MeasureInTurn(jobs, runs);
    std::printf("%d-bit, %u x %u, sRGB profile, median of %d rounds\n", bits, kWidth, kHeight,
                runs);
    for (std::size_t k = 0; k < clis.size(); ++k) Report(Who(k), &inTurn[7 * k]);
}
}  // namespace

int main(int argc, char** argv) {
    return RunAtDepths(argc, argv, Bench, {16});
}

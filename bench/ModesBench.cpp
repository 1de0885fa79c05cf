// Measures brisavane-cli's correction modes on a 6000 x 4000 16-bit white card
// and subject that carry sRGB's ICC profile, against the default correction:
//
//     build/bench/brisavane-modes-bench [build/cli/brisavane-cli] [runs] [folder]
//
// The cost of a subject is told apart from the card's scan by running one
// subject and then three, one at a time; every figure is the median of the
// runs, with the programs taking turns and the page cache warm.

#include <lcms2.h>
#include <tiffio.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "BenchSupport.h"

namespace fs = std::filesystem;
using namespace bench;

namespace {
constexpr int kSubjects = 3;

// The profile goes into the directory only; the pixels stay one plain strip.
void EmbedSrgb(const fs::path& file) {
    cmsHPROFILE profile = cmsCreate_sRGBProfile();
    cmsUInt32Number size = 0;
    cmsSaveProfileToMem(profile, nullptr, &size);
    std::vector<std::uint8_t> bytes(size);
    cmsSaveProfileToMem(profile, bytes.data(), &size);
    cmsCloseProfile(profile);
    TIFF* tif = TIFFOpen(file.c_str(), "r+c");
    TIFFSetField(tif, TIFFTAG_ICCPROFILE, size, bytes.data());
    TIFFRewriteDirectory(tif);
    TIFFClose(tif);
}

void Bench(const std::string& cli, const fs::path& dir, int runs) {
    const fs::path white = dir / "white.tif", many = dir / "subjects", out = dir / "out";
    const fs::path subject = many / "subject0.tif";
    fs::create_directories(many);
    WriteWhiteCard(white, 16);
    WriteSubject(subject, 16);
    EmbedSrgb(white);
    EmbedSrgb(subject);
    for (int k = 1; k < kSubjects; ++k)
        fs::copy_file(subject, many / ("subject" + std::to_string(k) + ".tif"));
    std::vector<fs::path> inputs = {white};
    for (const auto& entry : fs::directory_iterator(many)) inputs.push_back(entry.path());
    const auto prepare = [&out, inputs] {
        Empty(out);
        Warm(inputs);
    };
    const auto equalize = [&](std::vector<std::string> modes, const fs::path& subjects) {
        std::vector<std::string> argv = {cli,        "equalize",   "--white", white.string(),
                                         "--output", out.string(), "--jobs",  "1"};
        argv.insert(argv.end(), modes.begin(), modes.end());
        argv.push_back(subjects.string());
        return Program(argv, prepare);
    };
    const std::vector<std::string> rgbCap = {"--channels", "rgb", "--max-gain", "4"};
    std::vector<std::string> linear = rgbCap, smooth = rgbCap;
    linear.push_back("--linear");
    smooth.insert(smooth.end(), {"--smooth", "16"});
    const std::vector<Run> r = MeasureInTurn(
        {equalize({}, subject), equalize({}, many), equalize(rgbCap, subject),
         equalize(rgbCap, many), equalize(linear, subject), equalize(linear, many),
         equalize(smooth, subject), Program({cli, "analyze", white.string()}, prepare)},
        runs);
    const auto further = [](const Run& one, const Run& three) {
        return (three.seconds - one.seconds) / (kSubjects - 1);
    };
    const auto furtherCpu = [](const Run& one, const Run& three) {
        return (three.user + three.system - one.user - one.system) / (kSubjects - 1);
    };
    std::printf("16-bit, %u x %u with an sRGB profile, median of %d rounds\n", kWidth, kHeight,
                runs);
    const char* names[] = {"default", "--channels rgb --max-gain 4", "  and --linear"};
    for (int m = 0; m < 3; ++m) {
        Print((std::string(names[m]) + ", one subject").c_str(), r[2 * m]);
        Print((std::string(names[m]) + ", 3 subjects").c_str(), r[2 * m + 1]);
    }
    Print("rgb, cap and --smooth 16, one subject", r[6]);
    Print("analyze (the white card scan)", r[7]);
    const double base = further(r[0], r[1]), baseCpu = furtherCpu(r[0], r[1]);
    std::printf(
        "  each further subject: default %.3f s; rgb and cap %.2f x (target <= 1.5; CPU "
        "%.2f x); with linear %.2f x (target <= 2.0; CPU %.2f x)\n",
        base, further(r[2], r[3]) / base, furtherCpu(r[2], r[3]) / baseCpu,
        further(r[4], r[5]) / base, furtherCpu(r[4], r[5]) / baseCpu);
    std::printf("  smoothing, once a run: %.3f s, %.2f x the card scan (target <= 2.0)\n",
                r[6].seconds - r[2].seconds, (r[6].seconds - r[2].seconds) / r[7].seconds);
    std::printf("  peak memory with smoothing %.1f MiB (target <= 64)\n", r[6].peakKiB / 1024.0);
}
}  // namespace

int main(int argc, char** argv) {
    const std::string cli = fs::absolute(argc > 1 ? argv[1] : "build/cli/brisavane-cli").string();
    const int runs = argc > 2 ? std::max(1, std::atoi(argv[2])) : 3;
    const fs::path dir = fs::path(argc > 3 ? argv[3] : "/tmp") / "brisavane-modes-bench";
    fs::create_directories(dir);
    Bench(cli, dir, runs);
    fs::remove_all(dir);
    return 0;
}

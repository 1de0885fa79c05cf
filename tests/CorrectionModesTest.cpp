// The command line's correction modes against values each row works out for
// itself, in both depths and byte orders, in one plain strip, LZW tiles and
// strips, and planes.
#include <gtest/gtest.h>
#include <lcms2.h>

#include <cmath>

#include "CliRun.h"
#include "LibtiffFiles.h"
#include "ReferenceEqualize.h"
#include "SavedProfile.h"
#include "TempFolder.h"
#include "ToneCurves.h"

namespace {
namespace fs = std::filesystem;
using namespace testing_tiff;
using Pixels = std::function<Rgb(std::uint32_t, std::uint32_t)>;

Rgb Of(double r, double g, double b) {
    return {static_cast<std::uint16_t>(r), static_cast<std::uint16_t>(g),
            static_cast<std::uint16_t>(b)};
}
// On the 16-bit scale: a card with a colour cast (red falls off fastest), a
// second, dimmer shot of it, a dark frame and a subject.
const Pixels kCard = [](auto x, auto y) {
    return Of(60000 - (x + y) * 6000, 64000 - (x + y) * 4000, 50000 - (x + y) * 1500);
};
const Pixels kShot = [](auto x, auto y) {
    return Of(kCard(x, y).r - 999, kCard(x, y).g - 3001, 7);
};
const Pixels kDark = [](auto x, auto y) { return Of(900 + x * 300, 1200, y * 700); };
const Pixels kSubject = [](auto x, auto y) {
    return Of(x * 9000 + y * 500, 40000 - y * 9000, x * y * 3000 + 400);
};

// sRGB's own ICC profile, or one of its primaries with gamma 2.2 curves.
std::string Profile(const std::string& kind) {
    if (kind.empty()) return "";
    cmsToneCurve* gamma = cmsBuildGamma(nullptr, 2.2);
    cmsToneCurve* curves[3] = {gamma, gamma, gamma};
    const cmsCIExyY white = {0.3127, 0.3290, 1.0};
    const cmsCIExyYTRIPLE primaries = {{0.64, 0.33, 1}, {0.30, 0.60, 1}, {0.15, 0.06, 1}};
    const auto bytes = SavedProfile(
        kind == "srgb" ? cmsCreate_sRGBProfile() : cmsCreateRGBProfile(&white, &primaries, curves));
    cmsFreeToneCurve(gamma);
    return {bytes.begin(), bytes.end()};
}

struct Mode {
    const char* label;
    std::vector<std::string> args;  // "card", "shot" and "dark" stand for those files
    std::string kinds;  // which of rgb, darken, shot, (dark) frame and today the row has
    double amount = 1.0, cap = INFINITY;
    std::string profile = "";  // every file's: "gamma" 2.2, "srgb" or none
    bool Has(const char* kind) const { return kinds.find(kind) != std::string::npos; }
};

struct Road {
    int bits;
    bool little;
    std::string tiffcp;  // how tiffcp remakes every file; empty: one plain strip
};

class CorrectionModes : public ::testing::TestWithParam<std::tuple<Mode, Road>> {
  protected:
    const Mode& mode = std::get<0>(GetParam());
    const Road& road = std::get<1>(GetParam());
    const double ceiling = road.bits == 8 ? 255.0 : 65535.0;
    // The profile's tone curves, which ModesTest holds to their formulas.
    const std::optional<ToneCurves> curves = Curves();
    TempFolder dir;

    // The image's samples on the file's scale, and the file made of them.
    std::vector<double> Values(const Pixels& pixels) const {
        std::vector<double> v;
        for (std::uint32_t k = 0; k < 24; ++k)
            for (const int s :
                 {pixels(k % 6, k / 6).r, pixels(k % 6, k / 6).g, pixels(k % 6, k / 6).b})
                v.push_back(road.bits == 8 ? s / 257 : s);
        return v;
    }
    std::string Make(const char* name, const Pixels& pixels) {
        TiffSpec image = testing_tiff::SpecOf(6, 4, road.bits, road.little);
        image.iccProfile = Profile(mode.profile);
        const std::vector<double> v = Values(pixels);
        image.pixel = [&](auto x, auto y) {
            return Of(v[y * 18 + x * 3], v[y * 18 + x * 3 + 1], v[y * 18 + x * 3 + 2]);
        };
        const std::string path = dir / (std::string(name) + ".tif"), made = dir / "made.tif";
        testing_tiff::WriteTiff(path, image);
        const std::string remake = "tiffcp " + road.tiffcp + (road.little ? " -L " : " -B ") +
                                   path + " " + made + " && mv " + made + " " + path;
        EXPECT_TRUE(road.tiffcp.empty() || std::system(remake.c_str()) == 0);
        return path;
    }
    std::optional<ToneCurves> Curves() const {
        const std::string icc = Profile(mode.profile);
        std::string why;
        if (icc.empty()) return std::nullopt;
        return ToneCurves::FromProfile({icc.begin(), icc.end()}, road.bits, why);
    }
    // Plain samples without a profile.
    double Linear(int c, double sample) const {
        return curves ? curves->Linear(c, sample) : sample;
    }
    std::uint16_t Sample(int c, double value) const {
        return curves ? curves->Sample(c, value)
                      : static_cast<std::uint16_t>(std::min(value, ceiling));
    }
};

TEST_P(CorrectionModes, GiveTheOutputWorkedOutHere) {
    const std::string card = Make("card", kCard), shot = Make("shot", kShot),
                      dark = Make("dark", kDark), subject = Make("subject", kSubject);
    std::vector<std::string> args = {"--white", card, "--output", dir / "out"};
    for (const std::string& a : mode.args)
        args.push_back(a == "shot" ? shot : a == "dark" ? dark : a == "card" ? card : a);
    args.push_back(subject);
    fs::create_directories(dir / "out");
    const CliRun run = Equalize(args);
    ASSERT_EQ(run.code, 0) << run.out << run.err;

    // The card as the modes see it and its extremes a channel, then each sample.
    std::vector<double> white = Values(kCard), shots = Values(kShot), darks = Values(kDark);
    double max[3] = {0, 0, 0}, min[3] = {1e9, 1e9, 1e9};
    for (std::size_t i = 0; i < white.size(); ++i) {
        if (mode.Has("shot")) white[i] = (white[i] + shots[i]) / 2;
        if (mode.Has("frame")) white[i] = std::max(white[i] - darks[i], 0.0);
        white[i] = Linear(i % 3, white[i]);
        max[i % 3] = std::max(max[i % 3], white[i]);
        min[i % 3] = std::min(min[i % 3], white[i]);
    }
    const std::vector<double> s = Values(kSubject);
    std::vector<std::uint16_t> want;
    int capped = 0;
    for (std::size_t i = 0; i < s.size(); i += 3) {
        bool bit = false;
        for (std::size_t c = 0, k = mode.Has("rgb") ? 0 : 1; c < 3; ++c, k += mode.Has("rgb")) {
            double gain = ExpectedTarget(max[k], min[k], mode.amount) / white[i + k];
            gain = mode.Has("darken") ? gain : std::max(gain, 1.0);
            bit |= gain > mode.cap;
            const double sample = std::max(s[i + c] - (mode.Has("frame") ? darks[i + c] : 0), 0.0);
            want.push_back(Sample(c, std::min(gain, mode.cap) * Linear(c, sample)));
        }
        capped += bit;
    }
    char note[64] = "\n";
    if (capped > 0)
        std::snprintf(note, sizeof note, " (gain capped on %.1f %% of pixels)\n", capped / 0.24);
    EXPECT_TRUE(run.out.ends_with("_eq.tif" + std::string(note))) << run.out;
    EXPECT_EQ(ReadPlainWithLibtiff(dir / "out/subject_eq.tif", dir / "plain.tif").pixels,
              ImageOfSamples(6, 4, road.bits, want).pixels);
    if (!mode.Has("today")) return;  // and the same bytes as a run without the options
    fs::create_directories(dir / "today");
    ASSERT_EQ(Equalize({"--white", card, "--output", dir / "today", subject}).code, 0);
    EXPECT_EQ(testing_tiff::ReadFile(dir / "today/subject_eq.tif"),
              testing_tiff::ReadFile(dir / "out/subject_eq.tif"));
}

INSTANTIATE_TEST_SUITE_P(
    Modes, CorrectionModes,
    ::testing::Combine(
        ::testing::Values(
            Mode{"Rgb", {"--channels", "rgb"}, "rgb"},
            Mode{"RgbCapped", {"--channels", "rgb", "--max-gain", "1.3"}, "rgb", 1.0, 1.3},
            Mode{"GreenCapped", {"--max-gain", "1.25"}, "", 1.0, 1.25},
            Mode{"Darken", {"--darken", "--amount", "40"}, "darken", 0.4},
            Mode{"TwoShots", {"--white", "shot", "--channels", "rgb"}, "rgb shot"},
            Mode{"Dark", {"--dark", "dark", "--amount", "70"}, "frame", 0.7},
            Mode{"LinearGamma", {"--linear", "--channels", "rgb"}, "rgb", 1.0, INFINITY, "gamma"},
            Mode{"LinearSrgb", {"--linear", "--amount", "60"}, "", 0.6, INFINITY, "srgb"},
            Mode{"GreenAtDefaults", {"--channels", "green", "--smooth", "0"}, "today"},
            Mode{"GreenThroughModes", {"--white", "card", "--max-gain", "99"}, "today"}),
        ::testing::Values(Road{8, true}, Road{16, true}, Road{16, false},
                          Road{8, false, "-t -w 16 -l 16 -c lzw:2"},
                          Road{16, false, "-t -w 16 -l 16 -c lzw:2"}, Road{16, true, "-r 1 -c lzw"},
                          Road{8, true, "-p separate"})),
    [](const auto& info) {
        return std::get<0>(info.param).label + std::to_string(info.index % 7);
    });

// A card with dust specks and grain over a smooth falloff, and a flat subject
// lit the same way: smoothed over 8 pixels, the output is even within 2 % of
// its median (1.7 % is reached: the 17 x 17 box thins a speck to about 1 %);
// taken as shot, the specks print (70 % brighter).
TEST(CorrectionModesSmooth, DustAndGrainDontPrint) {
    TempFolder dir;
    const auto falloff = [](auto x, auto y) {
        return 1.0 - 0.25 * ((x - 60.0) * (x - 60.0) + (y - 40.0) * (y - 40.0)) / 5200.0;
    };
    TiffSpec card = testing_tiff::SpecOf(120, 80, 16, true), subject = card;
    card.pixel = [&](auto x, auto y) {
        const bool speck = (x / 3 == 10 || x / 3 == 30) && (y / 3 == 5 || y / 3 == 20);
        const double v =
            50000 * falloff(x, y) * (speck ? 0.6 : 1.0) + (x * 7919 + y * 104729) % 1000 - 500.0;
        return Of(v, v, v);
    };
    subject.pixel = [&](auto x, auto y) { return Of(0, 30000 * falloff(x, y), 0); };
    testing_tiff::WriteTiff(dir / "card.tif", card);
    testing_tiff::WriteTiff(dir / "subject.tif", subject);
    for (const std::string radius : {"8", "0"}) {
        fs::create_directories(dir / radius);
        ASSERT_EQ(Equalize({"--white", dir / "card.tif", "--smooth", radius, "--output",
                            dir / radius, dir / "subject.tif"})
                      .code,
                  0);
        const std::string got = testing_tiff::ReadFile(dir / radius / "subject_eq.tif");
        std::vector<double> green;  // little-endian, at the subject's own offset
        for (auto i = testing_tiff::BuildTiff(subject).imageOffset + 2; i < got.size(); i += 6)
            green.push_back(std::uint8_t(got[i]) | std::uint8_t(got[i + 1]) << 8);
        std::vector<double> sorted = green;
        std::nth_element(sorted.begin(), sorted.begin() + 4800, sorted.end());
        double worst = 0;
        for (const double v : green) worst = std::max(worst, std::abs(v / sorted[4800] - 1));
        EXPECT_EQ(worst < 0.02, radius == "8") << radius << ": " << worst;
        EXPECT_EQ(green[16 * 120 + 31] > 1.3 * sorted[4800], radius == "0");  // a speck's middle
    }
}

// Cards that don't go together and subjects the modes, or the default
// correction, can't take: a usage error or a failed line with the reason,
// nothing written.
TEST(CorrectionModesRefusals, SayWhyAndWriteNothing) {
    TempFolder dir;
    const auto make = [&](const char* name, std::uint32_t width, int bits, std::string icc) {
        TiffSpec image = testing_tiff::SpecOf(width, 4, bits, true);
        image.iccProfile = std::move(icc);
        testing_tiff::WriteTiff(dir / name, image);
        return (dir / name).string();
    };
    const std::string card = make("card.tif", 6, 16, ""), small = make("small.tif", 5, 16, ""),
                      eight = make("eight.tif", 6, 8, ""), subject = make("subject.tif", 6, 16, ""),
                      srgb = make("srgb.tif", 6, 16, Profile("srgb")),
                      broken = make("broken.tif", 6, 16, std::string(3, '\0') + "\facspICC!");
    const std::tuple<std::vector<std::string>, int, std::string> kRows[] = {
        {{card, "--white", small, subject}, 2, "small.tif is 5x4 16-bit, not 6x4 16-bit"},
        {{card, "--dark", small, subject}, 2, "the dark frame " + small + " is 5x4 16-bit"},
        {{card, "--linear", subject}, 2, "--linear: the white card has no ICC profile"},
        {{broken, "--linear", subject}, 2, "--linear: the white card's ICC profile can't be read"},
        {{srgb, "--linear", subject}, 1, "subject.tif: failed: --linear: the file has no ICC"},
        {{card, "--darken", eight}, 1, "different bits per sample. White: 16  Image: 8"},
        {{card, eight}, 1, "eight.tif: failed: White and image files have different bits"},
        {{card, "--darken", small}, 1, "different pixel dimensions. White: 6x4  Image: 5x4"}};
    fs::create_directories(dir / "out");
    for (const auto& [more, code, words] : kRows) {
        std::vector<std::string> args = {"--output", dir / "out", "--white"};
        args.insert(args.end(), more.begin(), more.end());
        const CliRun run = Equalize(args);
        EXPECT_EQ(run.code, code) << words;
        EXPECT_NE((run.out + run.err).find(words), std::string::npos) << run.out << run.err;
        EXPECT_TRUE(fs::is_empty(dir / "out")) << words;
    }
}
}  // namespace

// A tiled subject corrected with a card and a dark frame of one plain strip
// each, larger than the window of a file that is read in place: each of its
// rows takes the dark frame's row of the same place, as the same subject in
// one strip does.
TEST(CorrectionModesDark, TiledSubjectTakesItsOwnRowsOfTheDarkFrame) {
    TempFolder dir;
    const auto make = [&](const char* name, const Pixels& pixels) {
        TiffSpec image = testing_tiff::SpecOf(300, 640, 16, true);
        image.pixel = pixels;
        testing_tiff::WriteTiff(dir / name, image);
        return (dir / name).string();
    };
    const auto tiffcp = [&](const std::string& options, const std::string& from, const char* to) {
        ASSERT_EQ(
            std::system(("tiffcp " + options + " " + from + " " + (dir / to).string()).c_str()), 0);
    };
    const std::string plain =
        make("plain.tif", [](auto x, auto y) { return Of(x * 99, y * 50, 20000); });
    tiffcp("-t -w 16 -l 16", plain, "tiled.tif");
    fs::create_directories(dir / "out");
    const CliRun run = Equalize(
        {"--white",
         make("card.tif", [](auto x, auto y) { return Of(60000 - x * 9, 50000 - y * 9, 40000); }),
         "--dark", make("dark.tif", [](auto x, auto y) { return Of(x * 3, y * 5, (x + y) % 700); }),
         "--output", dir / "out", plain, dir / "tiled.tif"});
    ASSERT_EQ(run.code, 0) << run.out << run.err;
    tiffcp("-s -r 640", dir / "out/tiled_eq.tif", "strips.tif");
    EXPECT_EQ(ReadWithLibtiff(dir / "strips.tif").pixels,
              ReadWithLibtiff(dir / "out/plain_eq.tif").pixels);
}

// A subject alone, where a core is free for a second thread (which takes half
// of each row in linear light and of a smoothed card's, and reads the card's
// next row ahead), writes the bytes and counts the capped pixels of a run
// whose jobs leave no core free.
TEST(CorrectionModesSecondThread, GivesTheBytesOfOneThread) {
    TempFolder dir;
    TiffSpec image = testing_tiff::SpecOf(1100, 6, 16, true);
    image.iccProfile = Profile("srgb");
    image.pixel = [](auto x, auto y) { return Of(60000 - x * 40, 65000 - x * 30 - y, 40000); };
    testing_tiff::WriteTiff(dir / "card.tif", image);
    image.pixel = [](auto x, auto y) { return Of(x * 59, (x * y * 7) % 60000, 30000 - x * 20); };
    for (const char* name : {"a.tif", "b.tif"}) testing_tiff::WriteTiff(dir / name, image);
    for (const std::string modes : {"--linear", "--smooth=3"}) {
        std::string notes[2];
        for (const std::string subjects : {"a", "ab"}) {
            const std::string folder = dir / (modes + subjects);
            std::vector<std::string> args = {
                "--white", dir / "card.tif", "--channels", "rgb",      "--max-gain", "1.5",
                modes,     "--jobs",         "2",          "--output", folder};
            for (const char name : subjects) args.push_back(dir / (name + std::string(".tif")));
            fs::create_directories(folder);
            const CliRun run = Equalize(args);
            ASSERT_EQ(run.code, 0) << run.out << run.err;
            const std::string line = run.out.substr(0, run.out.find('\n'));
            notes[subjects.size() - 1] = line.substr(line.find(" (gain capped"));
        }
        EXPECT_EQ(notes[0], notes[1]) << modes;
        EXPECT_EQ(testing_tiff::ReadFile(dir / (modes + "a/a_eq.tif")),
                  testing_tiff::ReadFile(dir / (modes + "ab/a_eq.tif")))
            << modes;
    }
}

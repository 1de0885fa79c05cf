// The engine through the command line, subjects and cards in every layout
// under every mode: each output decodes to the pixels the same files give in
// one plain strip, which are the values worked out here from the modes'
// definitions, and keeps every tag. Layouts are made by tiffcp (libtiff's API
// adds tags it can't keep out).
#include <gtest/gtest.h>
#include <lcms2.h>

#include <cmath>

#include "CardSmoother.h"
#include "ChildProcess.h"
#include "CliRun.h"
#include "LibtiffFiles.h"
#include "ReferenceEqualize.h"
#include "SavedProfile.h"
#include "TempFolder.h"
#include "TmpfsMount.h"
#include "ToneCurves.h"

namespace {
namespace fs = std::filesystem;

// On the 16-bit scale (8-bit files take a 257th): a card with a colour cast,
// a second, dimmer shot of it, a dark frame, a subject from black to the
// ceiling and an extra sample. 300 x 170 pixels: tiles and strips end short,
// and the dark frame's rows span more than one band of the card's reading.
constexpr std::uint32_t kW = 300, kH = 170;
using Rgb = std::array<double, 3>;
Rgb Card(std::uint32_t x, std::uint32_t y) {
    return {60000.0 - (x + 2 * y) * 60, 64000.0 - (x + y) * 50, 50000.0 - x * 40 - y * 30};
}
Rgb Shot(std::uint32_t x, std::uint32_t y) {
    return {Card(x, y)[0] - 999, Card(x, y)[1] - 3001 - x % 7 * 300, 7};
}
Rgb Dark(std::uint32_t x, std::uint32_t y) {
    return {900.0 + x * 3, 1200, y * 7 % 700 * 1.0};
}
Rgb Subject(std::uint32_t x, std::uint32_t y) {
    return {(x * 7919 + y * 104729) % 65536 * 1.0, 40000.0 - y * 200, (x * y * 37) % 65536 * 1.0};
}

struct Mode {
    const char* label;
    std::vector<std::string> args;  // "@shot" and "@dark" stand for those files
    bool rgb = false, darken = false, linear = false;
    double amount = 1.0, cap = INFINITY;
    std::uint32_t smooth = 0;
    friend void PrintTo(const Mode& mode, std::ostream* os) { *os << mode.label; }
};

struct Layout {
    const char* label;
    std::string tiffcp;  // how tiffcp remakes the file; empty: one strip in the other byte order
    bool planar = false, extras = false, tagged = false;
    bool card = false;  // the card's files take the layout, the subject stays one plain strip
    friend void PrintTo(const Layout& layout, std::ostream* os) { *os << layout.label; }
};

// sRGB's ICC profile, which every file of a --linear run carries.
std::vector<std::uint8_t> Srgb() {
    return SavedProfile(cmsCreate_sRGBProfile());
}

// Adds XMP, Photoshop resources and layer data, a private tag, IPTC and EXIF
// and GPS directories, as libtiff's own tests write them.
void AddTags(const fs::path& path) {
    static const TIFFFieldInfo kUnknown[] = {
        {65000, -1, -1, TIFF_UNDEFINED, FIELD_CUSTOM, 1, 1, const_cast<char*>("Private")},
        {37724, -1, -1, TIFF_UNDEFINED, FIELD_CUSTOM, 1, 1, const_cast<char*>("Layers")}};
    TIFF* tif = TIFFOpen(path.c_str(), "r+");
    TIFFMergeFieldInfo(tif, kUnknown, 2);
    for (const auto& [tag, bytes] :
         std::initializer_list<std::pair<ttag_t, std::string>>{{700, "<x:xmpmeta/>"},
                                                               {34377, std::string(40, 'p')},
                                                               {65000, "private"},
                                                               {37724, std::string(300, 'l')}})
        TIFFSetField(tif, tag, static_cast<std::uint32_t>(bytes.size()), bytes.data());
    const std::uint32_t iptc[] = {0x1c020000, 0x1c020005};
    TIFFSetField(tif, TIFFTAG_RICHTIFFIPTC, 2u, iptc);
    TIFFRewriteDirectory(tif);
    std::uint64_t exif = 0, gps = 0;
    TIFFCreateEXIFDirectory(tif);
    TIFFSetField(tif, EXIFTAG_EXPOSURETIME, 0.008);
    TIFFWriteCustomDirectory(tif, &exif);
    TIFFFreeDirectory(tif);  // libtiff 4.5.0 would leak the EXIF fields
    TIFFCreateGPSDirectory(tif);
    TIFFSetField(tif, GPSTAG_ALTITUDE, 1234.5);
    TIFFWriteCustomDirectory(tif, &gps);
    TIFFSetDirectory(tif, 0);
    TIFFSetField(tif, TIFFTAG_EXIFIFD, exif);
    TIFFSetField(tif, TIFFTAG_GPSIFD, gps);
    TIFFRewriteDirectory(tif);
    TIFFClose(tif);
}

// Every tag with all its values, as tiffdump lists them, less the file's name,
// the places that may move and, in the input, Photoshop's layers.
std::string Tags(const fs::path& path, bool input) {
    const fs::path list = path.string() + ".tags";
    Shell("tiffdump -m 100000 " + path.string() +
          " | grep -v -e '^/' -e '^Directory' -e '^Strip' -e '^Tile[OB]'" +
          (input ? " -e ^37724" : "") + " >" + list.string());
    return testing_tiff::ReadFile(list);
}

// The file's second page as tiffcp copies it out; empty when there is none.
std::string SecondPage(const fs::path& file) {
    const std::string page = file.string() + ".page";
    const std::string copy = "tiffcp " + file.string() + ",1 " + page + " 2>/dev/null";
    return std::system(copy.c_str()) == 0 ? testing_tiff::ReadFile(page) : "";
}

class Engine : public ::testing::TestWithParam<std::tuple<Layout, Mode, int>> {
  protected:
    const Layout& layout = std::get<0>(GetParam());
    const Mode& mode = std::get<1>(GetParam());
    const int bits = std::get<2>(GetParam());
    TempFolder dir;

    // The samples of an image on the file's scale, extra samples after the colours.
    std::vector<double> Values(Rgb (*pixels)(std::uint32_t, std::uint32_t), int extras = 0) const {
        std::vector<double> v;
        for (std::uint32_t k = 0; k < kW * kH; ++k) {
            for (const double s : pixels(k % kW, k / kW)) v.push_back(std::floor(s / Scale()));
            for (int e = 0; e < extras; ++e) v.push_back(std::floor(k * 31 % 65536 / Scale()));
        }
        return v;
    }
    double Scale() const { return bits == 8 ? 257.0 : 1.0; }
    fs::path Write(const char* name, Rgb (*pixels)(std::uint32_t, std::uint32_t), int extras = 0,
                   bool bigEndian = false, bool planar = false) {
        const std::vector<double> v = Values(pixels, extras);
        LibtiffImage image = ImageOfSamples(kW, kH, bits, {v.begin(), v.end()}, 3 + extras);
        image.bigEndian = bigEndian;
        image.planar = planar;
        if (mode.linear) image.profile = Srgb();
        WriteWithLibtiff(dir / name, image);
        return dir / name;
    }
    // The same file in the layout.
    fs::path Remade(const fs::path& plain, const std::string& name) {
        const fs::path to = dir / name;
        // The tagged file has a second page, which must stay as it was.
        const std::string pages = plain.string() + (layout.tagged ? " " + plain.string() : "");
        Shell("tiffcp " + layout.tiffcp + " " + pages + " " + to.string());
        if (layout.tagged) AddTags(to);
        return to;
    }
    // The run's line for the subject; its output is in folder.
    std::string Run(const fs::path& card, const fs::path& shot, const fs::path& dark,
                    const fs::path& subject, const std::string& folder) {
        std::vector<std::string> args = {"--white", card, "--output", dir / folder};
        for (const std::string& a : mode.args)
            args.push_back(a == "@shot" ? shot.string() : a == "@dark" ? dark.string() : a);
        args.push_back(subject);
        fs::create_directories(dir / folder);
        const CliRun run = Equalize(args);
        EXPECT_EQ(run.code, 0) << run.out << run.err;
        return run.out;
    }
    // The plain output's samples and its line's note, worked out from the definitions.
    std::vector<std::uint16_t> Expected(std::string& note) const {
        const double ceiling = bits == 8 ? 255.0 : 65535.0;
        std::string why;
        const std::vector<std::uint8_t> icc = Srgb();
        const auto curves =
            mode.linear ? ToneCurves::FromProfile(icc, bits, why) : std::optional<ToneCurves>();
        const auto linear = [&](std::size_t i, double v) {
            return curves ? curves->Linear(static_cast<int>(i % 3), v) : v;
        };
        const bool shots = std::count(mode.args.begin(), mode.args.end(), "@shot") > 0;
        const bool dark = std::count(mode.args.begin(), mode.args.end(), "@dark") > 0;
        std::vector<double> white = Values(Card), second = Values(Shot), darks = Values(Dark);
        for (std::size_t i = 0; i < white.size(); ++i) {
            if (shots) white[i] = (white[i] + second[i]) / 2;
            if (dark) white[i] = std::max(white[i] - darks[i], 0.0);
            white[i] = linear(i, white[i]);
        }
        if (mode.smooth > 0) {
            CardSmoother smoother(kW, kH, mode.smooth);
            for (std::uint32_t y = 0; y < kH; ++y) smoother.AddRow(&white[y * kW * 3]);
            for (std::uint32_t y = 0; y < kH; ++y) smoother.Row(y, &white[y * kW * 3]);
        }
        double max[3] = {0, 0, 0}, min[3] = {1e9, 1e9, 1e9};
        for (std::size_t i = 0; i < white.size(); ++i) {
            max[i % 3] = std::max(max[i % 3], white[i]);
            min[i % 3] = std::min(min[i % 3], white[i]);
        }
        const std::vector<double> s = Values(Subject);
        std::vector<std::uint16_t> want;
        int capped = 0;
        for (std::size_t i = 0; i < s.size(); i += 3) {
            bool cap = false;
            for (std::size_t c = 0; c < 3; ++c) {
                const std::size_t k = mode.rgb ? c : 1;
                double gain =
                    testing_tiff::ExpectedTarget(max[k], min[k], mode.amount) / white[i + k];
                gain = mode.darken ? gain : std::max(gain, 1.0);
                cap |= gain > mode.cap;
                const double sample =
                    linear(c, std::max(s[i + c] - (dark ? darks[i + c] : 0), 0.0));
                const double product = std::min(gain, mode.cap) * sample;
                want.push_back(curves ? curves->Sample(static_cast<int>(c), product)
                                      : static_cast<std::uint16_t>(std::min(product, ceiling)));
            }
            capped += cap;
        }
        char text[64] = "";
        if (capped > 0)
            std::snprintf(text, sizeof text, "gain capped on %.1f %% of pixels",
                          100.0 * capped / (kW * kH));
        note = text;
        return want;
    }
};

TEST_P(Engine, DecodesToTheOneStripPixelsAndKeepsEveryTag) {
    fs::path card = Write("card.tif", Card), shot = Write("shot.tif", Shot),
             dark = Write("dark.tif", Dark), subject = Write("subject.tif", Subject);
    const std::string plainLine = Run(card, shot, dark, subject, "plain");
    const Decoded plain = Decode(dir / "plain/subject_eq.tif");
    std::string note;
    const std::vector<std::uint16_t> want = Expected(note);
    EXPECT_EQ(plain.pixels, ImageOfSamples(kW, kH, bits, want).pixels);
    const auto notes = [&](std::string first) {
        if (!note.empty()) first += (first.empty() ? "" : "; ") + note;
        return first.empty() ? "\n" : " (" + first + ")\n";
    };
    EXPECT_EQ(plainLine,
              "subject.tif: written " + (dir / "plain/subject_eq.tif").string() + notes(""));

    fs::path input = subject;
    if (layout.card)
        card = Remade(card, "c.tif"), shot = Remade(shot, "s.tif"), dark = Remade(dark, "d.tif");
    else if (layout.tiffcp.empty())
        input = Write("in.tif", Subject, 0, true);
    else
        input = Remade(Write("in.tif", Subject, layout.extras, false, layout.planar), "made.tif");
    const std::string line = Run(card, shot, dark, input, "out");
    const fs::path output = dir / "out" / (input.stem().string() + "_eq.tif");
    // Photoshop's layers go, and the line says so; every other tag stays.
    EXPECT_EQ(line, input.filename().string() + ": written " + output.string() +
                        notes(layout.tagged ? "Photoshop layer data removed" : ""));
    EXPECT_EQ(Tags(output, false), Tags(input, true));
    EXPECT_EQ(SecondPage(output), SecondPage(input));
    // Colour samples are the plain output's, any others the input's.
    const Decoded got = Decode(output), before = Decode(input);
    ASSERT_EQ(got.pixels.size(), before.pixels.size());
    std::size_t differing = 0;
    for (std::size_t i = 0, size = got.bits / 8; i < got.pixels.size() / size; ++i) {
        const std::size_t s = i % got.samples, at = (i / got.samples * 3 + s) * size;
        const std::uint8_t* want = s < 3 ? &plain.pixels[at] : &before.pixels[i * size];
        differing += !std::equal(want, want + size, &got.pixels[i * size]);
    }
    EXPECT_EQ(differing, 0u);
}

const Layout kLayouts[] = {
    {.label = "OneStripBigEndian"},
    {.label = "Strips", .tiffcp = "-r 7"},
    {.label = "StripsLzw", .tiffcp = "-r 16 -c lzw:2"},
    {.label = "TilesDeflate", .tiffcp = "-t -w 32 -l 16 -c zip:2"},
    {.label = "PackBitsBigEndian", .tiffcp = "-B -r 16 -c packbits"},
    {.label = "Tiles", .tiffcp = "-t -w 16 -l 16"},
    {.label = "PlanarLzw", .tiffcp = "-r 16 -c lzw", .planar = true},
    {.label = "ExtraSampleZstd", .tiffcp = "-r 16 -c zstd", .extras = true},
    {.label = "BigTiff", .tiffcp = "-8 -r 16"},
    {.label = "Tagged", .tiffcp = "-r 16", .tagged = true},
    {.label = "CardLzw", .tiffcp = "-r 16 -c lzw:2", .card = true},
    {.label = "CardTilesDeflate", .tiffcp = "-t -w 16 -l 16 -c zip", .card = true},
};
const Mode kModes[] = {
    {.label = "Default"},
    {.label = "Rgb", .args = {"--channels", "rgb", "--amount", "70"}, .rgb = true, .amount = 0.7},
    {.label = "CappedDarkened",
     .args = {"--max-gain", "1.1", "--darken", "--amount", "40"},
     .darken = true,
     .amount = 0.4,
     .cap = 1.1},
    {.label = "Linear", .args = {"--linear"}, .linear = true},
    {.label = "Dark", .args = {"--dark", "@dark", "--amount", "70"}, .amount = 0.7},
    {.label = "ShotsDarkLinear",
     .args = {"--white", "@shot", "--dark", "@dark", "--linear", "--channels", "rgb"},
     .rgb = true,
     .linear = true},
    {.label = "SmoothLinear", .args = {"--smooth", "3", "--linear"}, .linear = true, .smooth = 3},
};
const auto kName = [](const auto& info) {
    return std::string(std::get<0>(info.param).label) + "_" + std::get<1>(info.param).label + "_" +
           std::to_string(std::get<2>(info.param));
};
INSTANTIATE_TEST_SUITE_P(Layouts, Engine,
                         ::testing::Combine(::testing::ValuesIn(kLayouts),
                                            ::testing::ValuesIn(kModes), ::testing::Values(8, 16)),
                         kName);
// A card of several shots is kept in a scratch file in $TMPDIR that never has
// a name, or, where the file system can't make one without a name (stood for
// by a library that refuses such files), is named and unlinked at once: the
// program leaves nothing there, and the outputs are the same. A $TMPDIR that
// can't take it refuses the card in its own words.
TEST(EngineScratch, LeavesNothingInTmpdir) {
    TempFolder dir, tmp;
    const LibtiffImage image = PatternImage(200, 100, 16);
    WriteWithLibtiff(dir / "a.tif", image);
    std::string outputs[2];
    for (const bool named : {false, true}) {
        const std::string folder = named ? "named" : "out";
        fs::create_directories(dir / folder);
        const ChildResult run =
            RunProgram({BRISAVANE_CLI, "equalize", "--white", dir / "a.tif", "--white",
                        dir / "a.tif", "--output", dir / folder, dir / "a.tif"},
                       [&] {
                           ::setenv("TMPDIR", tmp.Path().c_str(), 1);
                           if (!named) return;
                           ::setenv("LD_PRELOAD", BRISAVANE_NO_TMPFILE, 1);
                           ::setenv("ASAN_OPTIONS", "verify_asan_link_order=0", 1);
                       });
        EXPECT_EQ(run.exitCode, 0) << folder;
        EXPECT_TRUE(fs::is_empty(tmp.Path())) << folder;
        outputs[named] = testing_tiff::ReadFile(dir / folder / "a_eq.tif");
    }
    EXPECT_EQ(outputs[0], outputs[1]);
    EXPECT_FALSE(outputs[0].empty());
    // A $TMPDIR that isn't there, and one that fills in the middle of the card's pass.
    const TmpfsMount small(tmp.Path(), "size=16k");
    for (const auto& [at, words] :
         {std::pair{dir / "gone", "No scratch file for the white card can be made in "},
          {tmp.Path(), "The scratch file for the white card can't be written in "}}) {
        if (at == tmp.Path() && !small.Mounted()) continue;  // mounting a tmpfs needs root
        ::setenv("TMPDIR", at.c_str(), 1);
        const CliRun refused = Equalize({"--white", dir / "a.tif", "--white", dir / "a.tif",
                                         "--output", dir / "out", "--overwrite", dir / "a.tif"});
        ::unsetenv("TMPDIR");
        EXPECT_EQ(refused.code, 2);
        EXPECT_EQ(refused.err, "Error: " + std::string(words) + at.string() + "\n");
    }
}
}  // namespace

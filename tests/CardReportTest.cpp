#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <nlohmann/json.hpp>
#include <regex>

#include <lcms2.h>

#include "support/CliRun.h"
#include "support/LibtiffFiles.h"
#include "support/SavedProfile.h"
#include "support/TempFolder.h"

using namespace testing_tiff;
using nlohmann::json;

namespace {
constexpr std::uint32_t kW = 220, kH = 165;  // sampled area 198 x 149, blocks 18 x 13
using Rgb = std::array<double, 3>;           // 0..1, as encoded

// Encoded sRGB grey of a given L*, worked out from the CIE and sRGB definitions.
double GreyOfLightness(double L) {
    const double Y = L > 8.0 ? std::pow((L + 16.0) / 116.0, 3.0) : L / 903.3;
    return Y <= 0.0031308 ? 12.92 * Y : 1.055 * std::pow(Y, 1 / 2.4) - 0.055;
}

void WriteCard(const std::filesystem::path& path, std::uint16_t bits, bool bigEndian, bool profile,
               const std::function<Rgb(std::uint32_t, std::uint32_t)>& pixel) {
    std::vector<std::uint16_t> samples;
    const double ceiling = bits == 8 ? 255.0 : 65535.0;
    for (std::uint32_t y = 0; y < kH; ++y)
        for (std::uint32_t x = 0; x < kW; ++x)
            for (double v : pixel(x, y)) samples.push_back(std::uint16_t(std::lround(v * ceiling)));
    LibtiffImage image = ImageOfSamples(kW, kH, bits, samples);
    image.bigEndian = bigEndian;
    if (profile) image.profile = SavedProfile(cmsCreate_sRGBProfile());
    WriteWithLibtiff(path, image);
}

const Rgb kGrey = {0.7, 0.7, 0.7};
Rgb Flat(std::uint32_t, std::uint32_t) {
    return kGrey;
}
Rgb Ramp(std::uint32_t x, std::uint32_t) {  // L* 90 at the left edge to 60 at the right
    const double g = GreyOfLightness(90.0 - 30.0 * (x + 0.5) / kW);
    return {g, g, g};
}
Rgb RedRightColumns(std::uint32_t x, std::uint32_t) {  // block columns 8 to 10 from x 155 on
    return x >= 155 ? Rgb{0.8, 0.7, 0.7} : kGrey;
}
constexpr std::array<std::array<std::uint32_t, 2>, 3> kDust = {{{40, 30}, {150, 70}, {100, 130}}};
Rgb Dusty(std::uint32_t x, std::uint32_t y) {  // 3 x 3 specks half as bright
    for (const auto& d : kDust)
        if (x + 1 >= d[0] && x <= d[0] + 1 && y + 1 >= d[1] && y <= d[1] + 1)
            return {0.35, 0.35, 0.35};
    return kGrey;
}

const json& Figure(const json& report, const char* name) {
    return report["as_shot"]["figures"][name];
}

void FlatChecks(const json& r) {
    for (const char* name :
         {"lightness_range", "non_uniformity_y", "non_uniformity_green", "variation_y",
          "worst_corner_falloff", "colour_shading", "dust_specks"})
        EXPECT_NEAR(Figure(r, name)["value"], 0.0, 1e-9) << name;
    EXPECT_EQ(Figure(r, "stars")["value"], 4);
    EXPECT_EQ(Figure(r, "lightness_range")["verdict"], "pass (limit 3 for A3)");
    EXPECT_EQ(r["colour"]["srgb_assumed"], r["colour"]["profile"] != "sRGB built-in");
}

void DustChecks(const json& r) {  // the specks in the order they were drawn
    ASSERT_EQ(Figure(r, "dust_specks")["value"], 3);
    for (std::size_t k = 0; k < kDust.size(); ++k) {
        const json& speck = r["as_shot"]["dust"]["specks"][k];
        EXPECT_EQ(json::array({speck["x"], speck["y"], speck["pixels"]}),
                  json::array({kDust[k][0], kDust[k][1], 9}));
    }
}

struct CardCase {
    const char* name;
    std::uint16_t bits;
    bool bigEndian;
    Rgb (*pixel)(std::uint32_t, std::uint32_t);
    void (*check)(const json&);
    std::vector<std::string> options = {};
    bool profile = false;
};

class CardReport : public ::testing::TestWithParam<CardCase> {};

// Every figure the page prints (data-key) is the one report.json holds.
void PageAgreesWithJson(const std::string& page, const json& report) {
    const std::regex cell("data-key=\"([^\"]+)\">([^<]+)<");
    int cells = 0;
    for (std::sregex_iterator it(page.begin(), page.end(), cell), end; it != end; ++it, ++cells) {
        const std::string shown = (*it)[2];
        const auto point = shown.find('.');
        const int decimals = point == std::string::npos ? 0 : int(shown.size() - point - 1);
        EXPECT_NEAR(std::stod(shown), report.at(json::json_pointer((*it)[1])).get<double>(),
                    0.5 * std::pow(10.0, -decimals) + 1e-9)
            << (*it)[1];
    }
    EXPECT_EQ(cells, 20);
}

TEST_P(CardReport, FiguresAreTheKnownAnswers) {
    TempFolder folder;
    // A name with the characters HTML gives a meaning to, which the page must escape.
    const std::string card = folder / "w<&>\".tif";
    WriteCard(card, GetParam().bits, GetParam().bigEndian, GetParam().profile, GetParam().pixel);
    std::vector<std::string> args = {card, "--report", folder / "out"};
    args.insert(args.end(), GetParam().options.begin(), GetParam().options.end());
    const CliRun run = Analyze(args);
    ASSERT_EQ(run.code, 0) << run.err;
    const json report = json::parse(ReadFile(folder / "out" / "report.json"));
    EXPECT_EQ(report["schema_version"], 1);
    GetParam().check(report);
    const std::string page = ReadFile(folder / "out" / "report.html");
    PageAgreesWithJson(page, report);
    EXPECT_NE(page.find("w&lt;&amp;&gt;&quot;.tif"), std::string::npos);
}

INSTANTIATE_TEST_SUITE_P(
    Cards, CardReport,
    ::testing::Values(
        CardCase{"Flat16Little", 16, false, Flat, FlatChecks},
        CardCase{"Flat16Big", 16, true, Flat, FlatChecks},
        CardCase{"Flat8", 8, false, Flat, FlatChecks},
        CardCase{"Flat16Profile", 16, false, Flat, FlatChecks, {}, true},
        // Block centres at x 20 and x 200: 180 of the 220 pixels over which L* falls by 30.
        CardCase{"Ramp16", 16, true, Ramp,
                 [](const json& r) {
                     EXPECT_NEAR(Figure(r, "lightness_range")["value"], 30.0 * 180 / 220, 0.05);
                     EXPECT_EQ(Figure(r, "lightness_range")["verdict"], "fail (limit 3 for A3)");
                     EXPECT_NEAR(r["equalized"]["figures"]["lightness_range"]["value"], 0.0, 0.5);
                 }},
        // Equalizing at 0 % changes nothing.
        CardCase{"Ramp8AmountZeroA0",
                 8,
                 false,
                 Ramp,
                 [](const json& r) {
                     EXPECT_EQ(r["equalized"]["blocks"], r["as_shot"]["blocks"]);
                     EXPECT_EQ(Figure(r, "lightness_range")["verdict"], "fail (limit 6 for A0)");
                 },
                 {"--amount", "0", "--format", "A0"}},
        CardCase{"ColourCast8", 8, false, RedRightColumns,
                 [](const json& r) {
                     for (const json& block : r["as_shot"]["blocks"])
                         EXPECT_EQ(block["colour_shift"] > 2.0, block["column"] >= 8) << block;
                     EXPECT_EQ(Figure(r, "colour_shading")["verdict"], "fail");
                 }},
        CardCase{"Dust16", 16, false, Dusty, DustChecks},
        CardCase{"Dust8", 8, false, Dusty, DustChecks}),
    [](const auto& info) { return std::string(info.param.name); });

// A card too small, with a broken profile, a report folder under a file and
// a format it doesn't know: exit 2 with the words, and no page, no hidden part
// left; the format is refused before the folder is made.
TEST(CardReportRefuses, WithExitTwoAndNoPageLeft) {
    const std::tuple<std::uint32_t, std::vector<std::uint8_t>, const char*, const char*,
                     std::vector<std::string>>
        cases[] = {
            // width, profile, folder, words, more after --report
            {10, {}, "out", "Error: The white card is too small for a report", {}},
            {40, PatternBytes(300), "out", "Error: The white card's ICC profile can't be read", {}},
            {40, {}, "w.tif/out", "Error: The report folder can't be written", {}},
            {40, {}, "out", "brisavane-cli analyze: --format", {"--format", "A5"}}};
    for (const auto& [width, profile, out, words, more] : cases) {
        TempFolder folder;
        LibtiffImage card =
            ImageOfSamples(width, 40, 8, std::vector<std::uint16_t>(width * 40 * 3, 200));
        card.profile = profile;
        WriteWithLibtiff(folder / "w.tif", card);
        std::vector<std::string> args = {folder / "w.tif", "--report", folder / out};
        args.insert(args.end(), more.begin(), more.end());
        const CliRun run = Analyze(args);
        EXPECT_EQ(run.code, 2);
        EXPECT_EQ(run.err.rfind(words, 0), 0u) << run.err;
        int files = 0;
        for (const auto& entry : std::filesystem::recursive_directory_iterator(folder.Path()))
            files += entry.is_regular_file();
        EXPECT_EQ(files, 1) << words;
        EXPECT_TRUE(more.empty() || !std::filesystem::exists(folder / out)) << words;
    }
}
}  // namespace

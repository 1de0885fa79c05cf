// analyze --report: the figures of cards whose answers are known, the page
// that shows them (every figure report.json's, every picture a whole PNG)
// and the refusals that leave no page behind.
#include <gtest/gtest.h>
#include <lcms2.h>

#include <cmath>
#include <nlohmann/json.hpp>
#include <regex>

#include "CliRun.h"
#include "LibtiffFiles.h"
#include "PngDecode.h"
#include "SavedProfile.h"
#include "TempFolder.h"

using nlohmann::json;

namespace {
constexpr std::uint32_t kW = 220, kH = 165;  // sampled area 198 x 149, blocks 18 x 13
using Rgb = std::array<double, 3>;           // 0..1, as encoded

// Encoded sRGB grey of a given L*, worked out from the CIE and sRGB definitions.
double GreyOfLightness(double L) {
    const double Y = L > 8.0 ? std::pow((L + 16.0) / 116.0, 3.0) : L / 903.3;
    return Y <= 0.0031308 ? 12.92 * Y : 1.055 * std::pow(Y, 1 / 2.4) - 0.055;
}

const Rgb kGrey = {0.7, 0.7, 0.7};
Rgb Flat(std::uint32_t, std::uint32_t) {
    return kGrey;
}
Rgb Ramp(std::uint32_t x, std::uint32_t) {  // L* 90 at the left edge to 60 at the right
    const double g = GreyOfLightness(90.0 - 30.0 * (x + 0.5) / kW);
    return {g, g, g};
}
Rgb Vignetted(std::uint32_t, std::uint32_t y) {  // half as bright at the top and bottom edges
    const double d = (y + 0.5 - kH / 2.0) / (kH / 2.0), g = 0.75 * (1.0 - 0.5 * d * d);
    return {g, g, g};
}
Rgb RedRightColumns(std::uint32_t x, std::uint32_t) {  // block columns 8 to 10 from x 155 on
    return x >= 155 ? Rgb{0.8, 0.7, 0.7} : kGrey;
}
// Specks half as bright: 3 x 3 squares, and an X of 5 pixels whose arms meet
// only in its middle row, so that the two specks its first row starts are one.
constexpr std::array<std::array<std::uint32_t, 3>, 4> kDust = {
    {{40, 30, 9}, {150, 70, 9}, {70, 100, 5}, {100, 130, 9}}};
Rgb Dusty(std::uint32_t x, std::uint32_t y) {
    for (const auto& [cx, cy, pixels] : kDust) {
        const std::uint32_t dx = x > cx ? x - cx : cx - x, dy = y > cy ? y - cy : cy - y;
        if (dx <= 1 && dy <= 1 && (pixels == 9 || dx == dy)) return {0.35, 0.35, 0.35};
    }
    return kGrey;
}

const json& Figure(const json& report, const char* name) {
    return report["as_shot"]["figures"][name];
}

// A picture of the page, from its data URI.
testing_png::Decoded Picture(const std::string& page, const std::string& attribute) {
    static const std::string kDigits =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    const std::size_t at = page.find(attribute + "=\"data:image/png;base64,");
    EXPECT_NE(at, std::string::npos) << attribute;
    std::string png;
    std::uint32_t group = 0;
    int bits = 0;
    for (std::size_t k = page.find(',', at) + 1; page[k] != '"'; ++k) {
        if (page[k] == '=') continue;
        group = group << 6 | static_cast<std::uint32_t>(kDigits.find(page[k]));
        if ((bits += 6) >= 8) png += static_cast<char>(group >> (bits -= 8));
    }
    return testing_png::Decode(png);
}

// A flat card: no figure but 0, all four stars; its map of Y / Y centre is
// the top of the colour scale all over, which runs from 1 down to 0.99 with
// lines every 0.005.
void FlatChecks(const json& r, const std::string& page) {
    for (const char* name :
         {"lightness_range", "non_uniformity_y", "non_uniformity_green", "variation_y",
          "worst_corner_falloff", "colour_shading", "dust_specks"})
        EXPECT_NEAR(Figure(r, name)["value"], 0.0, 1e-9) << name;
    EXPECT_EQ(Figure(r, "stars")["value"], 4);
    EXPECT_EQ(Figure(r, "lightness_range")["verdict"], "pass (limit 3 for A3)");
    EXPECT_EQ(r["colour"]["srgb_assumed"], r["colour"]["profile"] != "sRGB built-in");
    const testing_png::Decoded map = Picture(page, "href");
    std::string pixels;
    for (std::uint32_t k = 0; k < map.width * map.height; ++k) pixels += "\xe4\x46\x0a";
    EXPECT_EQ(map.pixels, pixels);
    for (const char* legend : {"1.000", "0.990", "lines 1 ± k × 0.005"})
        EXPECT_NE(page.find(std::string("start\">") + legend + "</text>"), std::string::npos);
}

void DustChecks(const json& r, const std::string&) {  // the specks in the order they end
    ASSERT_EQ(Figure(r, "dust_specks")["value"], kDust.size());
    for (std::size_t k = 0; k < kDust.size(); ++k) {
        const json& speck = r["as_shot"]["dust"]["specks"][k];
        EXPECT_EQ(json::array({speck["x"], speck["y"], speck["pixels"]}),
                  json::array({kDust[k][0], kDust[k][1], kDust[k][2]}));
    }
}

struct CardCase {
    const char* name;
    std::uint16_t bits;
    bool bigEndian;
    Rgb (*pixel)(std::uint32_t, std::uint32_t);
    void (*check)(const json&, const std::string&);
    std::vector<std::string> options = {};
    bool profile = false;
    friend void PrintTo(const CardCase& c, std::ostream* os) { *os << c.name; }
};

class CardReport : public ::testing::TestWithParam<CardCase> {};

// Every figure the page prints (data-key) is the one report.json holds, the
// card's name is escaped, and the tone map's data URI is the whole PNG
// analyze --tone-map writes.
TEST_P(CardReport, FiguresAreTheKnownAnswers) {
    const CardCase& c = GetParam();
    TempFolder folder;
    const std::string card = folder / "w<&>\".tif";
    std::vector<std::uint16_t> samples;
    for (std::uint32_t y = 0; y < kH; ++y)
        for (std::uint32_t x = 0; x < kW; ++x)
            for (const double v : c.pixel(x, y))
                samples.push_back(std::uint16_t(std::lround(v * (c.bits == 8 ? 255 : 65535))));
    LibtiffImage image = ImageOfSamples(kW, kH, c.bits, samples);
    image.bigEndian = c.bigEndian;
    if (c.profile) image.profile = SavedProfile(cmsCreate_sRGBProfile());
    WriteWithLibtiff(card, image);
    std::vector<std::string> args = {card, "--report", folder / "out"};
    args.insert(args.end(), c.options.begin(), c.options.end());
    const CliRun run = Analyze(args);
    ASSERT_EQ(run.code, 0) << run.err;
    const json report = json::parse(testing_tiff::ReadFile(folder / "out" / "report.json"));
    EXPECT_EQ(report["schema_version"], 1);
    const std::string page = testing_tiff::ReadFile(folder / "out" / "report.html");
    c.check(report, page);
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
    EXPECT_NE(page.find("w&lt;&amp;&gt;&quot;.tif"), std::string::npos);
    ASSERT_EQ(Analyze({card, "--tone-map", folder / "tone.png"}).code, 0);
    EXPECT_EQ(Picture(page, "src").pixels,
              testing_png::Decode(testing_tiff::ReadFile(folder / "tone.png")).pixels);
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
                 [](const json& r, const std::string&) {
                     EXPECT_NEAR(Figure(r, "lightness_range")["value"], 30.0 * 180 / 220, 0.05);
                     EXPECT_EQ(Figure(r, "lightness_range")["verdict"], "fail (limit 3 for A3)");
                     EXPECT_NEAR(r["equalized"]["figures"]["lightness_range"]["value"], 0.0, 0.5);
                 }},
        // Equalizing at 0 % changes nothing.
        CardCase{"Ramp8AmountZeroA0",
                 8,
                 false,
                 Ramp,
                 [](const json& r, const std::string&) {
                     EXPECT_EQ(r["equalized"]["blocks"], r["as_shot"]["blocks"]);
                     EXPECT_EQ(Figure(r, "lightness_range")["verdict"], "fail (limit 6 for A0)");
                 },
                 {"--amount", "0", "--format", "A0"}},
        CardCase{"ColourCast8", 8, false, RedRightColumns,
                 [](const json& r, const std::string&) {
                     for (const json& block : r["as_shot"]["blocks"])
                         EXPECT_EQ(block["colour_shift"] > 2.0, block["column"] >= 8) << block;
                     EXPECT_EQ(Figure(r, "colour_shading")["verdict"], "fail");
                 }},
        // The coarse cells follow a falloff to the top and bottom edges: no dust is seen there.
        CardCase{"Vignetted16", 16, false, Vignetted,
                 [](const json& r, const std::string&) {
                     EXPECT_EQ(Figure(r, "dust_specks")["value"], 0);
                 }},
        CardCase{"Dust16", 16, false, Dusty, DustChecks},
        CardCase{"Dust8", 8, false, Dusty, DustChecks}),
    [](const auto& info) { return std::string(info.param.name); });

}  // namespace

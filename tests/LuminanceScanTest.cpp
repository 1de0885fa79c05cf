#include <gtest/gtest.h>

#include <cmath>
#include <tuple>

#include "OpenedTiff.h"
#include "RecordingProgress.h"
#include "TempFolder.h"
#include "TiffBuilder.h"

using namespace testing_tiff;

namespace {
// Brightest and darkest green, and the brightest's column and row.
using Scan = std::tuple<double, double, std::int64_t, std::int64_t>;

Scan ScanFile(const TiffSpec& image, Progress* progress = nullptr) {
    TempFolder folder;
    WriteTiff(folder / "white.tif", image);
    TiffServices services;
    if (progress) services.analyzeProgress = progress;
    const auto tiff = Opened(folder / "white.tif", services);
    tiff->FindMaxLuminanceDisk();
    return {tiff->MaxLuminance, tiff->MinLuminance, tiff->pxmax, tiff->pymax};
}

// Images of width x 4 pixels whose red and blue are fill and whose green is
// base but at the spots. Of equal peaks the first in scan order holds the
// place. Rows of 37 pixels hold whole blocks of pixels, then a few left over;
// 256 and 255 swap their order when their bytes are turned round, and 300
// becomes 11265.
TEST(DiskScan, FindsBrightestDarkestAndWhere) {
    struct Spot {
        std::uint32_t x, y;
        std::uint16_t green;
    };
    const std::vector<Spot> wide16 = {{30, 1, 256}, {34, 2, 3}, {9, 3, 4}};
    const struct {
        int bits;
        bool little;
        std::uint32_t width;
        std::uint16_t base;
        std::vector<Spot> spots;
        std::uint16_t fill;
        Scan expected;
    } cases[] = {{8, true, 5, 10, {{4, 3, 200}, {2, 1, 6}}, 0, {200, 6, 4, 3}},
                 {16, false, 5, 300, {{4, 3, 61680}}, 0, {61680, 300, 4, 3}},
                 {16, true, 5, 0, {}, 0, {0, 0, 0, 0}},  // all black keeps the place
                 {8, true, 5, 40, {{2, 2, 90}, {3, 1, 90}}, 0, {90, 40, 3, 1}},
                 {8, true, 37, 100, {{20, 2, 250}, {36, 1, 2}}, 255, {250, 2, 20, 2}},
                 {16, true, 37, 255, wide16, 65535, {256, 3, 30, 1}},
                 {16, false, 37, 255, wide16, 65535, {256, 3, 30, 1}},
                 {16, false, 37, 30000, {{35, 3, 60000}, {17, 0, 7}}, 0, {60000, 7, 35, 3}}};
    for (const auto& c : cases) {
        TiffSpec image = SpecOf(c.width, 4, c.bits, c.little);
        image.pixel = [&c](std::uint32_t x, std::uint32_t y) {
            std::uint16_t green = c.base;
            for (const Spot& s : c.spots)
                if (s.x == x && s.y == y) green = s.green;
            return Rgb{c.fill, green, c.fill};
        };
        EXPECT_EQ(ScanFile(image), c.expected) << c.bits << (c.little ? " le " : " be ") << c.width;
    }
}

// The bar moves at every row, then hides; no rows leave the starting minimum.
TEST(DiskScan, ReportsEveryRowThenHides) {
    RecordingProgress bar;
    ScanFile(SpecOf(3, 4, 8, true), &bar);
    EXPECT_EQ(bar.maxima, (std::vector<std::int64_t>{4}));
    EXPECT_EQ(bar.values, (std::vector<double>{1, 2, 3, 4}));
    EXPECT_EQ(bar.visibility, (std::vector<bool>{true, false}));
    EXPECT_EQ(bar.refreshes, 4);
    EXPECT_EQ(ScanFile(SpecOf(4, 0, 8, true)), Scan(0.0, 9999999.9, 0, 0));
}

// The in-memory twin walks the whole buffer in its byte order and reports by
// fiftieths (interval 12 for 100 pixels: first at the third sample); a buffer
// of two pixels has interval 0.
TEST(MemoryScan, FindsExtremesAndReportsByFiftieths) {
    for (const std::int64_t pixels : {100, 2}) {
        RecordingProgress bar;
        TiffServices services;
        services.analyzeProgress = &bar;
        TiffFile tiff(services);
        tiff.BytesPerPixel = 6;
        tiff.PixelCount = pixels;
        tiff.imageBuffer = std::make_shared<MemoryBlock>(6 * pixels);
        tiff.imageBuffer->LittleEndian = false;
        for (int p = 0; p < pixels; ++p)
            tiff.imageBuffer->SetUInt16Value(p * 6 + 2, static_cast<std::uint16_t>(500 + p));
        tiff.imageBuffer->SetUInt16Value(0, 65535);  // red: not looked at
        tiff.FindMaxLuminance();
        EXPECT_EQ(Scan(tiff.MaxLuminance, tiff.MinLuminance, tiff.pxmax, tiff.pymax),
                  Scan(499 + pixels, 500, 0, 0));
        ASSERT_FALSE(bar.values.empty());
        EXPECT_EQ(bar.values.front(), pixels == 2 ? INFINITY : 14.0 / 12.0);
        EXPECT_LE(bar.values.size(), pixels == 2 ? 2u : 50u);
    }
}

}  // namespace

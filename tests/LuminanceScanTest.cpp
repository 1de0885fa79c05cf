#include <gtest/gtest.h>

#include <cmath>

#include "TiffFile.h"
#include "support/RecordingProgress.h"
#include "support/TempFolder.h"
#include "support/TiffBuilder.h"

using namespace testing_tiff;

namespace {

struct Scan {
    double max, min;
    std::int64_t x, y;
};

Scan ScanFile(const TiffSpec& image, Progress* progress = nullptr) {
    TempFolder folder;
    const auto path = folder / "white.tif";
    WriteFile(path, BuildTiff(image).bytes);
    TiffServices services;
    if (progress) services.analyzeProgress = progress;
    TiffFile tiff(services);
    tiff.fi = GetFolderItem(path);
    EXPECT_FALSE(tiff.OpenTIFF());
    tiff.FindMaxLuminanceDisk();
    return {tiff.MaxLuminance, tiff.MinLuminance, tiff.pxmax, tiff.pymax};
}

// Samples for a w x h image: every pixel (r, g, b) = (fill, g(x, y), fill).
TiffSpec Image(std::uint32_t w, std::uint32_t h, int bits, bool little,
               std::function<std::uint16_t(std::uint32_t, std::uint32_t)> green,
               std::uint16_t fill = 0) {
    TiffSpec image = SpecOf(w, h, bits, little);
    image.pixel = [green, fill](std::uint32_t x, std::uint32_t y) {
        return Rgb{fill, green(x, y), fill};
    };
    return image;
}

struct ScanCase {
    const char* name;
    int bits;
    bool little;
    std::function<std::uint16_t(std::uint32_t, std::uint32_t)> green;
    std::uint16_t fill;
    Scan expected;
    std::uint32_t width = 5;
};

class DiskScan : public ::testing::TestWithParam<ScanCase> {};

TEST_P(DiskScan, FindsBrightestDarkestAndWhere) {
    const ScanCase c = GetParam();
    const Scan s = ScanFile(Image(c.width, 4, c.bits, c.little, c.green, c.fill));
    EXPECT_EQ(s.max, c.expected.max);
    EXPECT_EQ(s.min, c.expected.min);
    EXPECT_EQ(s.x, c.expected.x);
    EXPECT_EQ(s.y, c.expected.y);
}

using Green = std::uint16_t (*)(std::uint32_t, std::uint32_t);
const Green kPeakLast = [](std::uint32_t x, std::uint32_t y) -> std::uint16_t {
    return (x == 4 && y == 3) ? 200 : static_cast<std::uint16_t>(10 + x + y);
};
const Green kPeakLast16 = [](std::uint32_t x, std::uint32_t y) -> std::uint16_t {
    return (x == 4 && y == 3) ? 61680 : static_cast<std::uint16_t>(300 + 256 * x + y);
};
const Green kBlack = [](std::uint32_t, std::uint32_t) -> std::uint16_t { return 0; };
const Green kEven = [](std::uint32_t, std::uint32_t) -> std::uint16_t { return 77; };
const Green kEqualPeaks = [](std::uint32_t x, std::uint32_t y) -> std::uint16_t {
    return (y >= 1 && x >= 2) ? 90 : 40;
};
const Green kRising = [](std::uint32_t x, std::uint32_t) -> std::uint16_t { return 1000 + x; };
// 37 pixels a row: whole blocks of pixels first, then a few left over.
const Green kWide8 = [](std::uint32_t x, std::uint32_t y) -> std::uint16_t {
    return x == 20 && y == 2 ? 250 : x == 36 && y == 1 ? 2 : 100;
};
// 256 and 255 swap their order when their bytes are turned round.
const Green kWide16 = [](std::uint32_t x, std::uint32_t y) -> std::uint16_t {
    return x == 30 && y == 1 ? 256 : x == 34 && y == 2 ? 3 : x == 9 && y == 3 ? 4 : 255;
};
const Green kWidePeakLeftOver16 = [](std::uint32_t x, std::uint32_t y) -> std::uint16_t {
    return x == 35 && y == 3 ? 60000 : x == 17 && y == 0 ? 7 : 30000;
};

// Of equal peaks the first in scan order holds the place; an all-black image
// keeps the place a new object has; red and blue are never looked at.
INSTANTIATE_TEST_SUITE_P(
    Images, DiskScan,
    ::testing::Values(
        ScanCase{"peak_in_last_pixel_8", 8, true, kPeakLast, 0, {200, 10, 4, 3}},
        ScanCase{"peak_16_le", 16, true, kPeakLast16, 0, {61680, 300, 4, 3}},
        ScanCase{"peak_16_be", 16, false, kPeakLast16, 0, {61680, 300, 4, 3}},
        ScanCase{"all_black_keeps_place", 16, true, kBlack, 0, {0, 0, 0, 0}},
        ScanCase{"all_equal_first_pixel", 8, true, kEven, 0, {77, 77, 0, 0}},
        ScanCase{"first_of_equal_peaks", 8, true, kEqualPeaks, 0, {90, 40, 2, 1}},
        ScanCase{"red_and_blue_ignored", 16, false, kRising, 65535, {1004, 1000, 4, 0}},
        ScanCase{"wide_8", 8, true, kWide8, 255, {250, 2, 20, 2}, 37},
        ScanCase{"wide_16_le", 16, true, kWide16, 65535, {256, 3, 30, 1}, 37},
        ScanCase{"wide_16_be", 16, false, kWide16, 65535, {256, 3, 30, 1}, 37},
        ScanCase{
            "wide_peak_left_over_16", 16, false, kWidePeakLeftOver16, 0, {60000, 7, 35, 3}, 37}),
    [](const auto& info) { return std::string(info.param.name); });

TEST(DiskScan, ReportsEveryRowThenHides) {
    RecordingProgress bar;
    ScanFile(Image(3, 4, 8, true, [](auto, auto) -> std::uint16_t { return 5; }), &bar);
    EXPECT_EQ(bar.maxima, (std::vector<std::int64_t>{4}));
    EXPECT_EQ(bar.values, (std::vector<double>{1, 2, 3, 4}));
    EXPECT_EQ(bar.visibility, (std::vector<bool>{true, false}));
    EXPECT_EQ(bar.refreshes, 4);
}

// Pixels of four bytes are read as if they were 16-bit RGB: whatever that
// yields, the scan must stay inside its row.
TEST(DiskScan, OddPixelSizeStaysInsideTheRow) {
    TiffSpec image = Image(3, 2, 16, true, [](auto, auto) -> std::uint16_t { return 9; });
    image.extra = {{277, 3, 1, 2}};  // 16 bits x 2 samples: 4 bytes a pixel
    const Scan s = ScanFile(image);
    // Rows of 12 bytes: green samples at offsets 2 and 8 only.
    EXPECT_EQ(s.max, 9.0);
    EXPECT_EQ(s.min, 9.0);
    EXPECT_EQ(s.x, 0);
}

TEST(DiskScan, NoRowsLeavesTheStartingMinimum) {
    const Scan s = ScanFile(SpecOf(4, 0, 8, true));
    EXPECT_EQ(s.max, 0.0);
    EXPECT_EQ(s.min, 9999999.9);
}

// A loaded raster of the given pixel size, reporting to bar.
std::unique_ptr<TiffFile> InMemory(RecordingProgress& bar, std::int64_t bytesPerPixel,
                                   std::int64_t pixels) {
    TiffServices services;
    services.analyzeProgress = &bar;
    auto tiff = std::make_unique<TiffFile>(services);
    tiff->BytesPerPixel = bytesPerPixel;
    tiff->PixelCount = pixels;
    tiff->imageBuffer =
        std::make_shared<MemoryBlock>(static_cast<std::size_t>(bytesPerPixel * pixels));
    return tiff;
}

// The in-memory twin walks the whole buffer in the buffer's byte order.
TEST(MemoryScan, FindsExtremesAndReportsByFiftieths) {
    RecordingProgress bar;
    auto owned = InMemory(bar, 6, 100);
    TiffFile& tiff = *owned;
    tiff.imageBuffer->LittleEndian = false;
    for (int p = 0; p < 100; ++p)
        tiff.imageBuffer->SetUInt16Value(p * 6 + 2, static_cast<std::uint16_t>(500 + p));
    tiff.imageBuffer->SetUInt16Value(0, 65535);  // red: not looked at
    tiff.FindMaxLuminance();
    EXPECT_EQ(tiff.MaxLuminance, 599);
    EXPECT_EQ(tiff.MinLuminance, 500);
    EXPECT_EQ(tiff.pxmax, 0);
    ASSERT_FALSE(bar.values.empty());
    EXPECT_EQ(bar.values.front(), 14.0 / 12.0);  // interval 12: first fires at the third sample
    EXPECT_LE(bar.values.back(), 50.0);
}

TEST(MemoryScan, TinyBufferHasIntervalZeroAndReportsEveryPixel) {
    RecordingProgress bar;
    auto owned = InMemory(bar, 3, 2);
    TiffFile& tiff = *owned;
    tiff.imageBuffer->SetUInt8Value(1, 30);
    tiff.imageBuffer->SetUInt8Value(4, 20);
    tiff.FindMaxLuminance();
    EXPECT_EQ(tiff.MaxLuminance, 30);
    EXPECT_EQ(tiff.MinLuminance, 20);
    ASSERT_EQ(bar.values.size(), 2u);
    EXPECT_TRUE(std::isinf(bar.values[0]));
}

}  // namespace

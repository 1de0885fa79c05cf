#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <limits>

#include "Exceptions.h"
#include "LibtiffFiles.h"
#include "OpenedTiff.h"
#include "TempFolder.h"

namespace {

// Written by libtiff: 8-bit rows are never swapped, 16-bit rows of either
// order end in the host's, to the last row; a second load starts again.
TEST(ReadImage, EveryRowArrivesInHostOrderInBothDepthsAndOrders) {
    TempFolder folder;
    for (const std::uint16_t bits : {8, 16})
        for (const bool bigEndian : {false, true}) {
            LibtiffImage image = PatternImage(5, 4, bits);
            image.bigEndian = bigEndian;
            WriteWithLibtiff(folder / "in.tif", image);
            const auto tiff = Opened(folder / "in.tif");
            tiff->ReadImage();
            tiff->ReadImage();
            EXPECT_EQ(BlockBytes(*tiff->imageBuffer), image.pixels) << bits << bigEndian;
            EXPECT_FALSE(tiff->imagefile->IsOpen());
        }
    const auto cut = Opened(folder / "in.tif");  // rows past the end of the file
    std::filesystem::resize_file(folder / "in.tif", cut->ImageOffset + 10);
    EXPECT_THROW(cut->ReadImage(), IOException);
}

TEST(ReadProfile, LoadsOnlyAProfileInsideTheFile) {
    TempFolder folder;
    LibtiffImage image = PatternImage(3, 2, 8);
    WriteWithLibtiff(folder / "none.tif", image);
    image.profile = PatternBytes(7, 3);
    WriteWithLibtiff(folder / "odd.tif", image);
    EXPECT_FALSE(Opened(folder / "none.tif")->ReadProfile());
    const auto withProfile = Opened(folder / "odd.tif");
    withProfile->ProfileOffset += 100000;
    EXPECT_FALSE(withProfile->ReadProfile());
    EXPECT_FALSE(withProfile->profileBuffer);
    withProfile->ProfileOffset -= 100000;
    ASSERT_TRUE(withProfile->ReadProfile());
    EXPECT_EQ(BlockBytes(*withProfile->profileBuffer), image.profile);
}

// Past the edges the last column and row are read; Lab levels are scaled and
// their a and b read as signed.
TEST(GetTIFFPixel, ReadsScalesAndClamps) {
    struct {
        std::uint16_t bits;
        bool bigEndian;
        std::int64_t interpretation;
        std::size_t pixel;                     // which of the 3 x 2 pixels holds the samples
        std::array<std::uint16_t, 3> samples;  // in the host's order
        std::int64_t x, y;
        std::array<double, 3> expected;
    } const cases[] = {{8, false, 2, 5, {10, 200, 255}, 99, 99, {10, 200, 255}},
                       {8, true, 8, 5, {255, 127, 128}, 3, 2, {100, 127, -128}},
                       {16, true, 2, 1, {1, 0x1234, 65535}, 1, 0, {1, 0x1234, 65535}},
                       {16, false, 8, 5, {65535, 256, 0xFF00}, 5, 1, {100, 1, -1}},
                       {16, true, 8, 3, {0, 0x8000, 0x7FFF}, 0, 1, {0, -128, 127.99609375}}};
    TempFolder folder;
    for (const auto& c : cases) {
        LibtiffImage image = PatternImage(3, 2, c.bits);
        for (std::size_t k = 0, width = c.bits / 8; k < 3; ++k)  // low byte first
            std::memcpy(&image.pixels[(c.pixel * 3 + k) * width], &c.samples[k], width);
        image.bigEndian = c.bigEndian;
        WriteWithLibtiff(folder / "in.tif", image);
        const auto tiff = Opened(folder / "in.tif");
        tiff->Interpretation = c.interpretation;
        std::array<double, 3> got{};
        tiff->GetTIFFPixel(c.x, c.y, got[0], got[1], got[2]);
        EXPECT_EQ(got, c.expected) << c.bits << " bits, " << c.x << "," << c.y;
    }
}

// Display levels worked out apart from this code, by hand and in a separate script.
TEST(LabToRGB, GivesDisplayLevels) {
    const std::pair<std::array<double, 3>, std::array<std::int64_t, 3>> cases[] = {
        {{100, 0, 0}, {255, 255, 255}},
        {{0, 0, 0}, {0, 0, 0}},
        {{50, 0, 0}, {119, 119, 119}},
        {{5, 0, 0}, {25, 25, 25}},  // the linear piece of every curve
        {{60, 50, 50}, {210, 103, 64}},
        {{100, 20, -30}, {255, 244, 255}},
        {{120, 20, -30}, {255, 244, 255}},  // L past 100 stops at Y 100
        {{50, -100, 0}, {0, 150, 119}},     // negative linear red
        {{50, 100, 0}, {218, 0, 120}},      // negative linear green
        {{30, 0, 120}, {91, 71, 0}},        // negative linear blue
        {{50, 1e6, -1e6}, {0, 0, 255}},
        {{std::numeric_limits<double>::quiet_NaN(), 0, 0}, {0, 0, 0}}};
    for (const auto& [lab, rgb] : cases) {
        std::array<std::int64_t, 3> got{-1, -1, -1};
        TiffFile().LabToRGB(lab[0], lab[1], lab[2], got[0], got[1], got[2]);
        EXPECT_EQ(got, rgb) << lab[0] << " " << lab[1] << " " << lab[2];
    }
}

// The in-memory raster: pixels land by column, row and channel (their values
// are GetTIFFPixel's, which decodes them alike); a short buffer is refused.
TEST(LabIntToFloatArray, FillsByColumnRowAndChannelAndRefusesAShortBuffer) {
    TiffFile t;
    t.ImageWidth = t.ImageHeight = 2;
    t.BytesPerPixel = 3;
    t.imageBuffer = std::make_shared<MemoryBlock>(12);
    for (int k = 0; k < 12; ++k) t.imageBuffer->SetUInt8Value(k, k % 3 ? 0 : 51 * (k / 3 + 1));
    t.LabIntToFloatArray();
    EXPECT_EQ((std::array{t.img.UBound(0), t.img.UBound(1), t.img.UBound(2)}),
              (std::array<std::int64_t, 3>{1, 1, 2}));
    for (int p = 0; p < 4; ++p) EXPECT_FLOAT_EQ(t.img(p % 2, p / 2, 0), 20.0f * (p + 1)) << p;
    EXPECT_EQ(t.img(1, 1, 1), 0.0f);
    t.BytesPerPixel = 6;
    EXPECT_THROW(t.LabIntToFloatArray(), OutOfBoundsException);
}
}  // namespace

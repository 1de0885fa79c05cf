#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <limits>

#include "Exceptions.h"
#include "LibtiffFiles.h"
#include "OpenedTiff.h"
#include "TempFolder.h"

namespace {

struct ReadCase {
    const char* name;
    std::uint16_t bits;
    bool bigEndian;
};

class ReadImageTest : public ::testing::TestWithParam<ReadCase> {};

// 8-bit rows are never swapped; 16-bit rows of either order end in the host's.
TEST_P(ReadImageTest, EveryRowArrivesInHostOrder) {
    const auto [name, bits, bigEndian] = GetParam();
    TempFolder folder;
    LibtiffImage image = PatternImage(5, 4, bits);
    image.bigEndian = bigEndian;
    WriteWithLibtiff(folder / "in.tif", image);
    const auto tiff = Opened(folder / "in.tif");

    tiff->ReadImage();
    tiff->ReadImage();  // a second load replaces the first and starts again at the pixels
    EXPECT_EQ(BlockBytes(*tiff->imageBuffer), image.pixels);  // the last row too
    EXPECT_FALSE(tiff->imagefile->IsOpen());
}

INSTANTIATE_TEST_SUITE_P(Depths, ReadImageTest,
                         ::testing::Values(ReadCase{"EightBitLittle", 8, false},
                                           ReadCase{"EightBitBig", 8, true},
                                           ReadCase{"SixteenBitLittle", 16, false},
                                           ReadCase{"SixteenBitBig", 16, true}),
                         [](const auto& info) { return std::string(info.param.name); });

TEST(ReadImage, RefusesRowsPastTheEndOfTheFile) {
    TempFolder folder;
    WriteWithLibtiff(folder / "in.tif", PatternImage(5, 4, 16));
    const auto tiff = Opened(folder / "in.tif");
    std::filesystem::resize_file(folder / "in.tif", tiff->ImageOffset + 10);
    EXPECT_THROW(tiff->ReadImage(), IOException);
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

struct PixelCase {
    const char* name;
    std::uint16_t bits;
    bool bigEndian;
    std::int64_t interpretation;
    std::size_t pixel;                     // which of the 3 x 2 pixels holds the samples
    std::array<std::uint16_t, 3> samples;  // in the host's order
    std::int64_t x, y;
    std::array<double, 3> expected;
};

class GetTIFFPixelTest : public ::testing::TestWithParam<PixelCase> {};

TEST_P(GetTIFFPixelTest, ReadsScalesAndClamps) {
    const PixelCase c = GetParam();
    TempFolder folder;
    LibtiffImage image = PatternImage(3, 2, c.bits);
    for (std::size_t k = 0, width = c.bits / 8; k < 3; ++k)
        std::memcpy(&image.pixels[(c.pixel * 3 + k) * width], &c.samples[k],
                    width);  // low byte first
    image.bigEndian = c.bigEndian;
    WriteWithLibtiff(folder / "in.tif", image);
    const auto tiff = Opened(folder / "in.tif");
    tiff->Interpretation = c.interpretation;

    std::array<double, 3> got{};
    tiff->GetTIFFPixel(c.x, c.y, got[0], got[1], got[2]);
    for (int k = 0; k < 3; ++k) EXPECT_DOUBLE_EQ(got[k], c.expected[k]) << "channel " << k;
}

// Past the edges the last column and row are read; Lab levels are scaled and
// their a and b read as signed.
INSTANTIATE_TEST_SUITE_P(
    Pixels, GetTIFFPixelTest,
    ::testing::Values(
        PixelCase{"Rgb8PastBoth", 8, false, 2, 5, {10, 200, 255}, 99, 99, {10, 200, 255}},
        PixelCase{"Lab8AtTheEdge", 8, true, 8, 5, {255, 127, 128}, 3, 2, {100, 127, -128}},
        PixelCase{"Rgb16Big", 16, true, 2, 1, {1, 0x1234, 65535}, 1, 0, {1, 0x1234, 65535}},
        PixelCase{"Lab16PastX", 16, false, 8, 5, {65535, 256, 0xFF00}, 5, 1, {100, 1, -1}},
        PixelCase{"Lab16Big", 16, true, 8, 3, {0, 0x8000, 0x7FFF}, 0, 1, {0, -128, 127.99609375}}),
    [](const auto& info) { return std::string(info.param.name); });

struct LabCase {
    double L, a, b;
    std::array<std::int64_t, 3> rgb;
};

class LabToRGBTest : public ::testing::TestWithParam<LabCase> {};

TEST_P(LabToRGBTest, GivesDisplayLevels) {
    const LabCase c = GetParam();
    std::array<std::int64_t, 3> got{-1, -1, -1};
    TiffFile().LabToRGB(c.L, c.a, c.b, got[0], got[1], got[2]);
    EXPECT_EQ(got, c.rgb);
}

// Levels worked out apart from this code, by hand and in a separate script.
INSTANTIATE_TEST_SUITE_P(
    Triples, LabToRGBTest,
    ::testing::Values(LabCase{100, 0, 0, {255, 255, 255}}, LabCase{0, 0, 0, {0, 0, 0}},
                      LabCase{50, 0, 0, {119, 119, 119}},
                      LabCase{5, 0, 0, {25, 25, 25}},  // the linear piece of every curve
                      LabCase{60, 50, 50, {210, 103, 64}}, LabCase{100, 20, -30, {255, 244, 255}},
                      LabCase{120, 20, -30, {255, 244, 255}},  // L past 100 stops at Y 100
                      LabCase{50, -100, 0, {0, 150, 119}},     // negative linear red
                      LabCase{50, 100, 0, {218, 0, 120}},      // negative linear green
                      LabCase{30, 0, 120, {91, 71, 0}},        // negative linear blue
                      LabCase{50, 1e6, -1e6, {0, 0, 255}},
                      LabCase{std::numeric_limits<double>::quiet_NaN(), 0, 0, {0, 0, 0}}));

struct DecodeCase {
    const char* name;
    std::int64_t bytesPerPixel;
    bool littleEndian;
    std::vector<std::uint8_t> bytes;          // 2 x 2 pixels, row by row
    std::array<std::array<float, 3>, 4> lab;  // the same pixels decoded
};

class LabIntToFloatArrayTest : public ::testing::TestWithParam<DecodeCase> {};

TEST_P(LabIntToFloatArrayTest, DecodesByColumnRowAndChannel) {
    const DecodeCase c = GetParam();
    TiffFile t;
    t.ImageWidth = 2;
    t.ImageHeight = 2;
    t.BytesPerPixel = c.bytesPerPixel;
    t.imageBuffer = std::make_shared<MemoryBlock>(c.bytes.size());
    t.imageBuffer->LittleEndian = c.littleEndian;
    std::copy(c.bytes.begin(), c.bytes.end(), t.imageBuffer->Data());
    t.LabIntToFloatArray();
    EXPECT_EQ((std::array{t.img.UBound(0), t.img.UBound(1), t.img.UBound(2)}),
              (std::array<std::int64_t, 3>{1, 1, 2}));
    for (int p = 0; p < 4; ++p)
        for (int ch = 0; ch < 3; ++ch)
            EXPECT_FLOAT_EQ(t.img(p % 2, p / 2, ch), c.lab[p][ch])
                << "pixel " << p << " channel " << ch;
}

// 16-bit pixels: 65535 256 -256 | 0 -32768 32767 | 32768 128 0 | 13107 -32 64.
constexpr std::array<std::array<float, 3>, 4> kSixteenBitLab{
    {{100, 1, -1}, {0, -128, 127.99609375f}, {50.000763f, 0.5f, 0}, {20, -0.125f, 0.25f}}};
INSTANTIATE_TEST_SUITE_P(
    Pixels, LabIntToFloatArrayTest,
    ::testing::Values(DecodeCase{"EightBit",
                                 3,
                                 true,
                                 {255, 127, 128, 0, 0, 0, 51, 1, 255, 102, 200, 56},
                                 {{{100, 127, -128}, {0, 0, 0}, {20, 1, -1}, {40, -56, 56}}}},
                      DecodeCase{
                          "SixteenBitBig",
                          6,
                          false,
                          {0xFF, 0xFF, 0x01, 0x00, 0xFF, 0x00, 0x00, 0x00, 0x80, 0x00, 0x7F, 0xFF,
                           0x80, 0x00, 0x00, 0x80, 0x00, 0x00, 0x33, 0x33, 0xFF, 0xE0, 0x00, 0x40},
                          kSixteenBitLab}),
    [](const auto& info) { return std::string(info.param.name); });

TEST(LabIntToFloatArray, RefusesABufferShorterThanTheImage) {
    TiffFile t;
    t.ImageWidth = t.ImageHeight = 2;
    t.BytesPerPixel = 6;
    t.imageBuffer = std::make_shared<MemoryBlock>(23);
    EXPECT_THROW(t.LabIntToFloatArray(), OutOfBoundsException);
}
}  // namespace

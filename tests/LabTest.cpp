#include <gtest/gtest.h>

#include <array>
#include <limits>

#include "Exceptions.h"
#include "TiffFile.h"

namespace {
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

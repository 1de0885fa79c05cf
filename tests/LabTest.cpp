#include <gtest/gtest.h>

#include <array>
#include <cmath>
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
    TiffFile t;
    std::array<std::int64_t, 3> got{-1, -1, -1};
    t.LabToRGB(c.L, c.a, c.b, got[0], got[1], got[2]);
    EXPECT_EQ(got, c.rgb);
}

// Expected levels worked out apart from this code, from the formulas by hand
// and in a separate script.
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
INSTANTIATE_TEST_SUITE_P(
    Triples, LabToRGBTest,
    ::testing::Values(LabCase{100, 0, 0, {255, 255, 255}}, LabCase{0, 0, 0, {0, 0, 0}},
                      LabCase{50, 0, 0, {119, 119, 119}},
                      LabCase{5, 0, 0, {25, 25, 25}},  // linear pieces of every curve
                      LabCase{60, 50, 50, {210, 103, 64}}, LabCase{100, 20, -30, {255, 244, 255}},
                      LabCase{120, 20, -30, {255, 244, 255}},  // L past 100 stops at Y 100
                      LabCase{1e9, 0, 0, {255, 255, 255}},
                      LabCase{50, -100, 0, {0, 150, 119}},  // negative linear red
                      LabCase{50, 100, 0, {218, 0, 120}},   // negative linear green
                      LabCase{30, 0, 120, {91, 71, 0}},     // negative linear blue
                      LabCase{50, 1e6, -1e6, {0, 0, 255}}, LabCase{kNaN, 0, 0, {0, 0, 0}}));

struct DecodeCase {
    const char* name;
    std::int64_t bytesPerPixel;
    bool littleEndian;
    std::vector<std::uint16_t> samples;       // 2 x 2 pixels, row by row
    std::array<std::array<float, 3>, 4> lab;  // the same pixels decoded
};

class LabIntToFloatArrayTest : public ::testing::TestWithParam<DecodeCase> {};

TEST_P(LabIntToFloatArrayTest, DecodesByColumnRowAndChannel) {
    const DecodeCase c = GetParam();
    TiffFile t;
    t.ImageWidth = 2;
    t.ImageHeight = 2;
    t.BytesPerPixel = c.bytesPerPixel;
    const std::size_t width = c.bytesPerPixel == 3 ? 1 : 2;
    t.imageBuffer = std::make_shared<MemoryBlock>(c.samples.size() * width);
    t.imageBuffer->LittleEndian = c.littleEndian;
    for (std::size_t k = 0; k < c.samples.size(); ++k) {
        if (width == 1) {
            t.imageBuffer->SetUInt8Value(k, static_cast<std::uint8_t>(c.samples[k]));
        } else {
            const bool low = c.littleEndian;
            t.imageBuffer->Data()[2 * k] =
                static_cast<std::uint8_t>(low ? c.samples[k] : c.samples[k] >> 8);
            t.imageBuffer->Data()[2 * k + 1] =
                static_cast<std::uint8_t>(low ? c.samples[k] >> 8 : c.samples[k]);
        }
    }
    t.LabIntToFloatArray();
    ASSERT_EQ(t.img.UBound(0), 1);
    ASSERT_EQ(t.img.UBound(1), 1);
    ASSERT_EQ(t.img.UBound(2), 2);
    for (int p = 0; p < 4; ++p)
        for (int ch = 0; ch < 3; ++ch)
            EXPECT_FLOAT_EQ(t.img(p % 2, p / 2, ch), c.lab[p][ch])
                << "pixel " << p << " channel " << ch;
}

INSTANTIATE_TEST_SUITE_P(
    Pixels, LabIntToFloatArrayTest,
    ::testing::Values(
        DecodeCase{"EightBit",
                   3,
                   true,
                   {255, 127, 128, 0, 0, 0, 51, 1, 255, 102, 200, 56},
                   {{{100, 127, -128}, {0, 0, 0}, {20, 1, -1}, {40, -56, 56}}}},
        DecodeCase{"SixteenBitLittle",
                   6,
                   true,
                   {65535, 256, 0xFF00, 0, 0x8000, 0x7FFF, 32768, 128, 0, 13107, 0xFFE0, 64},
                   {{{100, 1, -1},
                     {0, -128, 127.99609375f},
                     {50.000763f, 0.5f, 0},
                     {20, -0.125f, 0.25f}}}},
        DecodeCase{"SixteenBitBig",
                   6,
                   false,
                   {65535, 256, 0xFF00, 0, 0x8000, 0x7FFF, 32768, 128, 0, 13107, 0xFFE0, 64},
                   {{{100, 1, -1},
                     {0, -128, 127.99609375f},
                     {50.000763f, 0.5f, 0},
                     {20, -0.125f, 0.25f}}}}),
    [](const auto& info) { return std::string(info.param.name); });

TEST(LabIntToFloatArray, RefusesABufferShorterThanTheImage) {
    TiffFile t;
    t.ImageWidth = 2;
    t.ImageHeight = 2;
    t.BytesPerPixel = 6;
    t.imageBuffer = std::make_shared<MemoryBlock>(23);
    EXPECT_THROW(t.LabIntToFloatArray(), OutOfBoundsException);
}
}  // namespace

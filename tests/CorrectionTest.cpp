#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "Correction.h"

namespace {

TEST(TargetLevel, FollowsTheWorkedExamples) {
    EXPECT_EQ(TargetLevel(200.0, 100.0, 0.5), 150.0);
    EXPECT_EQ(TargetLevel(52000.0, 30000.0, 1.0), 52000.0);
    EXPECT_EQ(TargetLevel(200.0, 100.0, 0.0), 100.0);
    EXPECT_EQ(TargetLevel(180.0, 180.0, 7.5), 180.0);
}

// One pixel through the byte-level correction. The expected outputs were worked
// out by hand from gain = max(target / white, 1) and truncation.
struct PixelCase {
    const char* name;
    std::int64_t bytesPerPixel;
    double target;
    std::uint16_t white;
    std::array<std::uint16_t, 3> in;
    std::array<std::uint16_t, 3> out;
};

std::vector<std::uint8_t> Pixel(const std::array<std::uint16_t, 3>& rgb, std::size_t width,
                                bool little) {
    std::vector<std::uint8_t> bytes;
    for (std::uint16_t s : rgb) {
        if (width == 1) {
            bytes.push_back(static_cast<std::uint8_t>(s));
        } else if (little) {
            bytes.insert(bytes.end(),
                         {static_cast<std::uint8_t>(s), static_cast<std::uint8_t>(s >> 8)});
        } else {
            bytes.insert(bytes.end(),
                         {static_cast<std::uint8_t>(s >> 8), static_cast<std::uint8_t>(s)});
        }
    }
    return bytes;
}

class PixelCorrection : public ::testing::TestWithParam<PixelCase> {};

// Every combination of subject and white card byte order gives the same
// samples, and the output keeps the subject's order.
TEST_P(PixelCorrection, GivesTheWorkedSamplesInEveryByteOrder) {
    const PixelCase c = GetParam();
    const SampleFormat format = SampleFormat::For(c.bytesPerPixel);
    for (bool subjectLittle : {true, false}) {
        for (bool whiteLittle : {true, false}) {
            const auto subject = Pixel(c.in, format.width, subjectLittle);
            const auto white = Pixel({9999, c.white, 1}, format.width, whiteLittle);
            std::vector<std::uint8_t> out(subject.size(), 0xEE);
            CorrectPixel(format, c.target, subject.data(), subjectLittle, white.data(), whiteLittle,
                         out.data());
            EXPECT_EQ(out, Pixel(c.out, format.width, subjectLittle))
                << "subject " << (subjectLittle ? "LE" : "BE") << ", white "
                << (whiteLittle ? "LE" : "BE");
        }
    }
}

INSTANTIATE_TEST_SUITE_P(
    Examples, PixelCorrection,
    ::testing::Values(
        PixelCase{"gain_1_25_with_ceiling", 3, 150.0, 120, {80, 100, 220}, {100, 125, 255}},
        PixelCase{"truncated_not_rounded", 3, 150.0, 130, {101, 13, 7}, {116, 14, 8}},
        PixelCase{"bright_place_unchanged", 3, 150.0, 180, {30, 40, 50}, {30, 40, 50}},
        PixelCase{"white_at_target_gain_one", 3, 150.0, 150, {1, 254, 255}, {1, 254, 255}},
        PixelCase{"product_exactly_at_ceiling", 3, 255.0, 85, {85, 0, 84}, {255, 0, 252}},
        PixelCase{
            "sixteen_bit_example", 6, 52000.0, 40000, {10000, 20000, 60000}, {13000, 26000, 65535}},
        PixelCase{"sixteen_bit_never_wraps", 6, 65535.0, 1, {1, 2, 65535}, {65535, 65535, 65535}},
        // A white sample of 0: infinite gain sends every non-zero sample to the
        // ceiling, and a black sample stays black.
        PixelCase{"white_zero", 3, 150.0, 0, {0, 1, 200}, {0, 255, 255}},
        PixelCase{"white_zero_sixteen", 6, 30000.0, 0, {0, 1, 2}, {0, 65535, 65535}},
        // Target 0 over white 0 has no value; the pixel is left as it is.
        PixelCase{"target_and_white_zero", 6, 0.0, 0, {7, 8, 9}, {7, 8, 9}},
        // Any pixel size but 3 takes the 16-bit layout.
        PixelCase{
            "four_bytes_takes_sixteen_bit_layout", 4, 200.0, 100, {1000, 2, 3}, {2000, 4, 6}}),
    [](const auto& info) { return std::string(info.param.name); });

TEST(Gain, NeverBelowOneAndOnlyOneDivision) {
    EXPECT_EQ(Gain(150.0, 120.0), 1.25);
    EXPECT_EQ(Gain(150.0, 130.0), 1.1538461538461537);
    EXPECT_EQ(Gain(150.0, 180.0), 1.0);
    EXPECT_EQ(Gain(150.0, 0.0), std::numeric_limits<double>::infinity());
    EXPECT_EQ(Gain(0.0, 0.0), 1.0);
}

TEST(CorrectedSample, TruncatesTowardZero) {
    EXPECT_EQ(CorrectedSample(1.1538461538461537, 101.0, 255.0), 116);
    EXPECT_EQ(CorrectedSample(1.1538461538461537, 13.0, 255.0), 14);  // 14.999999999999998
    EXPECT_EQ(CorrectedSample(1.3, 60000.0, 65535.0), 65535);
    EXPECT_EQ(CorrectedSample(std::numeric_limits<double>::infinity(), 0.0, 255.0), 0);
}

}  // namespace

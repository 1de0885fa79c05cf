#include <gtest/gtest.h>

#include "PngDecode.h"
#include "PngFile.h"

using namespace testing_png;

namespace {
struct SizeCase {
    std::int64_t width, height;
};

class PngRoundTrip : public ::testing::TestWithParam<SizeCase> {};

// From one pixel to a strip taller than one deflate window.
TEST_P(PngRoundTrip, DecodesToThePicture) {
    const SizeCase c = GetParam();
    Picture picture(c.width, c.height);
    for (std::int64_t y = 0; y < c.height; ++y)
        for (std::int64_t x = 0; x < c.width; ++x)
            picture.SetPixel(x, y, RGB(x % 256, y % 256, (x * y) % 256, 0));
    const Decoded d = Decode(EncodePng(picture));
    EXPECT_EQ(d.width, c.width);
    EXPECT_EQ(d.height, c.height);
    EXPECT_EQ(d.header, std::string("\x08\x02\x00\x00\x00", 5));
    for (std::int64_t y = 0; y < c.height; ++y) {
        const std::size_t line = y * (c.width * 3 + 1);
        ASSERT_EQ(d.scanLines[line], '\0');
        for (std::int64_t x = 0; x < c.width; ++x) {
            const std::size_t at = line + 1 + 3 * x;
            ASSERT_EQ(static_cast<std::uint8_t>(d.scanLines[at]), x % 256);
            ASSERT_EQ(static_cast<std::uint8_t>(d.scanLines[at + 1]), y % 256);
            ASSERT_EQ(static_cast<std::uint8_t>(d.scanLines[at + 2]), (x * y) % 256);
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Sizes, PngRoundTrip,
                         ::testing::Values(SizeCase{1, 1}, SizeCase{230, 95}, SizeCase{230, 172},
                                           SizeCase{7, 3121}));

}  // namespace

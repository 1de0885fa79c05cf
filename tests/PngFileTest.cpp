#include <gtest/gtest.h>
#include <sstream>

#include "AnalyzeCommand.h"
#include "PngDecode.h"
#include "PngFile.h"
#include "TempFolder.h"
#include "TiffBuilder.h"

using namespace testing_tiff;
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

// analyze --preview: the white card at its own size when it fits the 230 x
// 230 room, 16-bit samples brought down by 257.
TEST(AnalyzePreview, WritesTheWhiteCardPreview) {
    TempFolder dir;
    TiffSpec white = SpecOf(3, 2, 16, false);
    white.pixel = [](std::uint32_t x, std::uint32_t y) {
        return Rgb{static_cast<std::uint16_t>(257 * (10 * x + y)), 65535, 256};
    };
    WriteFile(dir / "white.tif", BuildTiff(white).bytes);
    std::ostringstream out, err;
    ASSERT_EQ(RunAnalyze({dir / "white.tif", "--preview", dir / "w.png"}, out, err), 0);
    const Decoded d = Decode(ReadFile(dir / "w.png"));
    ASSERT_EQ(d.width, 3u);
    ASSERT_EQ(d.height, 2u);
    const unsigned char expected[] = {0, 0, 255, 0, 10, 255, 0, 20, 255, 0,
                                      0, 1, 255, 0, 11, 255, 0, 21, 255, 0};
    EXPECT_EQ(d.scanLines, std::string(reinterpret_cast<const char*>(expected), sizeof expected));
}
}  // namespace

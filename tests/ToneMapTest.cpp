#include <gtest/gtest.h>

#include "ToneMap.h"

namespace {
struct ToneCase {
    std::uint32_t source;
    std::uint32_t expected;
};

TEST(ToneMapTest, BandsByGreenByteAndDarkerPixelsCopied) {
    // Colours as 0xAARRGGBB, alpha 0 = opaque.
    const ToneCase cases[] = {
        {0x00000000u | 255u << 8, 0x00FF0000u},  // 255: top band, red
        {250u << 8, 0x00FF0000u},                // 250: still red
        {249u << 8, 0x00FF8000u},                // 249: second band
        {245u << 8, 0x00FF8000u},
        {244u << 8, 0x00FFC000u},
        {0x00FF00FFu | 240u << 8, 0x00FFC000u},  // red and blue bytes play no part
        {235u << 8, 0x00FFFF00u},
        {230u << 8, 0x00CCF000u},
        {225u << 8, 0x0000E000u},
        {220u << 8, 0x0000F0B0u},
        {215u << 8, 0x0000FFFFu},
        {210u << 8, 0x0000C0FFu},
        {209u << 8, 0x000080FFu},
        {205u << 8, 0x000080FFu},
        {204u << 8, 0x000000FFu},
        {200u << 8, 0x000000FFu},                             // 200: last band, blue
        {(0x00123456u & ~0xFF00u) | 199u << 8, 0x0012C756u},  // 199: copied as it is
        {0x00FF0000u, 0x00FF0000u},                           // pure red: green 0, copied
        {0x7F00C800u, 0x000000FFu},                           // a band replaces the alpha too
        {0x7F10C710u, 0x7F10C710u},                           // a copy keeps it
    };
    Picture white(static_cast<std::int64_t>(std::size(cases)), 1);
    for (std::size_t x = 0; x < std::size(cases); ++x)
        white.SetPixel(static_cast<std::int64_t>(x), 0, cases[x].source);
    Picture tone(white.Width(), 1);
    CreateToneMap(white, tone);
    for (std::size_t x = 0; x < std::size(cases); ++x)
        EXPECT_EQ(tone.Pixel(static_cast<std::int64_t>(x), 0), cases[x].expected) << "case " << x;
}

TEST(ToneMapTest, WritesEveryPixelOfTheMapRowByRow) {
    Picture white(3, 2);
    for (std::int64_t y = 0; y < 2; ++y)
        for (std::int64_t x = 0; x < 3; ++x) white.SetPixel(x, y, RGB(0, 190 + 10 * x + 5 * y, 0));
    Picture tone(3, 2);
    tone.ClearRect(0, 0, 3, 2);
    CreateToneMap(white, tone);
    const std::uint32_t expected[2][3] = {{0x0000BE00u, 0x000000FFu, 0x0000C0FFu},
                                          {0x0000C300u, 0x000080FFu, 0x0000FFFFu}};
    for (std::int64_t y = 0; y < 2; ++y)
        for (std::int64_t x = 0; x < 3; ++x)
            EXPECT_EQ(tone.Pixel(x, y), expected[y][x]) << x << "," << y;
}
}  // namespace

#include <gtest/gtest.h>

#include "ToneMap.h"

namespace {
struct ToneCase {
    std::uint32_t source;
    std::uint32_t expected;
};

TEST(ToneMapTest, BandsByGreenByteAndDarkerPixelsCopied) {
    // Colours as 0xAARRGGBB, alpha 0 = opaque: the edges of the top and bottom
    // bands, and what a band and a copy do with the other bytes.
    const ToneCase cases[] = {
        {0x00000000u | 255u << 8, 0x00FF0000u},  // 255: top band, red
        {250u << 8, 0x00FF0000u},                // 250: still red
        {249u << 8, 0x00FF8000u},                // 249: second band
        {244u << 8, 0x00FFC000u},
        {0x00FF00FFu | 240u << 8, 0x00FFC000u},               // red and blue bytes play no part
        {200u << 8, 0x000000FFu},                             // 200: last band, blue
        {(0x00123456u & ~0xFF00u) | 199u << 8, 0x0012C756u},  // 199: copied as it is
        {0x00FF0000u, 0x00FF0000u},                           // pure red: green 0, copied
        {0x7F00C800u, 0x000000FFu},                           // a band replaces the alpha too
        {0x7F10C710u, 0x7F10C710u},                           // a copy keeps it
    };
    // Laid out over two rows, so that a map of the first row alone shows.
    constexpr std::int64_t kWidth = std::size(cases) / 2;
    Picture white(kWidth, 2);
    for (std::int64_t n = 0; n < 2 * kWidth; ++n)
        white.SetPixel(n % kWidth, n / kWidth, cases[n].source);
    Picture tone(kWidth, 2);
    CreateToneMap(white, tone);
    for (std::int64_t n = 0; n < 2 * kWidth; ++n)
        EXPECT_EQ(tone.Pixel(n % kWidth, n / kWidth), cases[n].expected) << "case " << n;
}

}  // namespace

#include <gtest/gtest.h>

#include "OpenedTiff.h"
#include "TempFolder.h"
#include "TiffBuilder.h"

using namespace testing_tiff;

namespace {
// Each pixel tells where it came from: red the column, green the row.
TiffSpec Located(std::uint32_t width, std::uint32_t height, int bits, bool little) {
    TiffSpec s = SpecOf(width, height, bits, little);
    s.trailer = "after the rows";
    const std::uint16_t unit = bits == 8 ? 1 : 257;  // 16-bit samples come back / 257
    s.pixel = [unit](std::uint32_t x, std::uint32_t y) {
        return Rgb{static_cast<std::uint16_t>(x % 256 * unit), static_cast<std::uint16_t>(y * unit),
                   static_cast<std::uint16_t>(7 * unit)};
    };
    return s;
}

// Which pixels a preview picks: every column step from column 0, and every
// row step from the first row, which is one step less one for 8-bit images
// (their rows count from 1) and row 0 for 16-bit ones. A step that rounds up
// leaves the picture's last columns and rows as a new picture has them; one
// that rounds down picks more than fit, and nothing lands outside. Chosen
// rows or not, the stream ends behind the last row of the image.
TEST(ScaledPicture, PicksTheStepsPixels) {
    struct {
        std::uint32_t width, height;
        int bits;
        bool little;
        std::int64_t room, pictureWidth, pictureHeight;
        std::uint32_t columnStep, rowStep, firstRow, reachedWidth, reachedHeight;
    } const cases[] = {// 40 x 30 into 4 x 4 is the 4000 x 3000 example at a hundredth; 1000
                       // columns into 625 round 1.6 up to 2, into 800 round 1.25 down to 1.
                       {40, 30, 8, true, 4, 4, 3, 10, 10, 9, 4, 3},
                       {40, 30, 16, true, 4, 4, 3, 10, 10, 0, 4, 3},
                       {40, 30, 16, false, 4, 4, 3, 10, 10, 0, 4, 3},
                       {1000, 16, 8, true, 625, 625, 10, 2, 2, 1, 500, 8},
                       {1000, 8, 16, false, 800, 800, 6, 1, 1, 0, 800, 6}};
    TempFolder dir;
    for (const auto& c : cases) {
        SCOPED_TRACE(::testing::Message() << c.width << " x " << c.height << " into " << c.room);
        const BuiltTiff built = BuildTiff(Located(c.width, c.height, c.bits, c.little));
        WriteFile(dir / "image.tif", built.bytes);
        const auto tiff = Opened(dir / "image.tif");
        const auto picture = tiff->MakeScaledPictureDisk(c.room, c.room);
        EXPECT_EQ(tiff->imagefile->Position(),
                  static_cast<std::int64_t>(built.imageOffset + c.height * built.bytesPerRow));
        ASSERT_EQ(picture->Width(), c.pictureWidth);
        ASSERT_EQ(picture->Height(), c.pictureHeight);
        for (std::uint32_t y = 0; y < c.pictureHeight; ++y)
            for (std::uint32_t x = 0; x < c.pictureWidth; ++x) {
                const bool reached = x < c.reachedWidth && y < c.reachedHeight;
                ASSERT_EQ(picture->Pixel(x, y),
                          reached ? RGB(c.columnStep * x % 256, c.firstRow + c.rowStep * y, 7, 0)
                                  : RGB(0, 0, 0, 0))
                    << x << "," << y;
            }
    }
}

}  // namespace

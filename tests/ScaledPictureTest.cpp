#include <gtest/gtest.h>

#include "OpenedTiff.h"
#include "PreviewGeometry.h"
#include "TempFolder.h"
#include "TiffBuilder.h"

using namespace testing_tiff;

namespace {
struct GeometryCase {
    std::int64_t imageWidth, imageHeight, bytesPerPixel, room;
    double scale;
    std::int64_t width, height, columnStep, byteStep, rowStep;
};

class PreviewGeometryTest : public ::testing::TestWithParam<GeometryCase> {};

TEST_P(PreviewGeometryTest, SizeAndSteps) {
    const GeometryCase& c = GetParam();
    const PreviewGeometry g =
        PreviewGeometry::For(c.imageWidth, c.imageHeight, c.bytesPerPixel, c.room, c.room);
    EXPECT_DOUBLE_EQ(g.scale, c.scale);
    EXPECT_EQ(g.width, c.width);
    EXPECT_EQ(g.height, c.height);
    EXPECT_EQ(g.columnStep, c.columnStep);
    EXPECT_EQ(g.byteStep, c.byteStep);
    EXPECT_EQ(g.rowStep, c.rowStep);
}

INSTANTIATE_TEST_SUITE_P(Rooms, PreviewGeometryTest,
                         ::testing::Values(
                             // 4000 x 3000 into 400 x 400: a tenth, both steps 10
                             GeometryCase{4000, 3000, 3, 400, 0.1, 400, 300, 10, 30, 10},
                             // into the 230 x 230 canvas: Round(17.39) columns, Round(17.44) rows
                             GeometryCase{4000, 3000, 3, 230, 0.0575, 230, 172, 17, 51, 17},
                             GeometryCase{4000, 3000, 6, 230, 0.0575, 230, 172, 17, 102, 17},
                             // never enlarged
                             GeometryCase{100, 50, 6, 230, 1.0, 100, 50, 1, 6, 1}));

// Each pixel tells where it came from: red the column, green the row.
TiffSpec Located(std::uint32_t width, std::uint32_t height, int bits, bool little) {
    TiffSpec s = SpecOf(width, height, bits, little);
    const std::uint16_t unit = bits == 8 ? 1 : 257;  // 16-bit samples come back / 257
    s.pixel = [unit](std::uint32_t x, std::uint32_t y) {
        return Rgb{static_cast<std::uint16_t>(x % 256 * unit), static_cast<std::uint16_t>(y * unit),
                   static_cast<std::uint16_t>(7 * unit)};
    };
    return s;
}

std::shared_ptr<Picture> Preview(const TempFolder& dir, const TiffSpec& image, std::int64_t room) {
    const std::string path = dir / "image.tif";
    WriteFile(path, BuildTiff(image).bytes);
    const auto tiff = OpenedTiff(path);
    return tiff ? tiff->MakeScaledPictureDisk(room, room) : nullptr;
}

// Which pixels a preview picks: every column step from column 0, and every
// row step from the first row, which is one step less one for 8-bit images
// (their rows count from 1) and row 0 for 16-bit ones. A step that rounds up
// leaves the picture's last columns and rows as a new picture has them; one
// that rounds down picks more than fit, and nothing lands outside.
struct PickCase {
    std::uint32_t width, height;
    int bits;
    bool little;
    std::int64_t room, pictureWidth, pictureHeight;
    std::uint32_t columnStep, rowStep, firstRow, reachedWidth, reachedHeight;
};

class ScaledPicturePicks : public ::testing::TestWithParam<PickCase> {};

TEST_P(ScaledPicturePicks, TheStepsPixels) {
    const PickCase& c = GetParam();
    TempFolder dir;
    const auto picture = Preview(dir, Located(c.width, c.height, c.bits, c.little), c.room);
    ASSERT_TRUE(picture);
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

// 40 x 30 into 4 x 4 is the 4000 x 3000 example at a hundredth; 1000 columns
// into 625 round 1.6 up to 2, into 800 round 1.25 down to 1.
INSTANTIATE_TEST_SUITE_P(
    Rooms, ScaledPicturePicks,
    ::testing::Values(PickCase{40, 30, 8, true, 4, 4, 3, 10, 10, 9, 4, 3},
                      PickCase{40, 30, 16, true, 4, 4, 3, 10, 10, 0, 4, 3},
                      PickCase{40, 30, 16, false, 4, 4, 3, 10, 10, 0, 4, 3},
                      PickCase{1000, 16, 8, true, 625, 625, 10, 2, 2, 1, 500, 8},
                      PickCase{1000, 8, 16, false, 800, 800, 6, 1, 1, 0, 800, 6}));

class ScaledPictureSixteenBit : public ::testing::TestWithParam<bool> {};

// Truncation, not rounding: 65535 gives 255, 65534 254, 257 1 and 256 0.
TEST_P(ScaledPictureSixteenBit, DividesBy257AndTruncates) {
    TempFolder dir;
    TiffSpec s = SpecOf(4, 1, 16, GetParam());
    s.pixel = [](std::uint32_t x, std::uint32_t) {
        const std::uint16_t v[] = {65535, 65534, 257, 256};
        return Rgb{v[x], v[3 - x], v[x]};
    };
    const auto picture = Preview(dir, s, 230);
    ASSERT_TRUE(picture);
    const std::uint32_t expected[] = {255, 254, 1, 0};
    for (std::uint32_t x = 0; x < 4; ++x)
        EXPECT_EQ(picture->Pixel(x, 0), RGB(expected[x], expected[3 - x], expected[x], 0));
}

INSTANTIATE_TEST_SUITE_P(ByteOrders, ScaledPictureSixteenBit, ::testing::Bool());

// Chosen rows or not, the stream ends behind the last row of the image.
TEST(ScaledPicture, StreamEndsBehindTheLastRow) {
    struct Case {
        std::uint32_t width, height;
        int bits;
        std::int64_t room;  // 230: every row; 10: every few rows
    };
    for (const Case c : {Case{3, 5, 8, 230}, Case{40, 30, 8, 10}, Case{40, 31, 16, 10}}) {
        SCOPED_TRACE(std::to_string(c.height) + " rows in " + std::to_string(c.room));
        TempFolder dir;
        TiffSpec image = Located(c.width, c.height, c.bits, false);
        image.trailer = "after the rows";
        const BuiltTiff built = BuildTiff(image);
        WriteFile(dir / "image.tif", built.bytes);
        const auto tiff = OpenedTiff(dir / "image.tif");
        ASSERT_TRUE(tiff);
        tiff->MakeScaledPictureDisk(c.room, c.room);
        EXPECT_EQ(tiff->imagefile->Position(),
                  static_cast<std::int64_t>(built.imageOffset + c.height * built.bytesPerRow));
    }
}
}  // namespace

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
                             // a step that rounds up: 1.6 becomes 2
                             GeometryCase{1000, 16, 3, 625, 0.625, 625, 10, 2, 6, 2},
                             // a step that rounds down: 1.25 becomes 1
                             GeometryCase{1000, 8, 3, 800, 0.8, 800, 6, 1, 3, 1},
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

struct PickCase {
    int bits;
    bool little;
    std::uint32_t firstRow;  // the first image row shown
};

class ScaledPictureRows : public ::testing::TestWithParam<PickCase> {};

// 40 x 30 into 4 x 4 is the 4000 x 3000 example at a hundredth: a picture of
// 4 x 3, columns 0, 10, 20, 30. 8-bit rows count from 1, so they start at row
// 9; 16-bit rows at row 0.
TEST_P(ScaledPictureRows, PicksEveryTenthPixel) {
    const PickCase& c = GetParam();
    TempFolder dir;
    const auto picture = Preview(dir, Located(40, 30, c.bits, c.little), 4);
    ASSERT_TRUE(picture);
    ASSERT_EQ(picture->Width(), 4);
    ASSERT_EQ(picture->Height(), 3);
    for (std::uint32_t py = 0; py < 3; ++py)
        for (std::uint32_t px = 0; px < 4; ++px)
            EXPECT_EQ(picture->Pixel(px, py), RGB(10 * px, c.firstRow + 10 * py, 7, 0))
                << px << "," << py;
}

INSTANTIATE_TEST_SUITE_P(Depths, ScaledPictureRows,
                         ::testing::Values(PickCase{8, true, 9}, PickCase{16, true, 0},
                                           PickCase{16, false, 0}));

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

// 1000 columns into 625: every second column, 500 of them; the last 125
// columns and the rows past the chosen ones stay as a new picture has them.
TEST(ScaledPicture, StepRoundedUpLeavesTheRestBlack) {
    TempFolder dir;
    const auto picture = Preview(dir, Located(1000, 16, 8, true), 625);
    ASSERT_TRUE(picture);
    ASSERT_EQ(picture->Width(), 625);
    ASSERT_EQ(picture->Height(), 10);
    for (std::int64_t y = 0; y < 10; ++y)
        for (std::int64_t x = 0; x < 625; ++x) {
            const bool reached = x < 500 && y < 8;  // 8-bit rows 1, 3, ..., 15
            const std::uint32_t expected = reached
                                               ? RGB(static_cast<std::uint32_t>(2 * x % 256),
                                                     static_cast<std::uint32_t>(2 * y + 1), 7, 0)
                                               : RGB(0, 0, 0, 0);
            ASSERT_EQ(picture->Pixel(x, y), expected) << x << "," << y;
        }
}

// 1000 columns into 800: the step rounds down to 1 and 1000 columns are
// chosen; the picture holds the first 800 and nothing lands outside it.
TEST(ScaledPicture, StepRoundedDownKeepsInsideThePicture) {
    TempFolder dir;
    const auto picture = Preview(dir, Located(1000, 8, 16, false), 800);
    ASSERT_TRUE(picture);
    ASSERT_EQ(picture->Width(), 800);
    ASSERT_EQ(picture->Height(), 6);
    for (std::int64_t y = 0; y < 6; ++y)
        for (std::int64_t x = 0; x < 800; ++x)
            ASSERT_EQ(picture->Pixel(x, y), RGB(static_cast<std::uint32_t>(x % 256),
                                                static_cast<std::uint32_t>(y), 7, 0));
}

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

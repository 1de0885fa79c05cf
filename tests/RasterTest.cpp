#include <gtest/gtest.h>

#include <cstring>

#include "Exceptions.h"
#include "TiffFile.h"
#include "support/LibtiffFiles.h"
#include "support/TempFolder.h"

namespace {
std::unique_ptr<TiffFile> Opened(const std::filesystem::path& path) {
    auto tiff = std::make_unique<TiffFile>();
    tiff->fi = std::make_shared<FolderItem>(path);
    EXPECT_FALSE(tiff->OpenTIFF()) << tiff->errstr;
    return tiff;
}

struct ReadCase {
    const char* name;
    std::uint16_t bits;
    bool bigEndian;
};

class ReadImageTest : public ::testing::TestWithParam<ReadCase> {};

// 8-bit rows are never swapped; 16-bit rows of either order end in the host's.
TEST_P(ReadImageTest, EveryRowArrivesInHostOrder) {
    const auto [name, bits, bigEndian] = GetParam();
    TempFolder folder;
    LibtiffImage image = PatternImage(5, 4, bits);
    image.bigEndian = bigEndian;
    WriteWithLibtiff(folder / "in.tif", image);
    const auto tiff = Opened(folder / "in.tif");

    tiff->ReadImage();
    tiff->ReadImage();  // a second load replaces the first and starts again at the pixels
    EXPECT_EQ(BlockBytes(*tiff->imageBuffer), image.pixels);  // the last row too
    EXPECT_FALSE(tiff->imagefile->IsOpen());
}

INSTANTIATE_TEST_SUITE_P(Depths, ReadImageTest,
                         ::testing::Values(ReadCase{"EightBitLittle", 8, false},
                                           ReadCase{"EightBitBig", 8, true},
                                           ReadCase{"SixteenBitLittle", 16, false},
                                           ReadCase{"SixteenBitBig", 16, true}),
                         [](const auto& info) { return std::string(info.param.name); });

TEST(ReadImage, RefusesRowsPastTheEndOfTheFile) {
    TempFolder folder;
    WriteWithLibtiff(folder / "in.tif", PatternImage(5, 4, 16));
    const auto tiff = Opened(folder / "in.tif");
    std::filesystem::resize_file(folder / "in.tif", tiff->ImageOffset + 10);
    EXPECT_THROW(tiff->ReadImage(), IOException);
}

TEST(ReadProfile, LoadsOnlyAProfileInsideTheFile) {
    TempFolder folder;
    LibtiffImage image = PatternImage(3, 2, 8);
    WriteWithLibtiff(folder / "none.tif", image);
    image.profile = PatternBytes(7, 3);
    WriteWithLibtiff(folder / "odd.tif", image);

    EXPECT_FALSE(Opened(folder / "none.tif")->ReadProfile());
    const auto withProfile = Opened(folder / "odd.tif");
    withProfile->ProfileOffset += 100000;
    EXPECT_FALSE(withProfile->ReadProfile());
    EXPECT_FALSE(withProfile->profileBuffer);
    withProfile->ProfileOffset -= 100000;
    ASSERT_TRUE(withProfile->ReadProfile());
    EXPECT_EQ(BlockBytes(*withProfile->profileBuffer), image.profile);
}

struct PixelCase {
    const char* name;
    std::uint16_t bits;
    bool bigEndian;
    std::int64_t interpretation;
    std::size_t pixel;                     // which of the 3 x 2 pixels holds the samples
    std::array<std::uint16_t, 3> samples;  // in the host's order
    std::int64_t x, y;
    std::array<double, 3> expected;
};

class GetTIFFPixelTest : public ::testing::TestWithParam<PixelCase> {};

TEST_P(GetTIFFPixelTest, ReadsScalesAndClamps) {
    const PixelCase c = GetParam();
    TempFolder folder;
    LibtiffImage image = PatternImage(3, 2, c.bits);
    for (std::size_t k = 0, width = c.bits / 8; k < 3; ++k)
        std::memcpy(&image.pixels[(c.pixel * 3 + k) * width], &c.samples[k],
                    width);  // low byte first
    image.bigEndian = c.bigEndian;
    WriteWithLibtiff(folder / "in.tif", image);
    const auto tiff = Opened(folder / "in.tif");
    tiff->Interpretation = c.interpretation;

    std::array<double, 3> got{};
    tiff->GetTIFFPixel(c.x, c.y, got[0], got[1], got[2]);
    for (int k = 0; k < 3; ++k) EXPECT_DOUBLE_EQ(got[k], c.expected[k]) << "channel " << k;
}

// Past the edges the last column and row are read; Lab levels are scaled and
// their a and b read as signed.
INSTANTIATE_TEST_SUITE_P(
    Pixels, GetTIFFPixelTest,
    ::testing::Values(
        PixelCase{"Rgb8PastBoth", 8, false, 2, 5, {10, 200, 255}, 99, 99, {10, 200, 255}},
        PixelCase{"Lab8AtTheEdge", 8, true, 8, 5, {255, 127, 128}, 3, 2, {100, 127, -128}},
        PixelCase{"Rgb16Big", 16, true, 2, 1, {1, 0x1234, 65535}, 1, 0, {1, 0x1234, 65535}},
        PixelCase{"Lab16PastX", 16, false, 8, 5, {65535, 256, 0xFF00}, 5, 1, {100, 1, -1}},
        PixelCase{"Lab16Big", 16, true, 8, 3, {0, 0x8000, 0x7FFF}, 0, 1, {0, -128, 127.99609375}}),
    [](const auto& info) { return std::string(info.param.name); });
}  // namespace

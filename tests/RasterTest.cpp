#include <gtest/gtest.h>

#include <algorithm>
#include <bit>

#include "Exceptions.h"
#include "TiffFile.h"
#include "support/RasterFixtures.h"

namespace {
std::shared_ptr<TiffFile> Opened(const std::filesystem::path& path, Progress* bar = nullptr) {
    TiffServices services;
    if (bar) services.equalizeProgress = bar;
    auto tiff = std::make_shared<TiffFile>(services);
    tiff->fi = std::make_shared<FolderItem>(path);
    if (tiff->OpenTIFF()) throw std::runtime_error(tiff->errstr);
    return tiff;
}

std::uint16_t GreenAt(const std::vector<std::uint8_t>& pixels, std::size_t pixel, int bits) {
    if (bits == 8) return pixels[pixel * 3 + 1];
    std::uint16_t sample;
    std::memcpy(&sample, pixels.data() + pixel * 6 + 2, 2);
    return sample;
}

struct ReadCase {
    const char* name;
    std::uint16_t bits;
    bool bigEndian;
};

class ReadImageTest : public ::testing::TestWithParam<ReadCase> {};

TEST_P(ReadImageTest, EveryRowArrivesInHostOrder) {
    const ReadCase c = GetParam();
    ScratchFolder folder;
    const LibtiffImage image = PatternImage(5, 4, c.bits);
    WriteWithLibtiff(folder / "in.tif", image, c.bigEndian);
    RecordedProgress bar;
    const auto tiff = Opened(folder / "in.tif", &bar);

    tiff->ReadImage();
    tiff->ReadImage();  // a second load replaces the first and starts again at the pixels
    const MemoryBlock& buffer = *tiff->imageBuffer;
    const std::vector<std::uint8_t> got(buffer.Data(), buffer.Data() + buffer.Size());
    EXPECT_EQ(got, image.pixels);
    const std::size_t lastRow = got.size() - 5 * 3 * (c.bits / 8);
    EXPECT_TRUE(std::equal(got.begin() + lastRow, got.end(), image.pixels.begin() + lastRow));
    EXPECT_EQ(bar.values, (std::vector<double>{1, 2, 3, 4, 1, 2, 3, 4}));
    ASSERT_TRUE(tiff->imagefile);
    EXPECT_FALSE(tiff->imagefile->IsOpen());

    // The buffer tells the scan its byte order.
    std::uint16_t max = 0, min = 65535;
    for (std::size_t p = 0; p < 20; ++p) {
        max = std::max(max, GreenAt(image.pixels, p, c.bits));
        min = std::min(min, GreenAt(image.pixels, p, c.bits));
    }
    tiff->FindMaxLuminance();
    EXPECT_EQ(tiff->MaxLuminance, max);
    EXPECT_EQ(tiff->MinLuminance, min);
}

INSTANTIATE_TEST_SUITE_P(Depths, ReadImageTest,
                         ::testing::Values(ReadCase{"EightBitLittle", 8, false},
                                           ReadCase{"EightBitBig", 8, true},
                                           ReadCase{"SixteenBitLittle", 16, false},
                                           ReadCase{"SixteenBitBig", 16, true}),
                         [](const auto& info) { return std::string(info.param.name); });

TEST(ReadImage, RefusesRowsPastTheEndOfTheFile) {
    ScratchFolder folder;
    WriteWithLibtiff(folder / "in.tif", PatternImage(5, 4, 16));
    const auto tiff = Opened(folder / "in.tif");
    std::filesystem::resize_file(folder / "in.tif", tiff->ImageOffset + 10);  // cut inside the rows
    EXPECT_THROW(tiff->ReadImage(), IOException);
}

struct ProfileCase {
    const char* name;
    std::vector<std::uint8_t> profile;
    std::int64_t offsetShift;  // moves the recorded offset, to point past the end
    bool loaded;
};

class ReadProfileTest : public ::testing::TestWithParam<ProfileCase> {};

TEST_P(ReadProfileTest, LoadsOnlyAProfileInsideTheFile) {
    const ProfileCase c = GetParam();
    ScratchFolder folder;
    LibtiffImage image = PatternImage(3, 2, 8);
    image.profile = c.profile;
    WriteWithLibtiff(folder / "in.tif", image);
    const auto tiff = Opened(folder / "in.tif");
    tiff->ProfileOffset += c.offsetShift;

    EXPECT_EQ(tiff->ReadProfile(), c.loaded);
    if (c.loaded) {
        const MemoryBlock& got = *tiff->profileBuffer;
        EXPECT_EQ(std::vector<std::uint8_t>(got.Data(), got.Data() + got.Size()), c.profile);
    } else {
        EXPECT_FALSE(tiff->profileBuffer);
    }
}

INSTANTIATE_TEST_SUITE_P(Profiles, ReadProfileTest,
                         ::testing::Values(ProfileCase{"OddLength", PatternBytes(7, 3), 0, true},
                                           ProfileCase{"None", {}, 0, false},
                                           ProfileCase{"PastTheEnd", PatternBytes(7, 3), 100000,
                                                       false}),
                         [](const auto& info) { return std::string(info.param.name); });

struct PixelCase {
    const char* name;
    std::uint16_t bits;
    bool bigEndian;
    std::int64_t interpretation;
    std::size_t pixel;                     // which of the 3 x 2 pixels holds the samples
    std::array<std::uint16_t, 3> samples;  // as stored, in the host's order
    std::int64_t x, y;
    std::array<double, 3> expected;
};

class GetTIFFPixelTest : public ::testing::TestWithParam<PixelCase> {};

TEST_P(GetTIFFPixelTest, ReadsScalesAndClamps) {
    const PixelCase c = GetParam();
    ScratchFolder folder;
    LibtiffImage image = PatternImage(3, 2, c.bits);
    for (int k = 0; k < 3; ++k) {
        if (c.bits == 8)
            image.pixels[c.pixel * 3 + k] = static_cast<std::uint8_t>(c.samples[k]);
        else
            std::memcpy(image.pixels.data() + c.pixel * 6 + k * 2, &c.samples[k], 2);
    }
    WriteWithLibtiff(folder / "in.tif", image, c.bigEndian);
    const auto tiff = Opened(folder / "in.tif");
    tiff->Interpretation = c.interpretation;

    std::array<double, 3> got{};
    tiff->GetTIFFPixel(c.x, c.y, got[0], got[1], got[2]);
    for (int k = 0; k < 3; ++k) EXPECT_DOUBLE_EQ(got[k], c.expected[k]) << "channel " << k;
}

INSTANTIATE_TEST_SUITE_P(
    Pixels, GetTIFFPixelTest,
    ::testing::Values(
        PixelCase{"RgbEightBitPastBoth", 8, false, 2, 5, {10, 200, 255}, 99, 99, {10, 200, 255}},
        PixelCase{"LabEightBitAtTheEdge", 8, true, 8, 5, {255, 127, 128}, 3, 2, {100, 127, -128}},
        PixelCase{"RgbSixteenBitBig", 16, true, 2, 1, {1, 0x1234, 65535}, 1, 0, {1, 0x1234, 65535}},
        PixelCase{"LabSixteenBitPastX", 16, false, 8, 5, {65535, 256, 0xFF00}, 5, 1, {100, 1, -1}},
        PixelCase{"LabSixteenBitBig",
                  16,
                  true,
                  8,
                  3,
                  {0, 0x8000, 0x7FFF},
                  0,
                  1,
                  {0, -128, 127.99609375}}),
    [](const auto& info) { return std::string(info.param.name); });
}  // namespace

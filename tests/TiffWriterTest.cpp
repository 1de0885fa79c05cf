#include <gtest/gtest.h>

#include <optional>
#include <sstream>

#include "Exceptions.h"
#include "TiffFile.h"
#include "support/LibtiffFiles.h"
#include "support/RecordingProgress.h"
#include "support/TempFolder.h"

namespace {
std::shared_ptr<MemoryBlock> BlockOf(const std::vector<std::uint8_t>& bytes) {
    auto block = std::make_shared<MemoryBlock>(bytes.size());
    std::copy(bytes.begin(), bytes.end(), block->Data());
    return block;
}

// A raster of width x 2 pixels, ready to be written to path.
std::unique_ptr<TiffFile> Raster(const std::filesystem::path& path, std::int64_t width,
                                 std::int64_t samples, std::int64_t bits,
                                 Progress& bar = NoProgress::Instance()) {
    auto t = std::make_unique<TiffFile>(TiffServices{.equalizeProgress = &bar});
    t->fi = std::make_shared<FolderItem>(path);
    t->ImageWidth = width;
    t->ImageHeight = 2;
    t->SamplesPerPixel = samples;
    t->BitsPerSample = bits;
    t->Interpretation = 2;
    t->imageBuffer = BlockOf(PatternBytes(width * 2 * samples * bits / 8));
    return t;
}

struct WriteCase {
    const char* name;
    std::int64_t width, samples, bits, interpretation;
    std::optional<std::vector<std::uint8_t>> profile;  // nullopt: no buffer at all
    std::int64_t staleProfileLength;
    std::size_t existingBytes;  // of a longer file standing at the target before
    int entries;
    std::size_t imageOffset;
    std::size_t progressCalls;  // one a byte under 100 bytes, else one a hundredth
    double lastProgress;
    const char* errstr;
};

class WriteTIFFTest : public ::testing::TestWithParam<WriteCase> {};

TEST_P(WriteTIFFTest, LibtiffSeesWhatWasWritten) {
    const WriteCase c = GetParam();
    TempFolder folder;
    const auto path = folder / "out.tif";
    std::ofstream(path) << std::string(c.existingBytes, '\xAB');
    RecordingProgress bar;
    const auto t = Raster(path, c.width, c.samples, c.bits, bar);
    t->Interpretation = c.interpretation;
    t->ProfileLength = c.staleProfileLength;
    if (c.profile) t->profileBuffer = BlockOf(*c.profile);
    t->WriteTIFF();

    const auto pixels = BlockBytes(*t->imageBuffer);
    EXPECT_EQ(t->errstr, c.errstr);
    EXPECT_EQ(t->ImageOffset, c.imageOffset);
    EXPECT_FALSE(t->imagefile);
    EXPECT_EQ(bar.maxima, std::vector<std::int64_t>{100});
    ASSERT_EQ(bar.values.size(), c.progressCalls);
    EXPECT_DOUBLE_EQ(bar.values.back(), c.lastProgress);
    const auto bytes = FileBytes(path);
    ASSERT_EQ(bytes.size(), c.imageOffset + pixels.size());
    EXPECT_EQ(bytes[8] | bytes[9] << 8, c.entries);
    EXPECT_TRUE(std::equal(pixels.begin(), pixels.end(), bytes.begin() + c.imageOffset));

    const LibtiffImage back = ReadWithLibtiff(path);
    EXPECT_EQ(back.width, c.width);
    EXPECT_EQ(back.height, 2u);
    EXPECT_EQ(back.samples, c.samples);
    EXPECT_EQ(back.bits, c.bits);
    EXPECT_EQ(back.photometric, c.interpretation);
    EXPECT_EQ(back.pixels, pixels);  // a little-endian host reads the samples unchanged
    EXPECT_EQ(back.profile, c.profile.value_or(std::vector<std::uint8_t>{}));
}

INSTANTIATE_TEST_SUITE_P(
    Layouts, WriteTIFFTest,
    ::testing::Values(WriteCase{"EightBitNoProfile", 3, 3, 8, 2, std::nullopt, 0, 0, 11, 152, 18,
                                1700.0 / 18, ""},
                      WriteCase{"OddProfileOverLongerFile", 100, 3, 16, 2, PatternBytes(5, 9), 0,
                                100000, 12, 169, 100, 99, ""},
                      WriteCase{"EmptyProfileBuffer", 175, 3, 8, 8, std::vector<std::uint8_t>{}, 40,
                                0, 11, 152, 105, 104000.0 / 1050, ""},
                      WriteCase{"NilProfileStaleLength", 3, 3, 16, 2, std::nullopt, 99, 0, 11, 152,
                                36, 3500.0 / 36, ""},
                      WriteCase{"OneSampleInline", 3, 1, 8, 2, std::nullopt, 0, 0, 11, 146, 6,
                                500.0 / 6, ""},
                      WriteCase{"NeitherRgbNorLab", 25, 3, 8, 5, std::nullopt, 0, 0, 11, 152, 150,
                                14900.0 / 150, "The file must contain RGB or CIE Lab data."}),
    [](const auto& info) { return std::string(info.param.name); });

TEST(WriteTIFF, ThreeEightBitSamplesGiveTheTabledHeader) {
    TempFolder folder;
    Raster(folder / "out.tif", 1, 3, 8)->WriteTIFF();
    // Assembled by hand: header, the 11 entries in order, no next directory,
    // BitsPerSample at 146 (0x92), pixels at 152 (0x98).
    std::istringstream hex(
        "49 49 2a 00 08 00 00 00 0b 00"
        " fe 00 04 00 01 00 00 00 00 00 00 00  00 01 04 00 01 00 00 00 01 00 00 00"
        " 01 01 04 00 01 00 00 00 02 00 00 00  02 01 03 00 03 00 00 00 92 00 00 00"
        " 03 01 03 00 01 00 00 00 01 00 00 00  06 01 03 00 01 00 00 00 02 00 00 00"
        " 11 01 04 00 01 00 00 00 98 00 00 00  15 01 03 00 01 00 00 00 03 00 00 00"
        " 16 01 04 00 01 00 00 00 02 00 00 00  17 01 04 00 01 00 00 00 06 00 00 00"
        " 1c 01 03 00 01 00 00 00 01 00 00 00  00 00 00 00  08 00 08 00 08 00");
    std::vector<std::uint8_t> header;
    for (unsigned byte; hex >> std::hex >> byte;) header.push_back(static_cast<std::uint8_t>(byte));
    const auto bytes = FileBytes(folder / "out.tif");
    ASSERT_EQ(bytes.size(), 158u);
    EXPECT_EQ(std::vector<std::uint8_t>(bytes.begin(), bytes.begin() + 152), header);
}

TEST(WriteTIFF, AShortBufferIsRefusedBeforeTheTargetIsTouched) {
    TempFolder folder;
    std::ofstream(folder / "out.tif") << "keep";
    const auto t = Raster(folder / "out.tif", 3, 3, 8);
    t->ImageWidth = 4;
    EXPECT_THROW(t->WriteTIFF(), OutOfBoundsException);
    EXPECT_EQ(FileBytes(folder / "out.tif"), (std::vector<std::uint8_t>{'k', 'e', 'e', 'p'}));
}
}  // namespace

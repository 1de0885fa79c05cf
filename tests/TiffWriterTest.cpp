#include <gtest/gtest.h>

#include <optional>

#include "Exceptions.h"
#include "TiffFile.h"
#include "support/RasterFixtures.h"

namespace {
std::shared_ptr<MemoryBlock> BlockOf(const std::vector<std::uint8_t>& bytes) {
    auto block = std::make_shared<MemoryBlock>(bytes.size());
    std::copy(bytes.begin(), bytes.end(), block->Data());
    return block;
}

// A raster of width x height ready to be written to path.
TiffFile Raster(const std::filesystem::path& path, std::int64_t width, std::int64_t height,
                std::int64_t samples, std::int64_t bits, Progress* bar = nullptr) {
    TiffServices services;
    if (bar) services.equalizeProgress = bar;
    TiffFile t(services);
    t.fi = std::make_shared<FolderItem>(path);
    t.ImageWidth = width;
    t.ImageHeight = height;
    t.SamplesPerPixel = samples;
    t.BitsPerSample = bits;
    t.Interpretation = 2;
    t.imageBuffer = BlockOf(PatternBytes(width * height * samples * bits / 8));
    return t;
}

struct WriteCase {
    const char* name;
    std::int64_t samples, bits, interpretation;
    std::optional<std::vector<std::uint8_t>> profile;  // nullopt: no buffer at all
    std::int64_t staleProfileLength;
    std::uintmax_t existingBytes;  // a longer file standing at the target before
    std::uint16_t entries;
    std::int64_t imageOffset;
    const char* errstr;
};

class WriteTIFFTest : public ::testing::TestWithParam<WriteCase> {};

TEST_P(WriteTIFFTest, LibtiffAndOurReaderSeeWhatWasWritten) {
    const WriteCase c = GetParam();
    ScratchFolder folder;
    const auto path = folder / "out.tif";
    if (c.existingBytes) std::ofstream(path) << std::string(c.existingBytes, '\xAB');
    TiffFile t = Raster(path, 3, 2, c.samples, c.bits);
    t.Interpretation = c.interpretation;
    t.ProfileLength = c.staleProfileLength;
    if (c.profile) t.profileBuffer = BlockOf(*c.profile);
    t.WriteTIFF();

    const std::vector<std::uint8_t> pixels(t.imageBuffer->Data(),
                                           t.imageBuffer->Data() + t.imageBuffer->Size());
    EXPECT_EQ(t.errstr, c.errstr);
    EXPECT_EQ(t.ImageOffset, c.imageOffset);
    EXPECT_FALSE(t.imagefile);
    const auto bytes = FileBytes(path);
    ASSERT_EQ(bytes.size(), c.imageOffset + pixels.size());
    EXPECT_EQ(bytes[8] | bytes[9] << 8, c.entries);
    EXPECT_TRUE(std::equal(pixels.begin(), pixels.end(), bytes.begin() + c.imageOffset));

    const LibtiffImage back = ReadWithLibtiff(path);
    EXPECT_EQ(back.width, 3u);
    EXPECT_EQ(back.height, 2u);
    EXPECT_EQ(back.samples, c.samples);
    EXPECT_EQ(back.bits, c.bits);
    EXPECT_EQ(back.photometric, c.interpretation);
    EXPECT_EQ(back.pixels, pixels);  // a little-endian host reads the samples unchanged
    EXPECT_EQ(back.profile, c.profile.value_or(std::vector<std::uint8_t>{}));

    // Our reader takes RGB only, and BitsPerSample always from an array.
    if (c.samples != 3 || c.interpretation != 2) return;
    TiffFile ours;
    ours.fi = t.fi;
    ASSERT_FALSE(ours.OpenTIFF());
    ours.ReadImage();
    EXPECT_EQ(ours.ImageOffset, c.imageOffset);
    EXPECT_EQ(ours.BitsPerSample, c.bits);
    EXPECT_EQ(std::vector<std::uint8_t>(ours.imageBuffer->Data(),
                                        ours.imageBuffer->Data() + ours.imageBuffer->Size()),
              pixels);
    EXPECT_EQ(ours.ReadProfile(), c.profile && !c.profile->empty());
}

INSTANTIATE_TEST_SUITE_P(
    Layouts, WriteTIFFTest,
    ::testing::Values(
        WriteCase{"EightBitNoProfile", 3, 8, 2, std::nullopt, 0, 0, 11, 152, ""},
        WriteCase{"OddProfileOverLongerFile", 3, 16, 2, PatternBytes(5, 9), 0, 100000, 12, 169, ""},
        WriteCase{"EmptyProfileBuffer", 3, 8, 8, std::vector<std::uint8_t>{}, 40, 0, 11, 152, ""},
        WriteCase{"NilProfileStaleLength", 3, 16, 2, std::nullopt, 99, 0, 11, 152, ""},
        WriteCase{"OneSampleInline", 1, 8, 2, std::nullopt, 0, 0, 11, 146, ""},
        WriteCase{"NeitherRgbNorLab", 3, 8, 5, std::nullopt, 0, 0, 11, 152,
                  "The file must contain RGB or CIE Lab data."}),
    [](const auto& info) { return std::string(info.param.name); });

TEST(WriteTIFF, ThreeEightBitSamplesGiveTheTabledHeader) {
    ScratchFolder folder;
    TiffFile t = Raster(folder / "out.tif", 2, 1, 3, 8);
    t.WriteTIFF();
    // Hand-assembled: header, 11 entries in order, next-IFD 0, BitsPerSample at 146.
    const std::vector<std::uint8_t> header = {
        0x49, 0x49, 42, 0, 8, 0, 0, 0, 11,  0,        //
        0xFE, 0x00, 4,  0, 1, 0, 0, 0, 0,   0, 0, 0,  // NewSubfileType
        0x00, 0x01, 4,  0, 1, 0, 0, 0, 2,   0, 0, 0,  // ImageWidth
        0x01, 0x01, 4,  0, 1, 0, 0, 0, 1,   0, 0, 0,  // ImageLength
        0x02, 0x01, 3,  0, 3, 0, 0, 0, 146, 0, 0, 0,  // BitsPerSample
        0x03, 0x01, 3,  0, 1, 0, 0, 0, 1,   0, 0, 0,  // Compression
        0x06, 0x01, 3,  0, 1, 0, 0, 0, 2,   0, 0, 0,  // PhotometricInterpretation
        0x11, 0x01, 4,  0, 1, 0, 0, 0, 152, 0, 0, 0,  // StripOffsets
        0x15, 0x01, 3,  0, 1, 0, 0, 0, 3,   0, 0, 0,  // SamplesPerPixel
        0x16, 0x01, 4,  0, 1, 0, 0, 0, 1,   0, 0, 0,  // RowsPerStrip
        0x17, 0x01, 4,  0, 1, 0, 0, 0, 6,   0, 0, 0,  // StripByteCounts
        0x1C, 0x01, 3,  0, 1, 0, 0, 0, 1,   0, 0, 0,  // PlanarConfiguration
        0,    0,    0,  0,                            // no next directory
        8,    0,    8,  0, 8, 0};
    const auto bytes = FileBytes(folder / "out.tif");
    ASSERT_EQ(bytes.size(), 158u);
    EXPECT_EQ(std::vector<std::uint8_t>(bytes.begin(), bytes.begin() + 152), header);
}

struct ProgressCase {
    const char* name;
    std::int64_t width;  // of one 8-bit RGB row
    std::size_t calls;
    double last;
};

class WriteProgressTest : public ::testing::TestWithParam<ProgressCase> {};

TEST_P(WriteProgressTest, ReportsByHundredths) {
    const ProgressCase c = GetParam();
    ScratchFolder folder;
    RecordedProgress bar;
    TiffFile t = Raster(folder / "out.tif", c.width, 1, 3, 8, &bar);
    t.WriteTIFF();
    EXPECT_EQ(bar.maxima, std::vector<std::int64_t>{100});
    ASSERT_EQ(bar.values.size(), c.calls);
    EXPECT_EQ(bar.values.front(), 0.0);
    EXPECT_DOUBLE_EQ(bar.values.back(), c.last);
    EXPECT_EQ(bar.refreshes, static_cast<int>(c.calls));
}

// 6 bytes: step 0, every byte. 150: step 1. 600: step 6. 1050: step 10, 105 calls.
INSTANTIATE_TEST_SUITE_P(Totals, WriteProgressTest,
                         ::testing::Values(ProgressCase{"StepZero", 2, 6, 500.0 / 6},
                                           ProgressCase{"StepOne", 50, 150, 14900.0 / 150},
                                           ProgressCase{"StepSix", 200, 100, 99.0},
                                           ProgressCase{"StepTen", 350, 105, 104000.0 / 1050}),
                         [](const auto& info) { return std::string(info.param.name); });

TEST(WriteTIFF, AShortBufferIsRefusedBeforeTheTargetIsTouched) {
    ScratchFolder folder;
    std::ofstream(folder / "out.tif") << "keep";
    TiffFile t = Raster(folder / "out.tif", 3, 2, 3, 8);
    t.ImageWidth = 4;
    EXPECT_THROW(t.WriteTIFF(), OutOfBoundsException);
    EXPECT_EQ(FileBytes(folder / "out.tif"), (std::vector<std::uint8_t>{'k', 'e', 'e', 'p'}));
}
}  // namespace

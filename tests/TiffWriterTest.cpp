#include <gtest/gtest.h>

#include <optional>

#include "Exceptions.h"
#include "TiffFile.h"
#include "support/LibtiffFiles.h"
#include "support/TempFolder.h"

namespace {
std::shared_ptr<MemoryBlock> BlockOf(const std::vector<std::uint8_t>& bytes) {
    auto block = std::make_shared<MemoryBlock>(bytes.size());
    std::copy(bytes.begin(), bytes.end(), block->Data());
    return block;
}

// A raster of width x 2 pixels, ready to be written to path.
std::unique_ptr<TiffFile> Raster(const std::filesystem::path& path, std::int64_t width,
                                 std::int64_t samples, std::int64_t bits) {
    auto t = std::make_unique<TiffFile>();
    t->fi = std::make_shared<FolderItem>(path);
    t->ImageWidth = width;
    t->ImageHeight = 2;
    t->SamplesPerPixel = samples;
    t->BitsPerSample = bits;
    t->Interpretation = 2;
    t->imageBuffer = BlockOf(PatternBytes(width * 2 * samples * bits / 8));
    return t;
}

// What libtiff reads back is what was meant: sizes, depth, interpretation,
// pixels and profile.
struct WriteCase {
    const char* name;
    std::int64_t width, samples, bits, interpretation;
    std::optional<std::vector<std::uint8_t>> profile;  // nullopt: no buffer at all
    std::int64_t staleProfileLength;
    std::size_t existingBytes;  // of a longer file standing at the target before
    const char* errstr;
};

class WriteTIFFTest : public ::testing::TestWithParam<WriteCase> {};

TEST_P(WriteTIFFTest, LibtiffSeesWhatWasWritten) {
    const WriteCase c = GetParam();
    TempFolder folder;
    const auto path = folder / "out.tif";
    std::ofstream(path) << std::string(c.existingBytes, '\xAB');
    const auto t = Raster(path, c.width, c.samples, c.bits);
    t->Interpretation = c.interpretation;
    t->ProfileLength = c.staleProfileLength;
    if (c.profile) t->profileBuffer = BlockOf(*c.profile);
    t->WriteTIFF();

    const auto pixels = BlockBytes(*t->imageBuffer);
    EXPECT_EQ(t->errstr, c.errstr);
    EXPECT_EQ(FileBytes(path).size(), t->ImageOffset + pixels.size());
    const LibtiffImage back = ReadWithLibtiff(path);
    EXPECT_EQ(back.width, c.width);
    EXPECT_EQ(back.samples, c.samples);
    EXPECT_EQ(back.bits, c.bits);
    EXPECT_EQ(back.photometric, c.interpretation);
    EXPECT_EQ(back.pixels, pixels);  // a little-endian host reads the samples unchanged
    EXPECT_EQ(back.profile, c.profile.value_or(std::vector<std::uint8_t>{}));
}

// Under 100 bytes of pixels the bar moves at every byte, else at every hundredth;
// an interpretation other than RGB or Lab is written with the refusal words.
INSTANTIATE_TEST_SUITE_P(
    Layouts, WriteTIFFTest,
    ::testing::Values(
        WriteCase{"EightBitNoProfile", 3, 3, 8, 2, std::nullopt, 0, 0, ""},
        WriteCase{"OddProfileOverLongerFile", 100, 3, 16, 2, PatternBytes(5, 9), 0, 100000, ""},
        WriteCase{"EmptyProfileBuffer", 175, 3, 8, 8, std::vector<std::uint8_t>{}, 40, 0, ""},
        WriteCase{"NilProfileStaleLength", 3, 3, 16, 2, std::nullopt, 99, 0, ""},
        WriteCase{"OneSampleInline", 3, 1, 8, 2, std::nullopt, 0, 0, ""},
        WriteCase{"NeitherRgbNorLab", 25, 3, 8, 5, std::nullopt, 0, 0,
                  "The file must contain RGB or CIE Lab data."}),
    [](const auto& info) { return std::string(info.param.name); });

TEST(WriteTIFF, AShortBufferIsRefusedBeforeTheTargetIsTouched) {
    TempFolder folder;
    std::ofstream(folder / "out.tif") << "keep";
    const auto t = Raster(folder / "out.tif", 3, 3, 8);
    t->ImageWidth = 4;
    EXPECT_THROW(t->WriteTIFF(), OutOfBoundsException);
    EXPECT_EQ(FileBytes(folder / "out.tif"), (std::vector<std::uint8_t>{'k', 'e', 'e', 'p'}));
}
}  // namespace

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
// pixels and profile, over a longer file or none. Under 100 bytes of pixels
// the bar moves at every byte, else at every hundredth; an interpretation
// other than RGB or Lab is written with the refusal words.
TEST(WriteTIFF, LibtiffSeesWhatWasWritten) {
    using Profile = std::optional<std::vector<std::uint8_t>>;  // nullopt: no buffer at all
    const std::tuple<std::int64_t, std::int64_t, std::int64_t, std::int64_t, Profile, std::int64_t,
                     std::size_t, const char*>
        cases[] = {// width, samples, bits, interpretation, profile, its stale length,
                   // bytes of a file standing at the target, refusal
                   {3, 3, 8, 2, std::nullopt, 0, 0, ""},
                   {100, 3, 16, 2, PatternBytes(5, 9), 0, 100000, ""},
                   {175, 3, 8, 8, std::vector<std::uint8_t>{}, 40, 0, ""},
                   {3, 3, 16, 2, std::nullopt, 99, 0, ""},
                   {3, 1, 8, 2, std::nullopt, 0, 0, ""},
                   {25, 3, 8, 5, std::nullopt, 0, 0, "The file must contain RGB or CIE Lab data."}};
    TempFolder folder;
    const auto path = folder / "out.tif";
    for (const auto& [width, samples, bits, interpretation, profile, stale, existing, errstr] :
         cases) {
        std::ofstream(path) << std::string(existing, '\xAB');
        const auto t = Raster(path, width, samples, bits);
        t->Interpretation = interpretation;
        t->ProfileLength = stale;
        if (profile) t->profileBuffer = BlockOf(*profile);
        t->WriteTIFF();
        const auto pixels = BlockBytes(*t->imageBuffer);
        EXPECT_EQ(t->errstr, errstr);
        EXPECT_EQ(FileBytes(path).size(), t->ImageOffset + pixels.size());
        const LibtiffImage back = ReadWithLibtiff(path);
        EXPECT_EQ(std::tuple(back.width, back.samples, back.bits, back.photometric),
                  std::tuple(width, samples, bits, interpretation));
        // libtiff mends a short count of one plain strip, so the count is read as written.
        const std::string count =
            "StripByteCounts (279) LONG (4) 1<" + std::to_string(pixels.size());
        EXPECT_EQ(
            std::system(("tiffdump " + path.string() + " | grep -qF '" + count + ">'").c_str()), 0);
        EXPECT_EQ(back.pixels, pixels);  // a little-endian host reads the samples unchanged
        EXPECT_EQ(back.profile, profile.value_or(std::vector<std::uint8_t>{}));
    }
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

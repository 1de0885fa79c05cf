// The program's own TIFF reader and writer (TiffFile): the tags it reads and
// refuses, its rows in bands, the raster, the scans for the brightest green,
// the scaled previews, and what it writes as libtiff reads it back.
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstring>
#include <limits>
#include <optional>

#include "Exceptions.h"
#include "LibtiffFiles.h"
#include "MemoryBlock.h"
#include "RowReader.h"
#include "TempFolder.h"
#include "TiffFile.h"

using namespace testing_tiff;

namespace {
// A file as the program's own reader opens it; failed is what OpenTIFF said.
struct OpenedTiff {
    std::shared_ptr<TiffFile> tiff;
    bool failed;
};

OpenedTiff OpenTiff(const std::filesystem::path& path) {
    auto tiff = std::make_shared<TiffFile>();
    tiff->fi = std::make_shared<FolderItem>(path);
    const bool failed = tiff->OpenTIFF();
    return {tiff, failed};
}

// A file the reader must take.
std::shared_ptr<TiffFile> Opened(const std::filesystem::path& path) {
    const OpenedTiff o = OpenTiff(path);
    EXPECT_FALSE(o.failed) << o.tiff->errstr;
    return o.tiff;
}

std::vector<std::uint8_t> BlockBytes(const MemoryBlock& block) {
    return {block.Data(), block.Data() + block.Size()};
}

// Refusals: the words, a closed stream, entries before the refused one kept
// and those after it (rows per strip) unread, no sizes worked out.
TEST(TiffReader, RefusalsGiveTheWordsAndCloseTheStream) {
    const std::tuple<std::vector<Entry>, bool, const char*> cases[] = {
        {{}, true, "Not a valid TIFF file."},  // the magic number broken
        {{{262, 3, 1, 1}}, false, "The file must be RGB only."},
        {{{284, 3, 1, 2}}, false, "The data must be interleaved, not planar."},
        // the first in file order wins
        {{{284, 3, 1, 2}, {262, 3, 1, 6}}, false, "The data must be interleaved, not planar."}};
    TempFolder folder;
    for (const auto& [extra, breakMagic, words] : cases) {
        TiffSpec image = Tagged(extra, true, 8, -2);
        image.extra.push_back({278, 4, 1, 2});
        std::string bytes = BuildTiff(image).bytes;
        if (breakMagic) bytes[3] = 43;
        WriteFile(folder / "image.tif", bytes);
        const OpenedTiff o = OpenTiff(folder / "image.tif");
        EXPECT_TRUE(o.failed);
        EXPECT_EQ(o.tiff->errstr, words);
        EXPECT_FALSE(o.tiff->imagefile->IsOpen());
        EXPECT_EQ(o.tiff->ImageWidth, breakMagic ? 0 : 4) << words;
        EXPECT_EQ(o.tiff->RowsPerStrip, 0) << words;
        EXPECT_EQ(o.tiff->BytesPerPixel, 0) << words;
    }
}

// How the value field is read for each entry type, and how entries combine.
TEST(TiffReader, FieldsTakeTheRightBits) {
    const std::tuple<const char*, TiffSpec, std::int64_t TiffFile::*, std::int64_t> cases[] = {
        // A SHORT takes the first two bytes of the field; the rest is not looked at.
        {"short_le", Tagged({{256, 3, 1, 0x12340007}}), &TiffFile::ImageWidth, 7},
        {"short_be", Tagged({{256, 3, 1, 0x12340007}}, false), &TiffFile::ImageWidth, 7},
        // Any other type, even BYTE, takes all 32 bits.
        {"byte", Tagged({{256, 1, 1, 0x00010002}}), &TiffFile::ImageWidth, 0x00010002},
        {"long", Tagged({{257, 4, 1, 70000}}, false), &TiffFile::ImageHeight, 70000},
        {"later_duplicate_wins", Tagged({{256, 4, 1, 5}, {256, 4, 1, 6}}), &TiffFile::ImageWidth,
         6},
        {"profile_length_is_count", Tagged({{34675, 7, 560, 1234}}), &TiffFile::ProfileLength, 560},
        {"rows_per_strip_all", Tagged({{278, 4, 1, 4294967295u}}), &TiffFile::RowsPerStrip,
         4294967295LL},
        {"no_rows_per_strip", Tagged({}, true, 8, -2), &TiffFile::RowsPerStrip, 0},
        {"four_samples", Tagged({{277, 3, 1, 4}}, true, 16), &TiffFile::BytesPerPixel, 8},
        // Tag 258's list stands away from the entry and its last value counts;
        // a list at 4 reads 8, 0 and the entry count, 13. The walk goes on after it.
        {"bits_list_last_value", Tagged({{258, 3, 3, 4}, {278, 4, 1, 99}}),
         &TiffFile::BitsPerSample, 13},
        {"walk_resumes_after_bits_list", Tagged({{258, 3, 3, 4}, {278, 4, 1, 99}}),
         &TiffFile::RowsPerStrip, 99},
        {"bits_list_beyond_the_file", Tagged({{258, 3, 0xFFFFFFFFu, 0xFFFFFFF0u}}),
         &TiffFile::BitsPerSample, 0}};
    TempFolder folder;
    for (const auto& [name, image, field, expected] : cases) {
        WriteTiff(folder / "image.tif", image);
        EXPECT_EQ((*Opened(folder / "image.tif")).*field, expected) << name;
    }
}

// Rows handed over from bands are the rows a read into a buffer gives: across
// the seams of the bands, from an offset inside a page, for rows longer than
// a band, and past the end of the file, where a row cut short keeps the rest
// of the row before it.
TEST(RowReader, RowsFromBandsAreTheRowsRead) {
    struct Case {
        std::size_t fileBytes, first, rowBytes;
    };
    TempFolder folder;
    for (const Case c :
         {Case{(5 << 19) + 7, 140, 36000}, Case{100, 3, 9}, Case{(3 << 19) + 5, 11, 300000}}) {
        std::string bytes(c.fileBytes, '\0');
        for (std::size_t i = 0; i < bytes.size(); ++i)
            bytes[i] = static_cast<char>(i * 131 + i / 4099);
        WriteFile(folder / "rows", bytes);
        const auto stream = BinaryStream::Open(FolderItem(folder / "rows"));
        MemoryBlock read(c.rowBytes), fallback(c.rowBytes);
        RowReader byRead(*stream, c.first, c.rowBytes), banded(*stream, c.first, c.rowBytes);
        for (std::size_t row = 0; c.first + row * c.rowBytes <= c.fileBytes + c.rowBytes; ++row) {
            byRead.Read(read);
            ASSERT_EQ(std::memcmp(banded.Next(fallback), read.Data(), c.rowBytes), 0) << row;
        }
    }
}

// Written by libtiff: 8-bit rows are never swapped, 16-bit rows of either
// order end in the host's, to the last row; a second load starts again.
TEST(ReadImage, EveryRowArrivesInHostOrderInBothDepthsAndOrders) {
    TempFolder folder;
    for (const std::uint16_t bits : {8, 16})
        for (const bool bigEndian : {false, true}) {
            LibtiffImage image = PatternImage(5, 4, bits);
            image.bigEndian = bigEndian;
            WriteWithLibtiff(folder / "in.tif", image);
            const auto tiff = Opened(folder / "in.tif");
            tiff->ReadImage();
            tiff->ReadImage();
            EXPECT_EQ(BlockBytes(*tiff->imageBuffer), image.pixels) << bits << bigEndian;
            EXPECT_FALSE(tiff->imagefile->IsOpen());
        }
    const auto cut = Opened(folder / "in.tif");  // rows past the end of the file
    std::filesystem::resize_file(folder / "in.tif", cut->ImageOffset + 10);
    EXPECT_THROW(cut->ReadImage(), IOException);
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

// Past the edges the last column and row are read; Lab levels are scaled and
// their a and b read as signed.
TEST(GetTIFFPixel, ReadsScalesAndClamps) {
    struct {
        std::uint16_t bits;
        bool bigEndian;
        std::int64_t interpretation;
        std::size_t pixel;                     // which of the 3 x 2 pixels holds the samples
        std::array<std::uint16_t, 3> samples;  // in the host's order
        std::int64_t x, y;
        std::array<double, 3> expected;
    } const cases[] = {{8, false, 2, 5, {10, 200, 255}, 99, 99, {10, 200, 255}},
                       {8, true, 8, 5, {255, 127, 128}, 3, 2, {100, 127, -128}},
                       {16, true, 2, 1, {1, 0x1234, 65535}, 1, 0, {1, 0x1234, 65535}},
                       {16, false, 8, 5, {65535, 256, 0xFF00}, 5, 1, {100, 1, -1}},
                       {16, true, 8, 3, {0, 0x8000, 0x7FFF}, 0, 1, {0, -128, 127.99609375}}};
    TempFolder folder;
    for (const auto& c : cases) {
        LibtiffImage image = PatternImage(3, 2, c.bits);
        for (std::size_t k = 0, width = c.bits / 8; k < 3; ++k)  // low byte first
            std::memcpy(&image.pixels[(c.pixel * 3 + k) * width], &c.samples[k], width);
        image.bigEndian = c.bigEndian;
        WriteWithLibtiff(folder / "in.tif", image);
        const auto tiff = Opened(folder / "in.tif");
        tiff->Interpretation = c.interpretation;
        std::array<double, 3> got{};
        tiff->GetTIFFPixel(c.x, c.y, got[0], got[1], got[2]);
        EXPECT_EQ(got, c.expected) << c.bits << " bits, " << c.x << "," << c.y;
    }
}

// Display levels worked out apart from this code, by hand and in a separate script.
TEST(LabToRGB, GivesDisplayLevels) {
    const std::pair<std::array<double, 3>, std::array<std::int64_t, 3>> cases[] = {
        {{100, 0, 0}, {255, 255, 255}},
        {{0, 0, 0}, {0, 0, 0}},
        {{50, 0, 0}, {119, 119, 119}},
        {{5, 0, 0}, {25, 25, 25}},  // the linear piece of every curve
        {{60, 50, 50}, {210, 103, 64}},
        {{100, 20, -30}, {255, 244, 255}},
        {{120, 20, -30}, {255, 244, 255}},  // L past 100 stops at Y 100
        {{50, -100, 0}, {0, 150, 119}},     // negative linear red
        {{50, 100, 0}, {218, 0, 120}},      // negative linear green
        {{30, 0, 120}, {91, 71, 0}},        // negative linear blue
        {{50, 1e6, -1e6}, {0, 0, 255}},
        {{std::numeric_limits<double>::quiet_NaN(), 0, 0}, {0, 0, 0}}};
    for (const auto& [lab, rgb] : cases) {
        std::array<std::int64_t, 3> got{-1, -1, -1};
        TiffFile().LabToRGB(lab[0], lab[1], lab[2], got[0], got[1], got[2]);
        EXPECT_EQ(got, rgb) << lab[0] << " " << lab[1] << " " << lab[2];
    }
}

// The in-memory raster: pixels land by column, row and channel (their values
// are GetTIFFPixel's, which decodes them alike); a short buffer is refused.
TEST(LabIntToFloatArray, FillsByColumnRowAndChannelAndRefusesAShortBuffer) {
    TiffFile t;
    t.ImageWidth = t.ImageHeight = 2;
    t.BytesPerPixel = 3;
    t.imageBuffer = std::make_shared<MemoryBlock>(12);
    for (int k = 0; k < 12; ++k) t.imageBuffer->SetUInt8Value(k, k % 3 ? 0 : 51 * (k / 3 + 1));
    t.LabIntToFloatArray();
    EXPECT_EQ((std::array{t.img.UBound(0), t.img.UBound(1), t.img.UBound(2)}),
              (std::array<std::int64_t, 3>{1, 1, 2}));
    for (int p = 0; p < 4; ++p) EXPECT_FLOAT_EQ(t.img(p % 2, p / 2, 0), 20.0f * (p + 1)) << p;
    EXPECT_EQ(t.img(1, 1, 1), 0.0f);
    t.BytesPerPixel = 6;
    EXPECT_THROW(t.LabIntToFloatArray(), OutOfBoundsException);
}

// Brightest and darkest green, and the brightest's column and row.
using Scan = std::tuple<double, double, std::int64_t, std::int64_t>;

Scan ScanFile(const TiffSpec& image) {
    TempFolder folder;
    WriteTiff(folder / "white.tif", image);
    const auto tiff = Opened(folder / "white.tif");
    tiff->FindMaxLuminanceDisk();
    return {tiff->MaxLuminance, tiff->MinLuminance, tiff->pxmax, tiff->pymax};
}

// Images of width x 4 pixels whose red and blue are fill and whose green is
// base but at the spots. Of equal peaks the first in scan order holds the
// place. Rows of 37 pixels hold whole blocks of pixels, then a few left over;
// 256 and 255 swap their order when their bytes are turned round, and 300
// becomes 11265.
TEST(DiskScan, FindsBrightestDarkestAndWhere) {
    struct Spot {
        std::uint32_t x, y;
        std::uint16_t green;
    };
    const std::vector<Spot> wide16 = {{30, 1, 256}, {34, 2, 3}, {9, 3, 4}};
    const struct {
        int bits;
        bool little;
        std::uint32_t width;
        std::uint16_t base;
        std::vector<Spot> spots;
        std::uint16_t fill;
        Scan expected;
    } cases[] = {{8, true, 5, 10, {{4, 3, 200}, {2, 1, 6}}, 0, {200, 6, 4, 3}},
                 {16, false, 5, 300, {{4, 3, 61680}}, 0, {61680, 300, 4, 3}},
                 {16, true, 5, 0, {}, 0, {0, 0, 0, 0}},  // all black keeps the place
                 {8, true, 5, 40, {{2, 2, 90}, {3, 1, 90}}, 0, {90, 40, 3, 1}},
                 {8, true, 37, 100, {{20, 2, 250}, {36, 1, 2}}, 255, {250, 2, 20, 2}},
                 {16, true, 37, 255, wide16, 65535, {256, 3, 30, 1}},
                 {16, false, 37, 255, wide16, 65535, {256, 3, 30, 1}},
                 {16, false, 37, 30000, {{35, 3, 60000}, {17, 0, 7}}, 0, {60000, 7, 35, 3}}};
    for (const auto& c : cases) {
        TiffSpec image = SpecOf(c.width, 4, c.bits, c.little);
        image.pixel = [&c](std::uint32_t x, std::uint32_t y) {
            std::uint16_t green = c.base;
            for (const Spot& s : c.spots)
                if (s.x == x && s.y == y) green = s.green;
            return Rgb{c.fill, green, c.fill};
        };
        EXPECT_EQ(ScanFile(image), c.expected) << c.bits << (c.little ? " le " : " be ") << c.width;
    }
    EXPECT_EQ(ScanFile(SpecOf(4, 0, 8, true)), Scan(0.0, 9999999.9, 0, 0));  // no rows
}

// The in-memory twin walks the whole buffer in its byte order, green alone.
TEST(MemoryScan, FindsExtremes) {
    TiffFile tiff;
    tiff.BytesPerPixel = 6;
    tiff.PixelCount = 100;
    tiff.imageBuffer = std::make_shared<MemoryBlock>(600);
    tiff.imageBuffer->LittleEndian = false;
    for (int p = 0; p < 100; ++p)
        tiff.imageBuffer->SetUInt16Value(p * 6 + 2, static_cast<std::uint16_t>(500 + p));
    tiff.imageBuffer->SetUInt16Value(0, 65535);  // red: not looked at
    tiff.FindMaxLuminance();
    EXPECT_EQ(Scan(tiff.MaxLuminance, tiff.MinLuminance, tiff.pxmax, tiff.pymax),
              Scan(599, 500, 0, 0));
}

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
        const Decoded back = Decode(path);
        EXPECT_EQ(std::tuple(back.width, back.samples, back.bits, back.photometric),
                  std::tuple(width, samples, bits, interpretation));
        // libtiff mends a short count of one plain strip, so the count is read as written.
        const std::string count =
            "StripByteCounts (279) LONG (4) 1<" + std::to_string(pixels.size());
        Shell("tiffdump " + path.string() + " | grep -qF '" + count + ">'");
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

#include <gtest/gtest.h>

#include "Exceptions.h"
#include "TiffFile.h"
#include "support/LibtiffFiles.h"
#include "support/TempFolder.h"
#include "support/TiffBuilder.h"

using namespace testing_tiff;

namespace {

struct Opened {
    std::shared_ptr<TiffFile> tiff;
    bool failed;
};

Opened OpenBytes(const TempFolder& folder, const std::string& bytes) {
    const auto path = folder / "image.tif";
    WriteFile(path, bytes);
    auto tiff = std::make_shared<TiffFile>();
    tiff->fi = GetFolderItem(path);
    const bool failed = tiff->OpenTIFF();
    return {tiff, failed};
}

// Parses a built image that must be accepted.
std::shared_ptr<TiffFile> Accepted(const TiffSpec& image) {
    TempFolder folder;
    const Opened o = OpenBytes(folder, BuildTiff(image).bytes);
    EXPECT_FALSE(o.failed) << o.tiff->errstr;
    return o.tiff;
}

// Files from libtiff, in both byte orders and depths: the record must say what
// libtiff itself says about the file.
struct ForeignCase {
    int bits;
    bool bigEndian;
    std::int64_t bytesPerPixel;
};

class ForeignFile : public ::testing::TestWithParam<ForeignCase> {};

TEST_P(ForeignFile, RecordMatchesWhatLibtiffWrote) {
    const ForeignCase c = GetParam();
    TempFolder folder;
    const auto path = folder / "foreign.tif";
    LibtiffImage image = PatternImage(7, 5, static_cast<std::uint16_t>(c.bits));
    image.bigEndian = c.bigEndian;
    WriteWithLibtiff(path, image);

    TiffFile tiff;
    tiff.fi = GetFolderItem(path);
    ASSERT_FALSE(tiff.OpenTIFF()) << tiff.errstr;
    EXPECT_EQ(tiff.ImageWidth, 7);
    EXPECT_EQ(tiff.ImageHeight, 5);
    EXPECT_EQ(tiff.RowsPerStrip, 5);
    EXPECT_EQ(tiff.BitsPerSample, c.bits);
    EXPECT_EQ(tiff.SamplesPerPixel, 3);
    EXPECT_EQ(tiff.BytesPerPixel, c.bytesPerPixel);
    EXPECT_EQ(tiff.BytesPerRow, 7 * c.bytesPerPixel);
    EXPECT_EQ(tiff.PixelCount, 35);
    EXPECT_EQ(tiff.Interpretation, 2);
    EXPECT_EQ(tiff.Configuration, 1);
    EXPECT_EQ(tiff.Compression, 1);
    EXPECT_EQ(tiff.ImageOffset, static_cast<std::int64_t>(LibtiffStripOffset(path)));
    EXPECT_EQ(tiff.LittleEndian, !c.bigEndian);
    EXPECT_TRUE(tiff.HostLittleEndian);
    EXPECT_EQ(tiff.SwapBytes, c.bigEndian);
    EXPECT_TRUE(tiff.errstr.empty());
    ASSERT_TRUE(tiff.imagefile);
    EXPECT_TRUE(tiff.imagefile->IsOpen());
    EXPECT_TRUE(tiff.PixelDataWithinFile());
}

INSTANTIATE_TEST_SUITE_P(BothOrdersBothDepths, ForeignFile,
                         ::testing::Values(ForeignCase{8, false, 3}, ForeignCase{8, true, 3},
                                           ForeignCase{16, false, 6}, ForeignCase{16, true, 6}));

// Refusals: the words, a closed stream, and entries after the refused one unread.
struct RefusalCase {
    const char* name;
    std::vector<Entry> extra;
    bool breakMagic;
    const char* words;
};

class Refusal : public ::testing::TestWithParam<RefusalCase> {};

TEST_P(Refusal, GivesTheWordsAndClosesTheStream) {
    const RefusalCase c = GetParam();
    TiffSpec image;
    image.rowsPerStrip = -2;  // placed after the refusing entry below
    image.extra = c.extra;
    image.extra.push_back({278, 4, 1, 2});
    std::string bytes = BuildTiff(image).bytes;
    if (c.breakMagic) bytes[3] = 43;
    TempFolder folder;
    const Opened o = OpenBytes(folder, bytes);
    EXPECT_TRUE(o.failed);
    EXPECT_EQ(o.tiff->errstr, c.words);
    ASSERT_TRUE(o.tiff->imagefile);
    EXPECT_FALSE(o.tiff->imagefile->IsOpen());
    EXPECT_EQ(o.tiff->ImageWidth, c.breakMagic ? 0 : 4) << "entries before a refusal are kept";
    EXPECT_EQ(o.tiff->RowsPerStrip, 0) << "entries after a refusal must not be read";
    EXPECT_EQ(o.tiff->BytesPerPixel, 0) << "derived sizes are not computed on a refusal";
}

INSTANTIATE_TEST_SUITE_P(
    Texts, Refusal,
    ::testing::Values(
        RefusalCase{"magic", {}, true, "Not a valid TIFF file."},
        RefusalCase{"photometric", {{262, 3, 1, 1}}, false, "The file must be RGB only."},
        RefusalCase{"planar", {{284, 3, 1, 2}}, false, "The data must be interleaved, not planar."},
        RefusalCase{"first in file order wins",
                    {{284, 3, 1, 2}, {262, 3, 1, 6}},
                    false,
                    "The data must be interleaved, not planar."}),
    [](const auto& info) {
        std::string n = info.param.name;
        for (char& ch : n) ch = std::isalnum(static_cast<unsigned char>(ch)) ? ch : '_';
        return n;
    });

TEST(TiffReader, AnyMarkButIntelIsTakenForBigEndian) {
    TiffSpec image;
    image.littleEndian = false;
    image.width = 300;
    std::string bytes = BuildTiff(image).bytes;
    bytes[0] = 'X';
    bytes[1] = 'Y';
    TempFolder folder;
    const Opened o = OpenBytes(folder, bytes);
    ASSERT_FALSE(o.failed) << o.tiff->errstr;
    EXPECT_FALSE(o.tiff->LittleEndian);
    EXPECT_TRUE(o.tiff->SwapBytes);
    EXPECT_EQ(o.tiff->ImageWidth, 300);
}

TEST(TiffReader, EmptyDirectoryParsesWithEverythingZero) {
    TempFolder folder;
    const Opened o = OpenBytes(folder, std::string("II\x2a\0\x08\0\0\0\0\0\0\0\0\0", 14));
    EXPECT_FALSE(o.failed);
    for (std::int64_t v :
         {o.tiff->ImageWidth, o.tiff->ImageHeight, o.tiff->BitsPerSample, o.tiff->BytesPerPixel,
          o.tiff->BytesPerRow, o.tiff->RowsPerStrip, o.tiff->ImageOffset, o.tiff->PixelCount})
        EXPECT_EQ(v, 0);
}

TiffSpec With(std::vector<Entry> extra, bool little = true, int bits = 8,
              std::int64_t rowsPerStrip = -1) {
    TiffSpec s = SpecOf(4, 3, bits, little);
    s.extra = std::move(extra);
    s.rowsPerStrip = rowsPerStrip;
    return s;
}

// How the value field is read for each entry type, and how entries combine.
struct FieldCase {
    const char* name;
    TiffSpec image;
    std::int64_t TiffFile::*field;
    std::int64_t expected;
};

class FieldDecoding : public ::testing::TestWithParam<FieldCase> {};

TEST_P(FieldDecoding, TakesTheRightBits) {
    EXPECT_EQ((*Accepted(GetParam().image)).*(GetParam().field), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(
    Entries, FieldDecoding,
    ::testing::Values(
        // A SHORT takes the first two bytes of the field; the rest is not looked at.
        FieldCase{"short_le", With({{256, 3, 1, 0x12340007}}), &TiffFile::ImageWidth, 7},
        FieldCase{"short_be", With({{256, 3, 1, 0x12340007}}, false), &TiffFile::ImageWidth, 7},
        // Any other type, even BYTE, takes all 32 bits.
        FieldCase{"byte_type_takes_32_bits", With({{256, 1, 1, 0x00010002}}),
                  &TiffFile::ImageWidth, 0x00010002},
        FieldCase{"long", With({{257, 4, 1, 70000}}, false), &TiffFile::ImageHeight, 70000},
        FieldCase{"later_duplicate_wins", With({{256, 4, 1, 5}, {256, 4, 1, 6}}),
                  &TiffFile::ImageWidth, 6},
        FieldCase{"profile_length_is_count", With({{34675, 7, 560, 1234}}),
                  &TiffFile::ProfileLength, 560},
        FieldCase{"profile_offset_32_bits", With({{34675, 7, 560, 0x00100002}}),
                  &TiffFile::ProfileOffset, 0x00100002},
        FieldCase{"orientation_ignored", With({{274, 3, 1, 3}}), &TiffFile::ImageWidth, 4},
        FieldCase{"rows_per_strip_all", With({{278, 4, 1, 4294967295u}}),
                  &TiffFile::RowsPerStrip, 4294967295LL},
        FieldCase{"no_rows_per_strip", With({}, true, 8, -2), &TiffFile::RowsPerStrip, 0},
        FieldCase{"four_samples", With({{277, 3, 1, 4}}, true, 16), &TiffFile::BytesPerPixel, 8},
        FieldCase{"bits_list_beyond_the_file", With({{258, 3, 0xFFFFFFFFu, 0xFFFFFFF0u}}),
                  &TiffFile::BitsPerSample, 0}),
    [](const auto& info) { return std::string(info.param.name); });

// Tag 258's list stands away from the entry; the last value counts and the walk
// of entries goes on after it.
TEST(TiffReader, BitsPerSampleTakesTheLastValueAndResumesTheWalk) {
    TiffSpec image;
    image.extra = {{258, 3, 3, 0}, {278, 4, 1, 99}};  // list patched in below
    std::string bytes = BuildTiff(image).bytes;
    const std::uint32_t listAt = static_cast<std::uint32_t>(bytes.size());
    for (std::uint16_t v : {8, 8, 16}) {
        bytes.push_back(static_cast<char>(v));
        bytes.push_back(0);
    }
    const std::size_t entry = 8 + 2 + 12 * 11 + 8;  // value field of the first extra entry
    for (int k = 0; k < 4; ++k) bytes[entry + k] = static_cast<char>(listAt >> (8 * k));
    TempFolder folder;
    const Opened o = OpenBytes(folder, bytes);
    ASSERT_FALSE(o.failed);
    EXPECT_EQ(o.tiff->BitsPerSample, 16);
    EXPECT_EQ(o.tiff->BytesPerPixel, 6);
    EXPECT_EQ(o.tiff->RowsPerStrip, 99);
}

TEST(TiffReader, NilFileDoesNothing) {
    TiffFile tiff;
    tiff.errstr = "stale";
    EXPECT_FALSE(tiff.OpenTIFF());
    EXPECT_TRUE(tiff.errstr.empty());
    EXPECT_FALSE(tiff.imagefile);
    EXPECT_TRUE(tiff.HostLittleEndian);
}

TEST(TiffReader, MissingFileRaisesNilObject) {
    TempFolder folder;
    TiffFile tiff;
    tiff.fi = GetFolderItem(folder / "absent.tif");
    EXPECT_THROW(tiff.OpenTIFF(), NilObjectException);
}

// Truncated and absurd files: the reader must neither crash nor run away, and
// the extent check must refuse pixel data that the file doesn't hold.
struct ExtentCase {
    const char* name;
    TiffSpec image;
    std::size_t cutBytes;
    bool within;
};

class Extent : public ::testing::TestWithParam<ExtentCase> {};

TEST_P(Extent, HoldsOnlyPixelDataTheFileHas) {
    std::string bytes = BuildTiff(GetParam().image).bytes;
    bytes.resize(bytes.size() - GetParam().cutBytes);
    TempFolder folder;
    const Opened o = OpenBytes(folder, bytes);
    ASSERT_FALSE(o.failed);
    EXPECT_EQ(o.tiff->PixelDataWithinFile(), GetParam().within);
}

INSTANTIATE_TEST_SUITE_P(
    Files, Extent,
    ::testing::Values(
        ExtentCase{"whole", TiffSpec{}, 0, true}, ExtentCase{"last_byte_cut", TiffSpec{}, 1, false},
        ExtentCase{"all_but_one_byte_cut", TiffSpec{}, 4 * 3 * 3 - 1, false},
        ExtentCase{"huge_without_overflow",
                   With({{256, 4, 1, 0xFFFFFFFFu}, {257, 4, 1, 0xFFFFFFFFu},
                         {273, 4, 1, 0xFFFFFFF0u}}, true, 16),
                   0, false},
        ExtentCase{"row_longer_than_the_file_without_rows",
                   With({{256, 4, 1, 0x10000000u}, {257, 4, 1, 0}}), 0, false}),
    [](const auto& info) { return std::string(info.param.name); });

TEST(TiffReader, FilesCutInTheirHeaderAreReadSafely) {
    const std::string whole = BuildTiff(TiffSpec{}).bytes;
    TempFolder folder;
    for (std::size_t cut : {3, 9, 50}) EXPECT_NO_THROW(OpenBytes(folder, whole.substr(0, cut)));
}

}  // namespace

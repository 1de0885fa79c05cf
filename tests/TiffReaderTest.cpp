#include <gtest/gtest.h>

#include <cstring>

#include "MemoryBlock.h"
#include "OpenedTiff.h"
#include "RowReader.h"
#include "TempFolder.h"
#include "TiffBuilder.h"

using namespace testing_tiff;

namespace {

// Parses a built image that must be accepted.
std::shared_ptr<TiffFile> Accepted(const TiffSpec& image) {
    TempFolder folder;
    WriteTiff(folder / "image.tif", image);
    return Opened(folder / "image.tif");
}

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
    TiffSpec image = Tagged(c.extra, true, 8, -2);
    image.extra.push_back({278, 4, 1, 2});  // rows per strip after the refusing entry
    std::string bytes = BuildTiff(image).bytes;
    if (c.breakMagic) bytes[3] = 43;
    TempFolder folder;
    WriteFile(folder / "image.tif", bytes);
    const OpenedTiff o = OpenTiff(folder / "image.tif");
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
        RefusalCase{"first_in_file_order_wins",
                    {{284, 3, 1, 2}, {262, 3, 1, 6}},
                    false,
                    "The data must be interleaved, not planar."}),
    [](const auto& info) { return std::string(info.param.name); });

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
        FieldCase{"short_le", Tagged({{256, 3, 1, 0x12340007}}), &TiffFile::ImageWidth, 7},
        FieldCase{"short_be", Tagged({{256, 3, 1, 0x12340007}}, false), &TiffFile::ImageWidth, 7},
        // Any other type, even BYTE, takes all 32 bits.
        FieldCase{"byte_type_takes_32_bits", Tagged({{256, 1, 1, 0x00010002}}),
                  &TiffFile::ImageWidth, 0x00010002},
        FieldCase{"long", Tagged({{257, 4, 1, 70000}}, false), &TiffFile::ImageHeight, 70000},
        FieldCase{"later_duplicate_wins", Tagged({{256, 4, 1, 5}, {256, 4, 1, 6}}),
                  &TiffFile::ImageWidth, 6},
        FieldCase{"profile_length_is_count", Tagged({{34675, 7, 560, 1234}}),
                  &TiffFile::ProfileLength, 560},
        FieldCase{"rows_per_strip_all", Tagged({{278, 4, 1, 4294967295u}}), &TiffFile::RowsPerStrip,
                  4294967295LL},
        FieldCase{"no_rows_per_strip", Tagged({}, true, 8, -2), &TiffFile::RowsPerStrip, 0},
        FieldCase{"four_samples", Tagged({{277, 3, 1, 4}}, true, 16), &TiffFile::BytesPerPixel, 8},
        // Tag 258's list stands away from the entry and its last value counts;
        // a list at 4 reads 8, 0 and the entry count, 13. The walk goes on after it.
        FieldCase{"bits_list_last_value", Tagged({{258, 3, 3, 4}, {278, 4, 1, 99}}),
                  &TiffFile::BitsPerSample, 13},
        FieldCase{"walk_resumes_after_bits_list", Tagged({{258, 3, 3, 4}, {278, 4, 1, 99}}),
                  &TiffFile::RowsPerStrip, 99},
        FieldCase{"bits_list_beyond_the_file", Tagged({{258, 3, 0xFFFFFFFFu, 0xFFFFFFF0u}}),
                  &TiffFile::BitsPerSample, 0}),
    [](const auto& info) { return std::string(info.param.name); });

// Files cut short in their header are read without a crash; files whose pixel
// data is cut or out of reach are refused by both front ends (HostileFileTest).
TEST(TiffReader, FilesCutInTheirHeaderAreReadSafely) {
    const std::string whole = BuildTiff(TiffSpec{}).bytes;
    TempFolder folder;
    for (std::size_t cut : {3, 9, 50}) {
        WriteFile(folder / "image.tif", whole.substr(0, cut));
        EXPECT_NO_THROW(OpenTiff(folder / "image.tif"));
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

}  // namespace

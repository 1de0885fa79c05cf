#include <gtest/gtest.h>

#include <cstring>

#include "MemoryBlock.h"
#include "OpenedTiff.h"
#include "RowReader.h"
#include "TempFolder.h"
#include "TiffBuilder.h"

using namespace testing_tiff;

namespace {

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

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <tiffio.h>
#include <unistd.h>

#include "BatchRig.h"
#include "OutputFileName.h"
#include "ReferenceEqualize.h"

using namespace testing_tiff;

namespace {
TiffSpec Card(int bits = 16, bool little = true) {
    TiffSpec s;
    s.width = 6;
    s.height = 4;
    s.bits = bits;
    s.littleEndian = little;
    const std::uint16_t top = bits == 8 ? 250 : 64000;
    s.pixel = [top](std::uint32_t x, std::uint32_t y) {
        return Rgb{1, static_cast<std::uint16_t>(top - (x + y) * (top / 20)), 1};
    };
    return s;
}

TiffSpec Scene(int bits = 16, bool little = true) {
    TiffSpec s = Card(bits, little);
    s.pixel = [bits](std::uint32_t x, std::uint32_t y) {
        const std::uint16_t unit = bits == 8 ? 1 : 251;
        return Rgb{static_cast<std::uint16_t>(x * 40 * unit),
                   static_cast<std::uint16_t>(y * 60 * unit),
                   static_cast<std::uint16_t>(200 * unit)};
    };
    return s;
}

// The card's brightest and darkest green give the target at amount 1.
double FullTarget(const TiffSpec& card) {
    return card.pixel(0, 0).g;  // brightest at the corner, darkest elsewhere
}

struct NameCase {
    std::string in, out;
};

class OutputName : public ::testing::TestWithParam<NameCase> {};

TEST_P(OutputName, FollowsTheNameRule) {
    EXPECT_EQ(CreateOutputFileName(GetParam().in), GetParam().out);
}

INSTANTIATE_TEST_SUITE_P(Examples, OutputName,
                         ::testing::Values(NameCase{"IMG.TIF", "IMG_eq.tif"},
                                           NameCase{"photo.tiff", "photo_eq.tif"},
                                           NameCase{"a.tif.bak.tif", "a_eq.tif"},
                                           NameCase{"scan", "scan_eq.tif"},
                                           NameCase{"scan.png", "scan.png_eq.tif"},
                                           NameCase{"Mixed.Case.TiF", "Mixed.Case_eq.tif"},
                                           NameCase{".tif", "_eq.tif"}));

struct RefusalCase {
    const char* label;
    std::uint32_t width, height;
    std::int64_t rowsPerStrip;
    std::size_t dropTail;
    std::string text;
};

class SubjectRefused : public ::testing::TestWithParam<RefusalCase> {};

// The strip test speaks first, then the size test, then the file's length.
TEST_P(SubjectRefused, GetsCrossAndText) {
    const RefusalCase& c = GetParam();
    BatchRig rig(Card());
    TiffSpec s = Scene();
    s.width = c.width;
    s.height = c.height;
    s.rowsPerStrip = c.rowsPerStrip;
    s.dropTailBytes = c.dropTail;
    rig.AddSubject("bad.tif", BuildTiff(s).bytes);
    rig.Press();
    EXPECT_EQ(rig.host.marks.at(0), RowMark::Cross);
    EXPECT_EQ(rig.Message(0), c.text);
    EXPECT_FALSE(std::filesystem::exists(rig.OutputPath("bad_eq.tif")));
    EXPECT_TRUE(rig.state.EqualizationCompleted);
}

INSTANTIATE_TEST_SUITE_P(
    Texts, SubjectRefused,
    ::testing::Values(
        RefusalCase{
            "Size", 5, 4, -1, 0,
            "White and image files have different pixel dimensions. White: 6x4  Image: 5x4"},
        RefusalCase{"Strips", 6, 4, 2, 0,
                    "Image file is not in one single strip. Height: 4Rows per strip: 2"},
        RefusalCase{"Both", 6, 3000, 16, 0,
                    "Image file is not in one single strip. Height: 3000Rows per strip: 16"},
        RefusalCase{"Truncated", 6, 4, -1, 1,
                    "Image data is incomplete: the file ends before its last pixel row."}),
    [](const auto& info) { return std::string(info.param.label); });

// Two good subjects (one big-endian), one not ticked, one not a TIFF and one
// missing: the good ones are written and checked, the rest passed over
// without a mark.
TEST(Batch, WritesTickedSubjectsAndPassesOverTheRest) {
    BatchRig rig(Card());
    const TiffSpec little = Scene(16, true), big = Scene(16, false);
    rig.AddSubject("a.tif", BuildTiff(little).bytes);
    rig.AddSubject("b.tif", BuildTiff(little).bytes, false);
    rig.AddSubject("c.tif", "not a tiff at all");
    rig.host.rows.push_back({true, "missing.tif"});
    rig.AddSubject("e.TIFF", BuildTiff(big).bytes);
    rig.Press();

    EXPECT_EQ(rig.host.folderPrompt, "Select the folder for the equalized images");
    EXPECT_TRUE(rig.host.processDisabled);
    EXPECT_TRUE(rig.state.EqualizationCompleted);
    EXPECT_EQ(rig.host.marks,
              (std::map<std::int64_t, RowMark>{{0, RowMark::Check}, {4, RowMark::Check}}));
    EXPECT_TRUE(rig.host.messages.empty());
    const double target = FullTarget(Card());
    EXPECT_EQ(ReadFile(rig.OutputPath("a_eq.tif")), ExpectedOutput(little, Card(), target));
    EXPECT_EQ(ReadFile(rig.OutputPath("e_eq.tif")), ExpectedOutput(big, Card(), target));
    EXPECT_FALSE(std::filesystem::exists(rig.OutputPath("b_eq.tif")));
    EXPECT_FALSE(std::filesystem::exists(rig.OutputPath("c_eq.tif")));
    EXPECT_EQ(ReadFile(rig.SubjectPath("a.tif")), BuildTiff(little).bytes);
    EXPECT_EQ(
        rig.host.statuses,
        (std::vector<std::string>{"Creating subject preview: a.tif", "Preparing file: a_eq.tif",
                                  "Saving file: a_eq.tif", "", "Creating subject preview: e.TIFF",
                                  "Preparing file: e_eq.tif", "Saving file: e_eq.tif", ""}));
    EXPECT_FALSE(rig.host.progress.visible);
    EXPECT_EQ(rig.host.resultRefreshes, 2);
    ASSERT_TRUE(rig.state.psubject);
    EXPECT_EQ(rig.state.psubject->Width(), 6);
    EXPECT_EQ(rig.state.Tiffi->fi->Name(), "e.TIFF");
}

TEST(Batch, AmountZeroGivesTheSubjectBack) {
    BatchRig rig(Card(8));
    rig.state.AmountToApply = 0.0;
    rig.AddSubject("a.tif", BuildTiff(Scene(8)).bytes);
    rig.Press();
    EXPECT_EQ(ReadFile(rig.OutputPath("a_eq.tif")), BuildTiff(Scene(8)).bytes);
}

TEST(Batch, CancelledFolderDialogChangesNothing) {
    BatchRig rig(Card());
    rig.AddSubject("a.tif", BuildTiff(Scene()).bytes);
    rig.host.folderAnswer = nullptr;
    rig.Press();
    EXPECT_FALSE(rig.host.processDisabled);
    EXPECT_FALSE(rig.state.EqualizationCompleted);
    EXPECT_FALSE(rig.state.fequal);
    EXPECT_TRUE(rig.host.marks.empty());
}

// An existing output brings up the save dialog with the output name; the
// user's choice becomes the output, and a cancel ends the batch by the nil
// object handler, with an empty errstr after a good open.
TEST(Batch, ExistingOutputAsksWhereToSave) {
    BatchRig rig(Card());
    rig.AddSubject("a.tif", BuildTiff(Scene()).bytes);
    rig.AddSubject("b.tif", BuildTiff(Scene()).bytes);
    WriteFile(rig.OutputPath("a_eq.tif"), "old");
    WriteFile(rig.OutputPath("b_eq.tif"), "old");
    rig.host.saveAnswers = {std::make_shared<FolderItem>(rig.dir.Path() / "chosen.tif"), nullptr};
    rig.Press();
    EXPECT_EQ(rig.host.saveProposals, (std::vector<std::string>{"a_eq.tif", "b_eq.tif"}));
    EXPECT_EQ(ReadFile(rig.dir / "chosen.tif"),
              ExpectedOutput(Scene(), Card(), FullTarget(Card())));
    EXPECT_EQ(rig.host.messages, std::vector<std::string>{"Nil Object: "});
    EXPECT_FALSE(rig.state.EqualizationCompleted);
    EXPECT_EQ(ReadFile(rig.OutputPath("b_eq.tif")), "old");
    EXPECT_EQ(rig.host.marks.count(1), 0u);
}

// Pointing the save dialog at the subject itself never writes the subject.
TEST(Batch, SubjectIsNeverItsOwnOutput) {
    BatchRig rig(Card());
    rig.AddSubject("a.tif", BuildTiff(Scene()).bytes);
    WriteFile(rig.OutputPath("a_eq.tif"), "old");
    rig.host.saveAnswers = {std::make_shared<FolderItem>(rig.SubjectPath("a.tif"))};
    rig.Press();
    EXPECT_EQ(ReadFile(rig.SubjectPath("a.tif")), BuildTiff(Scene()).bytes);
    EXPECT_TRUE(rig.host.marks.empty());
    EXPECT_TRUE(rig.state.EqualizationCompleted);
}

// A cancel in the second file's third row: the first file is done, the second
// keeps its first two rows corrected, the third is never taken up.
TEST(Batch, CancelEndsTheBatch) {
    BatchRig rig(Card(8));
    for (const char* name : {"a.tif", "b.tif", "c.tif"})
        rig.AddSubject(name, BuildTiff(Scene(8)).bytes);
    rig.host.cancelAfterPumps = 4 + 2;
    rig.Press();
    EXPECT_TRUE(rig.state.EqualizationCompleted);
    EXPECT_EQ(rig.host.marks, (std::map<std::int64_t, RowMark>{{0, RowMark::Check}}));
    const BuiltTiff original = BuildTiff(Scene(8));
    const std::string corrected = ExpectedOutput(Scene(8), Card(8), FullTarget(Card(8)));
    const std::size_t split = original.imageOffset + 2 * original.bytesPerRow;
    EXPECT_EQ(ReadFile(rig.OutputPath("b_eq.tif")),
              corrected.substr(0, split) + original.bytes.substr(split));
    EXPECT_FALSE(std::filesystem::exists(rig.OutputPath("c_eq.tif")));
    EXPECT_EQ(rig.host.statuses.back(), "");
}

// Another white card opened while the batch runs (the window stays live): the
// batch keeps to the card its target level came from, for the file in work
// and for the files after it.
TEST(Batch, KeepsItsWhiteCardWhenAnotherIsOpened) {
    BatchRig rig(Card(8));
    for (const char* name : {"a.tif", "b.tif"}) rig.AddSubject(name, BuildTiff(Scene(8)).bytes);
    rig.host.onPump = [&] { rig.state.Tiffb.reset(); };
    rig.Press();
    const std::string corrected = ExpectedOutput(Scene(8), Card(8), FullTarget(Card(8)));
    EXPECT_EQ(ReadFile(rig.OutputPath("a_eq.tif")), corrected);
    EXPECT_EQ(ReadFile(rig.OutputPath("b_eq.tif")), corrected);
    EXPECT_TRUE(rig.host.messages.empty());
}

// A file size limit that lets the copy's header through but not its pixel
// rows: every row write fails, and the file ends with the write text. Run in a
// child process, which alone carries the limit.
// A file made by libtiff, with an ICC profile and tags of its own: every byte
// but the pixel rows survives, and libtiff reads back the corrected pixels.
TEST(Batch, LibtiffFileKeepsProfileAndTags) {
    BatchRig rig(Card());
    const std::string path = rig.SubjectPath("lib.tif");
    const std::string profile(300, '\x5a');
    {
        TIFF* t = TIFFOpen(path.c_str(), "wb");  // big-endian
        ASSERT_TRUE(t);
        TIFFSetField(t, TIFFTAG_IMAGEWIDTH, 6);
        TIFFSetField(t, TIFFTAG_IMAGELENGTH, 4);
        TIFFSetField(t, TIFFTAG_BITSPERSAMPLE, 16);
        TIFFSetField(t, TIFFTAG_SAMPLESPERPIXEL, 3);
        TIFFSetField(t, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_RGB);
        TIFFSetField(t, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
        TIFFSetField(t, TIFFTAG_ROWSPERSTRIP, 4);
        TIFFSetField(t, TIFFTAG_ARTIST, "Brisavane test");
        TIFFSetField(t, TIFFTAG_IMAGEDESCRIPTION, "a subject with a profile");
        TIFFSetField(t, TIFFTAG_ICCPROFILE, static_cast<uint32_t>(profile.size()), profile.data());
        for (std::uint32_t y = 0; y < 4; ++y) {
            std::vector<std::uint16_t> row;
            for (std::uint32_t x = 0; x < 6; ++x) {
                const Rgb p = Scene().pixel(x, y);
                row.insert(row.end(), {p.r, p.g, p.b});
            }
            ASSERT_EQ(TIFFWriteScanline(t, row.data(), y, 0), 1);
        }
        TIFFClose(t);
    }
    const std::string before = ReadFile(path);
    rig.host.rows.push_back({true, "lib.tif"});
    rig.Press();
    ASSERT_EQ(rig.host.marks.at(0), RowMark::Check);
    const std::string after = ReadFile(rig.OutputPath("lib_eq.tif"));
    ASSERT_EQ(after.size(), before.size());

    TIFF* t = TIFFOpen(rig.OutputPath("lib_eq.tif").c_str(), "r");
    ASSERT_TRUE(t);
    std::uint32_t count = 0;
    void* data = nullptr;
    ASSERT_TRUE(TIFFGetField(t, TIFFTAG_ICCPROFILE, &count, &data));
    EXPECT_EQ(std::string(static_cast<const char*>(data), count), profile);
    char* artist = nullptr;
    ASSERT_TRUE(TIFFGetField(t, TIFFTAG_ARTIST, &artist));
    EXPECT_STREQ(artist, "Brisavane test");
    const toff_t* offsets = nullptr;
    ASSERT_TRUE(TIFFGetField(t, TIFFTAG_STRIPOFFSETS, &offsets));
    const std::size_t pixelsAt = offsets[0], pixelBytes = 6 * 4 * 6;
    const double target = FullTarget(Card());
    for (std::uint32_t y = 0; y < 4; ++y) {
        std::vector<std::uint16_t> row(18);
        ASSERT_EQ(TIFFReadScanline(t, row.data(), y, 0), 1);
        for (std::uint32_t x = 0; x < 6; ++x) {
            const Rgb p = Scene().pixel(x, y);
            const double w = Card().pixel(x, y).g;
            EXPECT_EQ(row[3 * x], ExpectedSample(target, w, p.r, 16));
            EXPECT_EQ(row[3 * x + 1], ExpectedSample(target, w, p.g, 16));
            EXPECT_EQ(row[3 * x + 2], ExpectedSample(target, w, p.b, 16));
        }
    }
    TIFFClose(t);
    EXPECT_EQ(after.substr(0, pixelsAt), before.substr(0, pixelsAt));
    EXPECT_EQ(after.substr(pixelsAt + pixelBytes), before.substr(pixelsAt + pixelBytes));
}
}  // namespace

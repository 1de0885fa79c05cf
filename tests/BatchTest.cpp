#include <gtest/gtest.h>

#include "BatchRig.h"
#include "FileHashes.h"
#include "OutputFileName.h"
#include "ReferenceEqualize.h"

using namespace testing_tiff;

namespace {
TEST(OutputName, FollowsTheNameRule) {
    const std::pair<const char*, const char*> cases[] = {{"IMG.TIF", "IMG_eq.tif"},
                                                         {"photo.tiff", "photo_eq.tif"},
                                                         {"a.tif.bak.tif", "a_eq.tif"},
                                                         {"scan", "scan_eq.tif"},
                                                         {"scan.png", "scan.png_eq.tif"},
                                                         {"Mixed.Case.TiF", "Mixed.Case_eq.tif"},
                                                         {".tif", "_eq.tif"}};
    for (const auto& [in, out] : cases) EXPECT_EQ(CreateOutputFileName(in), out);
}

// A cancelled folder dialog changes nothing. Then two good subjects (one
// big-endian), one not ticked, one not a TIFF and one missing: the good ones
// are written and checked, the rest passed over without a mark.
TEST(Batch, WritesTickedSubjectsAndPassesOverTheRest) {
    BatchRig rig;
    rig.AddSubject("a.tif", BuildTiff(Scene(16, true)).bytes);
    rig.AddSubject("b.tif", BuildTiff(Scene(16, true)).bytes, false);
    rig.AddSubject("c.tif", "not a tiff at all");
    rig.host.rows.push_back({true, "missing.tif"});
    rig.AddSubject("e.TIFF", BuildTiff(Scene(16, false)).bytes);
    rig.Press("");
    EXPECT_FALSE(rig.host.processDisabled);
    EXPECT_FALSE(rig.state.EqualizationCompleted || rig.state.fequal);
    EXPECT_TRUE(rig.host.marks.empty());
    rig.Press();

    EXPECT_EQ(rig.host.dialogs.folderPrompts.back(), "Select the folder for the equalized images");
    EXPECT_TRUE(rig.host.processDisabled);
    EXPECT_TRUE(rig.state.EqualizationCompleted);
    EXPECT_EQ(rig.host.marks,
              (std::map<std::int64_t, RowMark>{{0, RowMark::Check}, {4, RowMark::Check}}));
    EXPECT_TRUE(rig.host.dialogs.messages.empty());
    EXPECT_EQ(HashFolder(rig.dir.Path() / "out").size(), 2u);  // a_eq.tif and e_eq.tif
    EXPECT_EQ(
        rig.host.statuses,
        (std::vector<std::string>{"Creating subject preview: a.tif", "Preparing file: a_eq.tif",
                                  "Saving file: a_eq.tif", "", "Creating subject preview: e.TIFF",
                                  "Preparing file: e_eq.tif", "Saving file: e_eq.tif", ""}));
    EXPECT_FALSE(rig.host.progress.visibility.back());
    EXPECT_EQ(rig.host.resultRefreshes, 2);
    EXPECT_TRUE(rig.state.psubject);
}

// Pointing the save dialog at the subject itself never writes the subject.
TEST(Batch, SubjectIsNeverItsOwnOutput) {
    BatchRig rig;
    rig.AddSubject("a.tif", BuildTiff(Scene()).bytes);
    WriteFile(rig.OutputPath("a_eq.tif"), "old");
    rig.host.dialogs.saveAnswers = {rig.SubjectPath("a.tif")};
    rig.Press();
    EXPECT_EQ(ReadFile(rig.SubjectPath("a.tif")), BuildTiff(Scene()).bytes);
    EXPECT_TRUE(rig.host.marks.empty());
    EXPECT_TRUE(rig.state.EqualizationCompleted);
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
    EXPECT_TRUE(rig.host.dialogs.messages.empty());
}

// The row pass as the window sees it: the bar counts rows from 0 and ends
// hidden, events are pumped and the cancel asked once a row, and the result
// preview shows the corrected rows, 16-bit samples divided by 257.
TEST(Batch, ReportsEveryRowAndPreviewsTheOutput) {
    for (const int bits : {8, 16}) {
        BatchRig rig(Card(bits));
        rig.AddSubject("a.tif", BuildTiff(Scene(bits, false)).bytes);
        rig.Press();
        EXPECT_EQ(rig.host.progress.maxima, std::vector<std::int64_t>{4});
        EXPECT_EQ(rig.host.progress.values, (std::vector<double>{0, 0, 1, 2, 3}));
        EXPECT_EQ(rig.host.progress.visibility, (std::vector<bool>{true, false}));
        EXPECT_EQ(rig.host.pumps, 4);
        EXPECT_EQ(rig.host.cancelQuestions, 4);
        const auto& preview = *rig.state.presult;
        ASSERT_EQ(preview.Width(), 6);
        ASSERT_EQ(preview.Height(), 4);
        for (std::uint32_t y = 0; y < 4; ++y)
            for (std::uint32_t x = 0; x < 6; ++x) {
                const Rgb s = Scene(bits).pixel(x, y);
                const auto show = [&](std::uint16_t v) {
                    const auto out =
                        ExpectedSample(FullTarget(Card(bits)), Card(bits).pixel(x, y).g, v, bits);
                    return bits == 8 ? out : static_cast<std::uint32_t>(out / 257);
                };
                ASSERT_EQ(preview.Pixel(x, y), RGB(show(s.r), show(s.g), show(s.b), 0));
            }
    }
}

// With previews off the result picture is made anew but nothing is drawn in
// it, no subject preview is made and the result canvas isn't repainted.
TEST(Batch, PreviewsOffDrawNothing) {
    BatchRig rig;
    rig.AddSubject("a.tif", BuildTiff(Scene()).bytes);
    rig.host.showPreviews = false;
    rig.Press();
    EXPECT_EQ(rig.host.marks.at(0), RowMark::Check);
    EXPECT_FALSE(rig.state.psubject);
    EXPECT_EQ(rig.host.resultRefreshes, 0);
    ASSERT_EQ(rig.state.presult->Width(), 6);
    for (std::int64_t x = 0; x < 6; ++x) EXPECT_EQ(rig.state.presult->Pixel(x, 0), RGB(0, 0, 0, 0));
}
}  // namespace

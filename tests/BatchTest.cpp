// The window's press of Process (Batch) without a display: which rows it
// takes, what it shows on the way, the marks it leaves, and that it writes
// the command line's bytes on either road, also when a file stops short.
#include <gtest/gtest.h>

#include <cstring>

#include "BatchRig.h"
#include "ChildProcess.h"
#include "CliRun.h"
#include "Exceptions.h"
#include "FileHashes.h"
#include "LibtiffFiles.h"
#include "OutputFileName.h"
#include "ReferenceEqualize.h"
#include "ResultLines.h"
#include "SubjectJob.h"

using namespace testing_tiff;

namespace {
const std::string kProblem = "Problem writing equalized TIFF file.";

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
// are written and checked, the rest passed over without a mark. Another
// white card opened while the batch runs (the window stays live) changes
// nothing of it.
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
    rig.host.onPump = [&] { rig.state.Tiffb.reset(), rig.state.card.reset(); };
    rig.Press();

    EXPECT_EQ(rig.host.dialogs.folderPrompts.back(), "Select the folder for the equalized images");
    EXPECT_TRUE(rig.host.processDisabled);
    EXPECT_TRUE(rig.state.EqualizationCompleted);
    EXPECT_EQ(rig.host.marks,
              (std::map<std::int64_t, RowMark>{{0, RowMark::Check}, {4, RowMark::Check}}));
    EXPECT_TRUE(rig.host.dialogs.messages.empty());
    EXPECT_EQ(HashFolder(rig.dir.Path() / "out").size(), 2u);
    EXPECT_EQ(
        rig.host.statuses,
        (std::vector<std::string>{"Creating subject preview: a.tif", "Preparing file: a_eq.tif",
                                  "Saving file: a_eq.tif", "", "Creating subject preview: e.TIFF",
                                  "Preparing file: e_eq.tif", "Saving file: e_eq.tif", ""}));
    EXPECT_EQ(rig.host.resultRefreshes, 2);
    EXPECT_TRUE(rig.state.psubject);
}

// Pointing the save dialog at the subject itself never writes the subject;
// into a folder that isn't there, the row is crossed and the next one taken;
// cancelling it ends the batch through the nil object handler, with an empty
// errstr after a good open, and leaves the old output.
TEST(Batch, SubjectIsNeverItsOwnOutput) {
    BatchRig rig;
    for (const char* name : {"a", "b", "c"}) {
        rig.AddSubject(name + std::string(".tif"), BuildTiff(Scene()).bytes);
        WriteFile(rig.OutputPath(name + std::string("_eq.tif")), "old");
    }
    rig.host.dialogs.saveAnswers = {rig.SubjectPath("a.tif"), rig.dir.Path() / "gone" / "b.tif",
                                    ""};
    rig.Press();
    EXPECT_EQ(rig.host.dialogs.saveProposals,
              (std::vector<std::string>{"a_eq.tif", "b_eq.tif", "c_eq.tif"}));
    EXPECT_EQ(ReadFile(rig.SubjectPath("a.tif")), BuildTiff(Scene()).bytes);
    EXPECT_EQ(ReadFile(rig.OutputPath("b_eq.tif")) + ReadFile(rig.OutputPath("c_eq.tif")),
              "oldold");
    EXPECT_EQ(rig.host.marks, (std::map<std::int64_t, RowMark>{{1, RowMark::Cross}}));
    EXPECT_EQ(rig.Message(1), kProblem);
    EXPECT_EQ(rig.host.dialogs.messages, std::vector<std::string>{"Nil Object: "});
}

// The result preview shows the output's decoded colours, 16-bit samples / 257.
void ExpectPreviewOf(const Picture& preview, const std::filesystem::path& output) {
    const Decoded d = Decode(output);
    ASSERT_EQ(std::pair(preview.Width(), preview.Height()),
              std::pair(std::int64_t{d.width}, std::int64_t{d.height}));
    for (std::uint32_t y = 0; y < d.height; ++y)
        for (std::uint32_t x = 0; x < d.width; ++x) {
            const auto at = [&](std::uint16_t c) {
                std::uint16_t v = 0;  // the host is little-endian, as the previews assume
                std::memcpy(&v, &d.pixels[d.At(x, y, c)], d.bits / 8);
                return d.bits == 8 ? v : v / 257u;
            };
            ASSERT_EQ(preview.Pixel(x, y), RGB(at(0), at(1), at(2), 0)) << x << "," << y;
        }
}

// The row pass as the window sees it: the bar counts rows from 0 and ends
// hidden, events are pumped and the cancel asked once a row, and the result
// preview shows the corrected rows, 16-bit samples divided by 257. With
// previews off the result picture is made anew but nothing is drawn in it.
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
        EXPECT_EQ(ReadFile(rig.OutputPath("a_eq.tif")),
                  ExpectedOutput(Scene(bits, false), Card(bits), FullTarget(Card(bits))));
        ExpectPreviewOf(*rig.state.presult, rig.OutputPath("a_eq.tif"));
    }
    BatchRig rig;
    rig.AddSubject("a.tif", BuildTiff(Scene()).bytes);
    rig.host.showPreviews = false;
    rig.Press();
    EXPECT_EQ(rig.host.marks.at(0), RowMark::Check);
    EXPECT_FALSE(rig.state.psubject);
    EXPECT_EQ(rig.host.resultRefreshes, 0);
    for (std::int64_t x = 0; x < 6; ++x) EXPECT_EQ(rig.state.presult->Pixel(x, 0), RGB(0, 0, 0, 0));
}

// How many of this process's open files are the given file.
int OpenDescriptorsOn(const std::filesystem::path& file) {
    int count = 0;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
        std::error_code ec;
        count += std::filesystem::read_symlink(entry.path(), ec) == file;
    }
    return count;
}

// A subject of one strip stopped short, against a big-endian card: stopped by
// the user after two rows, its output holds those rows corrected and the
// subject's own after them, the row has no mark and the next subject is never
// taken up; a write that fails from the second row on crosses the row, and
// the rows after the first stay empty, since the window writes each row once,
// and the next subject is tried; an IOException ends the batch with its
// message, as it ends brisavane-cli's file with its words. Each time the
// output is closed; the bar is hidden, but for the exception, which leaves it
// as it stood. Each runs in a child, so that a file
// size limit stays there, and writes into the subjects' own folder, where no
// subject changes.
TEST(Batch, StopsShort) {
    const TiffSpec card = Card(16, false), subject = Scene(16, true);
    const BuiltTiff built = BuildTiff(subject);
    const std::string corrected = ExpectedOutput(subject, card, FullTarget(card));
    const auto output = [&](std::size_t rows, bool empty) {
        const std::size_t split = built.imageOffset + rows * built.bytesPerRow;
        std::string rest = built.bytes.substr(split);
        if (empty)
            rest.replace(0, (4 - rows) * built.bytesPerRow, (4 - rows) * built.bytesPerRow, '\0');
        return corrected.substr(0, split) + rest;
    };
    for (const char* fault : {"cancel", "write", "exception"}) {
        BatchRig rig(card);
        rig.AddSubject("a.tif", built.bytes);
        rig.AddSubject("b.tif", built.bytes);
        rig.host.cancelAfterPumps = fault[0] == 'c' ? 2 : -1;
        rig.host.onPump = [&] {
            if (fault[0] == 'e' && rig.host.pumps == 2)
                throw IOException("the card's stream closed");
        };
        rig.host.onStatus = [&](const std::string& status) {
            if (fault[0] == 'w' && status.starts_with("Saving file: "))
                LimitFileSize(built.imageOffset + built.bytesPerRow);
        };
        const ChildResult shown = InChild([&] {
            rig.Press(rig.dir / "subjects");
            std::string marks =
                rig.host.dialogs.messages.empty() ? "" : rig.host.dialogs.messages[0];
            for (const auto& [row, mark] : rig.host.marks)
                marks += (mark == RowMark::Check ? "Check " : "Cross ") + rig.Message(row);
            const bool shown = rig.host.progress.visibility.back();
            const auto output = std::filesystem::canonical(rig.SubjectPath("a_eq.tif"));
            return marks + "|" + std::to_string(OpenDescriptorsOn(output)) +
                   (shown ? " shown" : "");
        });
        EXPECT_EQ(shown.out, (fault[0] == 'c'   ? ""
                              : fault[0] == 'w' ? "Cross " + kProblem + "Cross " + kProblem
                                                : "IOException: ") +
                                 "|0" + (fault[0] == 'e' ? " shown" : ""));
        EXPECT_EQ(std::filesystem::exists(rig.SubjectPath("b_eq.tif")), fault[0] == 'w');
        EXPECT_EQ(ReadFile(rig.SubjectPath("a_eq.tif")),
                  output(fault[0] == 'w' ? 1 : 2, fault[0] == 'w'));
        EXPECT_EQ(ReadFile(rig.SubjectPath("a.tif")), built.bytes);
        if (fault[0] != 'e') continue;
        const auto cards = RunCards::Of(rig.state.card, 1.0);
        rig.host.pumps = 0;
        std::filesystem::create_directories(rig.dir / "cli");
        const JobSettings settings{*cards, FolderItem(rig.dir / "cli"), false};
        const std::string path = rig.SubjectPath("a.tif");
        EXPECT_EQ(ResultLine(EqualizeSubject(path, cards->Choose(path), settings, rig.host, 0)),
                  "a.tif: failed: the card's stream closed");
        EXPECT_TRUE(std::filesystem::is_empty(rig.dir / "cli"));
    }
}

// Process, in a child whose writes fail from the output's first byte on:
// whether the first row is crossed, and its message.
std::string CrossedWhenWritesFail(BatchRig& rig) {
    rig.host.cancelAfterPumps = -1;
    rig.host.onStatus = [](const std::string& status) {
        if (status.starts_with("Saving file: ")) LimitFileSize(1);
    };
    std::filesystem::create_directories(rig.dir / "limited");
    return InChild([&] {
               rig.Press(rig.dir / "limited");
               return std::to_string(rig.host.marks.at(0) == RowMark::Cross) + rig.Message(0);
           })
        .out;
}

// Subjects of other layouts take the libtiff road in the window too: Check,
// the previews from the decoded rows, and the command line's bytes. The
// subject is flat, so that its corrected strips grow and go to the end.
// Stopped after ten rows, the output holds the rows written so far (each row
// of uncompressed strips, whole strips of four rows, no tile of sixteen) and
// the subject's own after them, and the row has no mark. A write that fails
// crosses the row with the write problem's words.
TEST(BatchLibtiffRoad, ChecksStopsAndCrosses) {
    TiffSpec card = SpecOf(40, 30, 16, true), scene = Scene();
    card.pixel = [](std::uint32_t x, std::uint32_t y) {
        return Rgb{9, static_cast<std::uint16_t>(64000 - (x + y) * 500), 9};
    };
    scene.width = 40, scene.height = 30;
    scene.pixel = [](std::uint32_t, std::uint32_t) { return Rgb{1000, 30000, 50000}; };
    for (const auto& [layout, written] :
         {std::pair{"-r 4", 10u}, {"-r 4 -c lzw", 8u}, {"-t -w 16 -l 16 -c zip", 0u}}) {
        SCOPED_TRACE(layout);
        BatchRig rig(card);
        WriteTiff(rig.dir / "plain.tif", scene);
        Shell("tiffcp " + std::string(layout) + " " + (rig.dir / "plain.tif").string() + " " +
              rig.SubjectPath("t.tif"));
        rig.host.rows.push_back({true, "t.tif"});
        const CliRun cli = Equalize({"--white", rig.dir / "white.tif", "--output",
                                     rig.dir / "subjects", rig.SubjectPath("t.tif")});
        ASSERT_EQ(cli.code, 0) << cli.out;
        rig.Press();
        EXPECT_EQ(rig.host.marks, (std::map<std::int64_t, RowMark>{{0, RowMark::Check}}));
        EXPECT_EQ(ReadFile(rig.OutputPath("t_eq.tif")), ReadFile(rig.SubjectPath("t_eq.tif")));
        ASSERT_TRUE(rig.state.psubject);
        EXPECT_EQ(rig.state.psubject->Pixel(39, 29), RGB(3, 116, 194, 0));
        ExpectPreviewOf(*rig.state.presult, rig.OutputPath("t_eq.tif"));

        rig.host.marks.clear();
        rig.host.cancelAfterPumps = rig.host.pumps + 10;
        std::filesystem::create_directories(rig.dir / "stopped");
        rig.Press(rig.dir / "stopped");
        EXPECT_TRUE(rig.host.marks.empty());
        const Decoded stopped = Decode(rig.dir / "stopped/t_eq.tif");
        EXPECT_EQ(stopped.Colours(0, written),
                  Decode(rig.SubjectPath("t_eq.tif")).Colours(0, written));
        EXPECT_EQ(stopped.Colours(written), Decode(rig.SubjectPath("t.tif")).Colours(written));
        EXPECT_EQ(CrossedWhenWritesFail(rig), "1" + kProblem);
    }
}
// Strips too large to hold decoded (over LibtiffFile::kHeldChunk) are read and
// written a row at a time, the subject's and the card's alike: the command
// line gives the pixels of the same files in plain strips, and fails the file
// under a file size limit that the copy meets no sooner than the strip
// written anew. The window, stopped after a few rows, leaves the output the
// subject's own bytes, its directory too, and no mark; a write that fails
// crosses the row.
TEST(BatchLibtiffRoad, StripTooLargeToHoldGoesRowByRow) {
    constexpr std::uint32_t kWide = 1600, kTall = 1750;
    static_assert(std::uint64_t{kWide} * kTall * 6 > LibtiffFile::kHeldChunk);
    TiffSpec card = SpecOf(kWide, kTall, 16, true), scene = card;
    card.pixel = [](std::uint32_t x, std::uint32_t) {
        return Rgb{9, static_cast<std::uint16_t>(60000 - x * 9), 9};
    };
    scene.pixel = [](std::uint32_t x, std::uint32_t y) {
        return Rgb{static_cast<std::uint16_t>(x * 40), static_cast<std::uint16_t>(y * 30), 500};
    };
    BatchRig rig(card);
    const std::string white = rig.dir / "white.tif", lzwWhite = rig.dir / "white_lzw.tif",
                      plain = rig.dir / "plain.tif", big = rig.SubjectPath("big.tif");
    WriteTiff(plain, scene);
    Shell("tiffcp -c lzw -r 1750 " + plain + " " + big);
    Shell("tiffcp -c lzw -r 1750 " + white + " " + lzwWhite);
    for (const auto& [by, subject, out] :
         {std::tuple{white, plain, "out"}, {lzwWhite, big, "lzw"}}) {
        std::filesystem::create_directories(rig.dir / out);
        const CliRun run = Equalize({"--white", by, "--output", rig.dir / out, subject});
        EXPECT_EQ(run.code, 0) << run.out << run.err;
    }
    // Compared whole, not printed: 17 MB either side.
    EXPECT_TRUE(Decode(rig.dir / "lzw/big_eq.tif").pixels ==
                Decode(rig.OutputPath("plain_eq.tif")).pixels);
    const auto limit = std::filesystem::file_size(big);
    const ChildResult limited = RunProgram(
        {BRISAVANE_CLI, "equalize", "--white", white, "--output", rig.dir.Path().string(), big},
        [&] { LimitProgramFileSize(limit, rig.dir / "counts"); });
    EXPECT_EQ(limited.exitCode, 1);
    EXPECT_TRUE(limited.out.starts_with("big.tif: failed: " + kProblem)) << limited.out;

    rig.host.rows.push_back({true, "big.tif"});
    rig.host.cancelAfterPumps = 3;
    rig.Press();
    EXPECT_TRUE(rig.host.marks.empty());
    EXPECT_TRUE(ReadFile(rig.OutputPath("big_eq.tif")) == ReadFile(big));
    EXPECT_EQ(CrossedWhenWritesFail(rig), "1" + kProblem);
}
}  // namespace

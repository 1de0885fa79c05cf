#include <gtest/gtest.h>

#include "BatchRig.h"
#include "ChildProcess.h"
#include "FileHashes.h"
#include "ReferenceEqualize.h"
#include "TmpfsMount.h"

using namespace testing_tiff;

// Writes that really fail: a file size limit in a child process, a small
// file system in memory that fills up, one that takes no writes, a place
// that doesn't exist. Each ends its file with Cross and the write text (a
// failed line in brisavane-cli), the next file is still written, and no
// subject changes.

namespace {
constexpr const char* kProblem = "Problem writing equalized TIFF file.";

// A subject with its bytes on both sides of the pixel rows: a profile in front
// (which makes the big one big) and bytes behind them.
TiffSpec Subject(std::size_t profileBytes, bool little = true) {
    TiffSpec s = Scene(16, little);
    s.iccProfile = std::string(profileBytes, '\x11');
    s.trailer = std::string(300, '\x22');
    return s;
}

std::string Expected(const TiffSpec& subject) {
    return ExpectedOutput(subject, Card(), FullTarget(Card()));
}

// The marks and texts of a batch, one line a row: "0 Cross Problem ...".
std::string Outcome(const BatchRig& rig) {
    std::string lines;
    for (const auto& [row, mark] : rig.host.marks)
        lines += std::to_string(row) + (mark == RowMark::Check ? " Check " : " Cross ") +
                 rig.Message(static_cast<std::size_t>(row)) + "\n";
    return lines;
}

std::string Crossed(int row) {
    return std::to_string(row) + " Cross " + kProblem + "\n";
}
std::string Checked(int row) {
    return std::to_string(row) + " Check \n";
}

// Where the limit stands, for a big subject followed by a small one.
enum class Limit {
    InTheProfile,      // the copy fails before the pixel rows
    BeforeTheTrailer,  // the copy holds every pixel row, only its tail is lost
    FromTheSecondRow,  // the copy is whole; the row pass can write one row only
};

// A big subject followed by a small one, which every limit here lets through.
class FileSizeLimit : public ::testing::TestWithParam<Limit> {
  protected:
    BatchRig rig{Card()};
    const TiffSpec big = Subject(4000), small = Subject(0, false);
    const BuiltTiff built = BuildTiff(big);
    std::map<std::string, std::uint64_t> subjects;

    void SetUp() override {
        rig.AddSubject("big.tif", built.bytes);
        rig.AddSubject("small.tif", BuildTiff(small).bytes);
        subjects = HashFolder(rig.dir.Path() / "subjects");
    }
    // The limit that the copy of the big subject meets.
    rlim_t CopyLimit() const {
        return GetParam() == Limit::InTheProfile
                   ? built.imageOffset / 2
                   : built.imageOffset + built.bytesPerRow * big.height;
    }
};

// The window's batch in a child process, then the command line, which runs
// in a child of its own, where the limit can be set before it starts: the big
// file fails, the small one is written, no temporary stays behind.
TEST_P(FileSizeLimit, CrossOrFailedLineThenTheNextFile) {
    const ChildResult child = InChild([&] {
        if (GetParam() != Limit::FromTheSecondRow)
            LimitFileSize(CopyLimit());
        else
            rig.host.onStatus = [&](const std::string& status) {
                if (status == "Saving file: big_eq.tif")
                    LimitFileSize(built.imageOffset + built.bytesPerRow);
                else if (status.empty())
                    LimitFileSize(RLIM_INFINITY);
            };
        rig.Press();
        return Outcome(rig) + (rig.state.EqualizationCompleted ? "completed" : "stopped");
    });
    EXPECT_EQ(child.out, Crossed(0) + Checked(1) + "completed");
    EXPECT_EQ(ReadFile(rig.OutputPath("small_eq.tif")), Expected(small));
    EXPECT_EQ(HashFolder(rig.dir.Path() / "subjects"), subjects);
    if (GetParam() == Limit::FromTheSecondRow) return;

    std::filesystem::remove(rig.OutputPath("big_eq.tif"));
    std::filesystem::remove(rig.OutputPath("small_eq.tif"));
    const rlim_t limit = CopyLimit();
    const ChildResult run =
        RunProgram({BRISAVANE_CLI, "equalize", "--white", rig.dir / "white.tif", "--output",
                    rig.dir / "out", rig.SubjectPath("big.tif"), rig.SubjectPath("small.tif")},
                   [limit] { LimitFileSize(limit); });
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(run.out, std::string("big.tif: failed: ") + kProblem + "\nsmall.tif: written " +
                           rig.OutputPath("small_eq.tif") + "\n");
    EXPECT_EQ(ReadFile(rig.OutputPath("small_eq.tif")), Expected(small));
    EXPECT_EQ(HashFolder(rig.dir.Path() / "out").size(), 1u);
    EXPECT_EQ(HashFolder(rig.dir.Path() / "subjects"), subjects);
}

const char* const kLimitNames[] = {"InTheProfile", "BeforeTheTrailer", "FromTheSecondRow"};
INSTANTIATE_TEST_SUITE_P(Limits, FileSizeLimit,
                         ::testing::Values(Limit::InTheProfile, Limit::BeforeTheTrailer,
                                           Limit::FromTheSecondRow),
                         [](const auto& info) { return std::string(kLimitNames[info.index]); });

// A small file system that the big subject's copy fills, or one that takes no
// writes at all (every file fails). The window's batch keeps what a failed
// file left (as after any write error), so a full disk stays full for the
// file after it; brisavane-cli removes its temporary, so the file after it
// fits again. It runs one job at a time: two copies in work at once on a disk
// this small would, by chance, leave no room for each other.
class FullOrReadOnlyDisk : public ::testing::TestWithParam<bool> {};

TEST_P(FullOrReadOnlyDisk, WindowCrossesWhatDidNotFitCommandLineFailsWhatCouldNot) {
    const bool readOnly = GetParam();
    BatchRig rig{Card()};
    const TiffSpec small = Subject(0), big = Subject(60000, false);
    for (const auto& [name, image] :
         {std::pair{"a_small.tif", small}, {"b_big.tif", big}, {"c_small.tif", small}})
        rig.AddSubject(name, BuildTiff(image).bytes);
    const TmpfsMount disk(rig.dir.Path() / "out", "size=16k", readOnly);
    if (!disk.Mounted()) GTEST_SKIP() << "mounting a tmpfs needs root";
    const auto subjects = HashFolder(rig.dir.Path() / "subjects");
    rig.Press();
    EXPECT_EQ(Outcome(rig), (readOnly ? Crossed(0) : Checked(0)) + Crossed(1) + Crossed(2));
    EXPECT_TRUE(rig.state.EqualizationCompleted);
    if (!readOnly) {
        EXPECT_EQ(ReadFile(rig.OutputPath("a_small_eq.tif")), Expected(small));
    }
    for (const auto& entry : std::filesystem::directory_iterator(rig.dir.Path() / "out"))
        std::filesystem::remove(entry.path());

    const ChildResult run =
        RunProgram({BRISAVANE_CLI, "equalize", "--jobs", "1", "--white", rig.dir / "white.tif",
                    "--output", rig.dir / "out", rig.dir / "subjects"});
    const auto line = [&](const std::string& name) {
        return name + ".tif: " +
               (readOnly ? std::string("failed: ") + kProblem
                         : "written " + rig.OutputPath(name + "_eq.tif")) +
               "\n";
    };
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(run.out, line("a_small") + "b_big.tif: failed: " + kProblem + "\n" + line("c_small"));
    if (!readOnly) {
        EXPECT_EQ(ReadFile(rig.OutputPath("c_small_eq.tif")), Expected(small));
    }
    EXPECT_EQ(HashFolder(rig.dir.Path() / "out").size(), readOnly ? 0u : 2u);
    EXPECT_EQ(HashFolder(rig.dir.Path() / "subjects"), subjects);
}

INSTANTIATE_TEST_SUITE_P(Disks, FullOrReadOnlyDisk, ::testing::Bool(), [](const auto& info) {
    return std::string(info.param ? "ReadOnly" : "Full");
});

// The save dialog (for an output that exists) pointed into a folder that
// isn't there: that file can't be written, the next one is.
TEST(UnwritablePlace, CrossThenTheNextFile) {
    BatchRig rig(Card());
    rig.AddSubject("a.tif", BuildTiff(Subject(0)).bytes);
    rig.AddSubject("b.tif", BuildTiff(Subject(0, false)).bytes);
    WriteFile(rig.OutputPath("a_eq.tif"), "an earlier output");
    rig.host.dialogs.saveAnswers = {rig.dir.Path() / "gone" / "a.tif"};
    rig.Press();
    EXPECT_EQ(Outcome(rig), Crossed(0) + Checked(1));
    EXPECT_EQ(ReadFile(rig.OutputPath("a_eq.tif")), "an earlier output");
    EXPECT_EQ(ReadFile(rig.OutputPath("b_eq.tif")), Expected(Subject(0, false)));
    EXPECT_EQ(rig.host.statuses.back(), "");
}
}  // namespace

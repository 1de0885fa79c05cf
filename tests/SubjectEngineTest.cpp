#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>

#include "BatchRig.h"
#include "ChildProcess.h"
#include "CliRun.h"
#include "Exceptions.h"
#include "FakeWhiteCardHost.h"
#include "FileHashes.h"
#include "ReferenceEqualize.h"
#include "ResultLines.h"
#include "SubjectJob.h"
#include "WhiteCardWorkflow.h"

using namespace testing_tiff;

namespace {
const std::string kProblem = "Problem writing equalized TIFF file.";

enum class Fault { None, WriteFault, Cancel, Exception };

// One subject through either front end. Rows tell what stands in the output:
// -1 no output at all, otherwise how many of its rows are corrected (the rest
// are the subject's own).
struct Scenario {
    const char* label;
    int bits;
    bool subjectLittle, cardLittle;
    Fault fault;
    std::string window;  // the list row: "Check", "Cross: <text>" or "" (no mark)
    std::string line;    // brisavane-cli's line after "a.tif: "; OUT stands for the output
    int windowRows, lineRows;
    std::uint32_t width = 6;
    std::int64_t rowsPerStrip = -1;
    std::size_t dropTail = 0;
    std::string bytes;  // when not empty, the subject holds these instead of a TIFF
};

void PrintTo(const Scenario& s, std::ostream* os) {
    *os << s.label;
}

class BothFrontEnds : public ::testing::TestWithParam<std::tuple<Scenario, bool>> {};

// Each front end runs in a child, so that a file size limit stays there, and
// says what it showed; the files it left are looked at here.
TEST_P(BothFrontEnds, WriteTheSameBytesAndTellTheirOwnWords) {
    const auto& [s, window] = GetParam();
    const TiffSpec card = Card(s.bits, s.cardLittle);
    BatchRig rig(card);
    TiffSpec subject = Scene(s.bits, s.subjectLittle);
    subject.width = s.width;
    subject.rowsPerStrip = s.rowsPerStrip;
    subject.dropTailBytes = s.dropTail;
    const BuiltTiff built = BuildTiff(subject);
    const std::string original = s.bytes.empty() ? built.bytes : s.bytes;
    rig.AddSubject("a.tif", original);
    if (s.fault == Fault::Cancel) rig.host.cancelAfterPumps = 2;
    if (s.fault == Fault::Exception)
        rig.host.onPump = [&] {
            if (rig.host.pumps == 2) throw IOException("the card's stream closed");
        };
    if (s.fault == Fault::WriteFault)
        rig.host.onStatus = [&](const std::string& status) {
            if (status.starts_with("Saving file: "))
                LimitFileSize(built.imageOffset + built.bytesPerRow);
        };
    const ChildResult shown = InChild([&]() -> std::string {
        if (!window) {
            const auto cards = RunCards::Of(rig.state.card, 1.0);
            const JobSettings settings{*cards, FolderItem(rig.dir.Path() / "out"), false};
            const std::string path = rig.SubjectPath("a.tif");
            return ResultLine(EqualizeSubject(path, cards->Choose(path), settings, rig.host, 0));
        }
        rig.Press();
        if (!rig.host.dialogs.messages.empty()) return rig.host.dialogs.messages.front();
        if (!rig.host.marks.contains(0)) return "";
        return rig.host.marks[0] == RowMark::Check ? "Check" : "Cross: " + rig.Message(0);
    });
    std::string line = "a.tif: " + s.line;
    if (line.ends_with("OUT")) line.replace(line.size() - 3, 3, rig.OutputPath("a_eq.tif"));
    EXPECT_EQ(shown.out, window ? s.window : line);

    EXPECT_EQ(ReadFile(rig.SubjectPath("a.tif")), original);
    const int rows = window ? s.windowRows : s.lineRows;
    EXPECT_EQ(HashFolder(rig.dir.Path() / "out").size(), rows < 0 ? 0u : 1u);
    if (rows < 0) return;
    const std::size_t split = built.imageOffset + rows * built.bytesPerRow;
    std::string rest = original.substr(split);
    // The window writes its rows once: rows that a file size limit lowered
    // after the copy was made keeps out of the file are empty there.
    if (window && s.fault == Fault::WriteFault)
        rest.replace(0, (subject.height - rows) * built.bytesPerRow,
                     (subject.height - rows) * built.bytesPerRow, '\0');
    EXPECT_EQ(ReadFile(rig.OutputPath("a_eq.tif")),
              ExpectedOutput(subject, card, FullTarget(card)).substr(0, split) + rest);
}

const std::string kSize =
    "White and image files have different pixel dimensions. White: 6x4  Image: 5x4";
const std::string kMissing = "Image data is incomplete: strip 1 is missing from the file";
const std::string kCut = "Image data is incomplete: the file ends before its last pixel row.";

INSTANTIATE_TEST_SUITE_P(
    Scenarios, BothFrontEnds,
    ::testing::Combine(
        ::testing::Values(
            Scenario{"LittleEight", 8, true, true, Fault::None, "Check", "written OUT", 4, 4},
            Scenario{"BigSixteen", 16, false, false, Fault::None, "Check", "written OUT", 4, 4},
            Scenario{"LittleSixteenBigCard", 16, true, false, Fault::None, "Check", "written OUT",
                     4, 4},
            Scenario{"BigEightLittleCard", 8, false, true, Fault::None, "Check", "written OUT", 4,
                     4},
            Scenario{"WrongSize", 16, true, true, Fault::None, "Cross: " + kSize,
                     "failed: " + kSize, -1, -1, 5},
            Scenario{"MissingStrip", 8, true, true, Fault::None, "Cross: " + kMissing,
                     "failed: " + kMissing, -1, -1, 6, 2},
            Scenario{"CutPixelData", 16, false, true, Fault::None, "Cross: " + kCut,
                     "failed: " + kCut, -1, -1, 6, -1, 20},
            Scenario{"NotATiff", 8, true, true, Fault::None, "", "skipped: Not a valid TIFF file.",
                     -1, -1, 6, -1, 0, "not a tiff at all"},
            Scenario{"WriteFault", 16, false, true, Fault::WriteFault, "Cross: " + kProblem,
                     "failed: " + kProblem, 1, -1},
            Scenario{"Cancel", 8, true, false, Fault::Cancel, "", "failed: " + kProblem, 2, -1},
            Scenario{"Exception", 16, true, false, Fault::Exception,
                     "IOException: ", "failed: the card's stream closed", 2, -1}),
        ::testing::Bool()),
    [](const auto& info) {
        return std::string(std::get<0>(info.param).label) +
               (std::get<1>(info.param) ? "Window" : "CommandLine");
    });

// Where a file is expected, a named pipe, a socket or a device named like a
// TIFF is turned away at once, in each front end's words for a file that
// can't be opened (an alarm fails the test rather than let it hang).
enum class Special { Pipe, Socket, Device };

class SpecialFile : public ::testing::TestWithParam<Special> {};

TEST_P(SpecialFile, IsNeverOpened) {
    BatchRig rig(Card(8, true));
    const std::string path = rig.SubjectPath("x.tif"), output = rig.OutputPath("a_eq.tif");
    std::vector<int> sockets;
    for (const std::string& at : {path, output}) {
        if (GetParam() == Special::Pipe) {
            ASSERT_EQ(::mkfifo(at.c_str(), 0600), 0);
        }
        // two devices, so that the output doesn't resolve to the subject
        if (GetParam() == Special::Device)
            std::filesystem::create_symlink(at == path ? "/dev/zero" : "/dev/full", at);
        if (GetParam() != Special::Socket) continue;
        sockaddr_un address{AF_UNIX, {}};
        at.copy(address.sun_path, sizeof address.sun_path - 1);
        sockets.push_back(::socket(AF_UNIX, SOCK_STREAM, 0));
        ASSERT_EQ(::bind(sockets.back(), reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    }
    rig.host.rows.push_back({true, "x.tif"});
    rig.AddSubject("a.tif", BuildTiff(Scene(8, true)).bytes);
    rig.host.dialogs.saveAnswers = {output};
    ::alarm(60);

    WindowState state;
    FakeWhiteCardHost white;
    white.dialogs.openAnswers.push_back(path);
    OpenWhiteCard(state, white);
    EXPECT_EQ(white.dialogs.messages, std::vector<std::string>{"Error: "});
    const CliRun analyze = Analyze({path}), info = Info({path});
    EXPECT_EQ(analyze.code + info.code, 4);
    EXPECT_EQ(analyze.err + info.err, "Error: The white card file can't be opened: " + path +
                                          "\nError: The file can't be opened: " + path + "\n");
    rig.Press();  // x.tif ends the batch
    EXPECT_EQ(rig.host.dialogs.messages, std::vector<std::string>{"Nil Object: "});
    rig.host.rows.erase(rig.host.rows.begin());
    rig.Press();  // a.tif's output is the special file
    EXPECT_TRUE(rig.host.marks.empty());
    const CliRun run = Equalize({"--white", rig.dir / "white.tif", "--output", rig.dir / "out",
                                 "--overwrite", path, rig.SubjectPath("a.tif")});
    EXPECT_EQ(run.code, 1);
    EXPECT_EQ(run.out,
              "x.tif: skipped: the file can't be opened\na.tif: failed: " + kProblem + "\n");
    ::alarm(0);
    for (const int fd : sockets) ::close(fd);
}

INSTANTIATE_TEST_SUITE_P(Kinds, SpecialFile,
                         ::testing::Values(Special::Pipe, Special::Socket, Special::Device));
}  // namespace

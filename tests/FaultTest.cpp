// What the outside world does to a run: writes that really fail (a file size
// limit in a child process, a small file system in memory that fills up, one
// that takes no writes, a place that doesn't exist), a stop or a signal in
// the middle, and special files where files are expected. Each file that
// fails ends with Cross and the write problem's words (a failed line in
// brisavane-cli), the next one is still written, and no subject changes.
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>

#include <optional>

#include "BatchRig.h"
#include "ChildProcess.h"
#include "CliRun.h"
#include "FakeWhiteCardHost.h"
#include "FileHashes.h"
#include "ReferenceEqualize.h"
#include "TmpfsMount.h"
#include "WhiteCardWorkflow.h"

using namespace testing_tiff;

namespace {
namespace fs = std::filesystem;
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

// A small subject, a big one and a small one again, written where writes
// fail: a file size limit in the big one's profile (its copy fails before the
// pixel rows) or before its trailer (the copy holds every row, only its tail
// is lost), a small file system that the big one's copy fills, or one that
// takes no writes at all. The window's batch keeps what a failed file left
// (as after any write error), so a full disk stays full for the file after
// it; brisavane-cli removes its temporary, so the file after it fits again.
// Both run in a child, where the limit stays; the command line one job at a
// time, since two copies in work at once on a disk this small would, by
// chance, leave no room for each other.
TEST(WritesThatFail, CrossOrFailedLineThenTheNextFile) {
    const TiffSpec small = Subject(0), big = Subject(60000, false);
    const BuiltTiff built = BuildTiff(big);
    const struct {
        const char* label;
        rlim_t limit;
        const char* disk;  // mount options of a file system over the output folder
        bool readOnly;
        const char* marks;  // of the three subjects in the window, then the command line
    } cases[] = {{"LimitInTheProfile", built.imageOffset / 2, nullptr, false, "VXVVXV"},
                 {"LimitBeforeTheTrailer", built.imageOffset + built.bytesPerRow * big.height,
                  nullptr, false, "VXVVXV"},
                 {"FullDisk", RLIM_INFINITY, "size=16k", false, "VXXVXV"},
                 {"ReadOnlyDisk", RLIM_INFINITY, "size=16k", true, "XXXXXX"}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.label);
        BatchRig rig;
        for (const auto& [name, image] :
             {std::pair{"a_small.tif", small}, {"b_big.tif", big}, {"c_small.tif", small}})
            rig.AddSubject(name, BuildTiff(image).bytes);
        const auto subjects = HashFolder(rig.dir.Path() / "subjects");
        std::optional<TmpfsMount> disk;
        if (c.disk) disk.emplace(rig.dir.Path() / "out", c.disk, c.readOnly);
        if (disk && !disk->Mounted()) GTEST_SKIP() << "mounting a tmpfs needs root";
        const ChildResult window = InChild([&] {
            LimitFileSize(c.limit);
            rig.Press();
            return Outcome(rig);
        });
        std::string marks, lines;
        for (int k = 0; k < 3; ++k) {
            const bool crossed = c.marks[k] == 'X', failed = c.marks[3 + k] == 'X';
            const std::string name = std::string(k == 1 ? "b_big" : k ? "c_small" : "a_small");
            marks += std::to_string(k) + (crossed ? " Cross " + std::string(kProblem) : " Check ") +
                     "\n";
            lines += name + ".tif: " +
                     (failed ? "failed: " + std::string(kProblem)
                             : "written " + rig.OutputPath(name + "_eq.tif")) +
                     "\n";
        }
        EXPECT_EQ(window.out, marks);
        EXPECT_EQ(ReadFile(rig.OutputPath("a_small_eq.tif")), c.readOnly ? "" : Expected(small));
        for (const auto& entry : fs::directory_iterator(rig.dir.Path() / "out"))
            fs::remove(entry.path());

        const ChildResult run =
            RunProgram({BRISAVANE_CLI, "equalize", "--jobs", "1", "--white", rig.dir / "white.tif",
                        "--output", rig.dir / "out", rig.dir / "subjects"},
                       [&] { LimitProgramFileSize(c.limit, rig.dir / "counts"); });
        EXPECT_EQ(run.exitCode, 1);
        EXPECT_EQ(run.out, lines);
        EXPECT_EQ(ReadFile(rig.OutputPath("c_small_eq.tif")), c.readOnly ? "" : Expected(small));
        EXPECT_EQ(HashFolder(rig.dir.Path() / "out").size(), c.readOnly ? 0u : 2u);
        EXPECT_EQ(HashFolder(rig.dir.Path() / "subjects"), subjects);
    }
}

// brisavane-cli writing six 9 MB subjects into their own folder (so many that
// a busy machine can't finish them before the signal), ended by a signal once
// the first file is written: at once, or, settled, once the next file's
// hidden output holds data, so that it is known to the signal's handler.
// Gives what is left beyond the subjects and whole outputs.
std::string LeftAfter(int signal, bool named, bool settled) {
    constexpr std::uint32_t kWidth = 1500, kHeight = 1000;
    TiffSpec card = SpecOf(kWidth, kHeight, 16, false);
    card.pixel = [](std::uint32_t x, std::uint32_t y) {
        return Rgb{5, static_cast<std::uint16_t>(60000 - (x * 7 + y * 11) % 20000), 5};
    };
    const auto subject = [&](const std::string& name) {
        TiffSpec s = Scene(16, name != "b.tif");
        s.width = kWidth, s.height = kHeight;
        return s;
    };
    BatchRig rig(card);
    std::vector<std::string> argv = {
        BRISAVANE_CLI, "equalize",           "--white", rig.dir / "white.tif",
        "--output",    rig.dir / "subjects", "--jobs",  settled ? "1" : "2"};
    for (const std::string name : {"a.tif", "b.tif", "c.tif", "d.tif", "e.tif", "f.tif"}) {
        rig.AddSubject(name, BuildTiff(subject(name)).bytes);
        argv.push_back(rig.SubjectPath(name));
    }
    const fs::path folder = rig.dir.Path() / "subjects";
    const auto before = HashFolder(folder);
    int out = -1;
    const pid_t pid = StartProgram(argv, out, [named] {
        if (!named) return;
        ::setenv("LD_PRELOAD", BRISAVANE_NO_TMPFILE, 1);
        ::setenv("ASAN_OPTIONS", "verify_asan_link_order=0", 1);
    });
    char first = 0;
    while (::read(out, &first, 1) == 1 && first != '\n') {
    }
    for (int waited = 0; settled && named && waited < 20000; ++waited) {
        bool holds = false;
        for (const auto& entry : fs::directory_iterator(folder))
            holds |= entry.path().string().ends_with(".part") && entry.file_size() > 0;
        if (holds) break;
        ::usleep(1000);
    }
    ::kill(pid, signal);
    std::string left = WaitForChild(pid, out).exitCode == -1 ? "" : "the program ended first; ";
    for (const auto& [name, hash] : HashFolder(folder)) {
        const std::string of = name.substr(0, name.find("_eq.tif")) + ".tif";
        if (before.contains(name)
                ? hash != before.at(name)
                : !name.ends_with("_eq.tif") ||
                      ReadFile(folder / name) != ExpectedOutput(subject(of), card, 60000.0))
            left += name + " ";
    }
    return left;
}

// Only subjects and whole outputs stay. On a file system that makes files
// without names even SIGKILL leaves nothing; where a file system can't (stood
// for by a library that refuses such files), the hidden files go with
// SIGTERM and SIGINT.
TEST(NothingLost, OnlySubjectsAndWholeOutputsStayAfterASignal) {
    EXPECT_EQ(LeftAfter(SIGKILL, false, false), "");
    EXPECT_EQ(LeftAfter(SIGTERM, true, true), "");
    EXPECT_EQ(LeftAfter(SIGINT, true, true), "");
}

// Where a file system can't make files without names, a SIGTERM that arrives
// as a job begins its next file leaves nothing either: the hidden output is
// known to the handler before it exists. Signals sent as the first file is
// written hit that moment about one run in eight, so a few runs hold it.
TEST(NothingLost, NoHiddenOutputLeftBySignalAsAFileBegins) {
    for (int run = 0; run < 8; ++run) EXPECT_EQ(LeftAfter(SIGTERM, true, false), "") << run;
}

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
            fs::create_symlink(at == path ? "/dev/zero" : "/dev/full", at);
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
    EXPECT_EQ(run.out, "x.tif: skipped: the file can't be opened\na.tif: failed: " +
                           std::string(kProblem) + "\n");
    ::alarm(0);
    for (const int fd : sockets) ::close(fd);
}

INSTANTIATE_TEST_SUITE_P(Kinds, SpecialFile,
                         ::testing::Values(Special::Pipe, Special::Socket, Special::Device));
}  // namespace

#include <gtest/gtest.h>

#include <chrono>
#include <thread>

#include "BatchRig.h"
#include "ChildProcess.h"
#include "FileHashes.h"
#include "ReferenceEqualize.h"

using namespace testing_tiff;

// Every subject keeps every byte, whatever the batch meets: an output folder
// of its own or the subjects' own folder, a cancel, a save dialog cancelled
// mid-batch, and brisavane-cli killed in the middle of a file.

namespace {
TiffSpec Card(std::uint32_t width = 6, std::uint32_t height = 4) {
    TiffSpec s = SpecOf(width, height, 16, false);
    s.pixel = [](std::uint32_t x, std::uint32_t y) {
        return Rgb{5, static_cast<std::uint16_t>(60000 - (x * 7 + y * 11) % 20000), 5};
    };
    return s;
}

TiffSpec Subject(int bits, bool little, std::uint32_t width = 6, std::uint32_t height = 4) {
    TiffSpec s = Scene(bits, little);
    s.width = width;
    s.height = height;
    return s;
}

// Subjects of both byte orders (one whose name already ends in _eq), and ones
// that are refused (an 8-bit one against the 16-bit card, one of another
// size, one cut short) or passed over.
void AddSubjects(BatchRig& rig) {
    rig.AddSubject("a.tif", BuildTiff(Subject(16, true)).bytes);
    rig.AddSubject("b.TIF", BuildTiff(Subject(8, false)).bytes);
    rig.AddSubject("c_eq.tif", BuildTiff(Subject(16, false)).bytes);
    rig.AddSubject("d.tif", BuildTiff(Subject(16, false, 5)).bytes);  // other size
    TiffSpec cut = Subject(8, false);
    cut.trailer.clear();
    cut.dropTailBytes = 2;
    rig.AddSubject("e.tif", BuildTiff(cut).bytes);
    rig.AddSubject("f.tif", "not an image");
    rig.AddSubject("g.tif", BuildTiff(Subject(8, false)).bytes, false);
}

enum class Ending { Completed, Cancelled, SaveDialogCancelled };

// Outputs in a folder of their own or in the subjects' folder, each way a
// batch can end.
class NothingLost : public ::testing::TestWithParam<std::tuple<bool, Ending>> {};

TEST_P(NothingLost, SubjectsKeepEveryByte) {
    const auto [sameFolder, ending] = GetParam();
    BatchRig rig(Card());
    AddSubjects(rig);
    const std::filesystem::path subjects = rig.dir.Path() / "subjects";
    const std::filesystem::path outputs = sameFolder ? subjects : rig.dir.Path() / "out";
    if (ending == Ending::Cancelled) rig.host.cancelAfterPumps = 4 + 2;  // c_eq.tif, third row
    if (ending == Ending::SaveDialogCancelled) WriteFile((outputs / "c_eq_eq.tif").string(), "old");
    const auto before = HashFolder(subjects);

    rig.Press(outputs);

    auto after = HashFolder(subjects);
    if (sameFolder)
        std::erase_if(after, [&](const auto& file) { return !before.contains(file.first); });
    EXPECT_EQ(after, before);
    const std::string a = ReadFile((outputs / "a_eq.tif").string());
    EXPECT_EQ(a, ExpectedOutput(Subject(16, true), Card(), Card().pixel(0, 0).g));
    EXPECT_EQ(rig.host.marks.count(2) == 1, ending == Ending::Completed);
    // The save dialog's cancel ends the batch through the nil object handler,
    // with an empty errstr after a good open, and leaves the old output.
    if (ending == Ending::SaveDialogCancelled) {
        EXPECT_EQ(rig.host.dialogs.messages, std::vector<std::string>{"Nil Object: "});
        EXPECT_EQ(ReadFile((outputs / "c_eq_eq.tif").string()), "old");
    }
}

const char* const kEndingNames[] = {"", "Cancelled", "SaveDialogCancelled"};
INSTANTIATE_TEST_SUITE_P(Endings, NothingLost,
                         ::testing::Combine(::testing::Bool(),
                                            ::testing::Values(Ending::Completed, Ending::Cancelled,
                                                              Ending::SaveDialogCancelled)),
                         [](const auto& info) {
                             return std::string(std::get<0>(info.param) ? "SubjectFolder"
                                                                        : "OwnFolder") +
                                    kEndingNames[int(std::get<1>(info.param))];
                         });

// brisavane-cli writing into the subjects' own folder, ended by a signal as
// soon as one file is done and others are in work: the subjects are whole, a
// file under an output's final name is a whole output, and nothing else is
// left. On a file system that makes files without names even SIGKILL leaves
// nothing; where a file system can't (stood for by a library that refuses
// such files), the hidden files go with SIGTERM and SIGINT.
TEST(NothingLostOnSignal, OnlySubjectsAndWholeOutputsStay) {
    constexpr std::uint32_t kWidth = 1500, kHeight = 1000;  // 9 MB a file
    const struct {
        int signal;
        bool named;
    } endings[] = {{SIGKILL, false}, {SIGTERM, true}, {SIGINT, true}};
    for (const auto& [signal, named] : endings) {
        SCOPED_TRACE(signal);
        BatchRig rig(Card(kWidth, kHeight));
        const std::vector<std::string> names = {"a.tif", "b.tif", "c.tif", "d.tif"};
        for (const std::string& name : names)
            rig.AddSubject(name, BuildTiff(Subject(16, name != "b.tif", kWidth, kHeight)).bytes);
        const std::filesystem::path folder = rig.dir.Path() / "subjects";
        const auto before = HashFolder(folder);
        std::vector<std::string> argv = {
            BRISAVANE_CLI, "equalize",      "--white", rig.dir / "white.tif",
            "--output",    folder.string(), "--jobs",  "2"};
        for (const std::string& name : names) argv.push_back(rig.SubjectPath(name));
        int out = -1;
        const pid_t pid = StartProgram(argv, out, [named] {
            if (!named) return;
            ::setenv("LD_PRELOAD", BRISAVANE_NO_TMPFILE, 1);
            ::setenv("ASAN_OPTIONS", "verify_asan_link_order=0", 1);
        });
        ASSERT_GT(pid, 0);
        char first = 0;
        while (::read(out, &first, 1) == 1 && first != '\n') {
        }
        ::kill(pid, signal);
        const ChildResult ended = WaitForChild(pid, out);
        ASSERT_EQ(ended.exitCode, -1) << "the program ended before the signal";
        for (const auto& [name, hash] : HashFolder(folder)) {
            if (before.count(name)) {
                EXPECT_EQ(hash, before.at(name)) << name;
                continue;
            }
            ASSERT_TRUE(name.ends_with("_eq.tif")) << name << " was left";
            const std::string subject = name.substr(0, name.find("_eq.tif")) + ".tif";
            EXPECT_EQ(ReadFile((folder / name).string()),
                      ExpectedOutput(Subject(16, subject != "b.tif", kWidth, kHeight),
                                     Card(kWidth, kHeight), 60000.0))
                << name;
        }
    }
}
}  // namespace

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

// Subjects of both byte orders and depths (an 8-bit one against the 16-bit
// card; one whose name already ends in _eq), and ones that are refused or
// passed over.
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
    if (ending == Ending::Cancelled) rig.host.cancelAfterPumps = 4 + 2;  // b.TIF, third row
    if (ending == Ending::SaveDialogCancelled) WriteFile((outputs / "b_eq.tif").string(), "old");
    const auto before = HashFolder(subjects);

    rig.Press(outputs);

    auto after = HashFolder(subjects);
    if (sameFolder)
        std::erase_if(after, [&](const auto& file) { return !before.contains(file.first); });
    EXPECT_EQ(after, before);
    const std::string a = ReadFile((outputs / "a_eq.tif").string());
    EXPECT_EQ(a, ExpectedOutput(Subject(16, true), Card(), Card().pixel(0, 0).g));
    const bool completed = ending == Ending::Completed;
    EXPECT_EQ(std::filesystem::exists(outputs / "c_eq_eq.tif"), completed);
    EXPECT_EQ(rig.host.marks.count(2) == 1, completed);
    // The save dialog's cancel ends the batch through the nil object handler,
    // with an empty errstr after a good open.
    if (ending == Ending::SaveDialogCancelled) {
        EXPECT_EQ(rig.host.dialogs.messages, std::vector<std::string>{"Nil Object: "});
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

// brisavane-cli writing into the subjects' own folder, killed as soon as a
// file is in work: the subjects are whole, a file under an output's final
// name is a whole output, and the file in work has none.
TEST(NothingLostOnKill, KilledMidFile) {
    constexpr std::uint32_t kWidth = 1500, kHeight = 1000;  // 9 MB a file
    BatchRig rig(Card(kWidth, kHeight));
    const std::vector<std::string> names = {"a.tif", "b.tif", "c.tif"};
    for (const std::string& name : names)
        rig.AddSubject(name, BuildTiff(Subject(16, name != "b.tif", kWidth, kHeight)).bytes);
    const std::filesystem::path folder = rig.dir.Path() / "subjects";
    const auto before = HashFolder(folder);

    std::vector<std::string> argv = {BRISAVANE_CLI,         "equalize", "--white",
                                     rig.dir / "white.tif", "--output", folder.string()};
    for (const std::string& name : names) argv.push_back(rig.SubjectPath(name));
    int out = -1;
    const pid_t pid = StartProgram(argv, out);
    ASSERT_GT(pid, 0);
    const auto inWork = [&] {
        for (const auto& entry : std::filesystem::directory_iterator(folder))
            if (entry.path().extension() == ".part") return true;
        return false;
    };
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(60);
    while (!inWork() && std::chrono::steady_clock::now() < deadline)
        std::this_thread::sleep_for(std::chrono::microseconds(200));
    ::kill(pid, SIGKILL);
    const ChildResult killed = WaitForChild(pid, out);
    ASSERT_EQ(killed.exitCode, -1) << "the program ended before it was killed";

    int leftInWork = 0;
    for (const auto& [name, hash] : HashFolder(folder)) {
        if (before.count(name)) {
            EXPECT_EQ(hash, before.at(name)) << name;
        } else if (name.ends_with(".part")) {
            ++leftInWork;
            const std::string final = name.substr(1, name.find("_eq.tif") + 6);
            EXPECT_FALSE(std::filesystem::exists(folder / final)) << final;
        } else {
            const std::string subject = name.substr(0, name.find("_eq.tif")) + ".tif";
            EXPECT_EQ(ReadFile((folder / name).string()),
                      ExpectedOutput(Subject(16, subject != "b.tif", kWidth, kHeight),
                                     Card(kWidth, kHeight), 60000.0))
                << name;
        }
    }
    EXPECT_GE(leftInWork, 1);  // one for each job at work, a job a core
}
}  // namespace

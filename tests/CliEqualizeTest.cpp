#include <gtest/gtest.h>

#include <fcntl.h>

#include "BatchRig.h"
#include "ChildProcess.h"
#include "CliRun.h"
#include "FileHashes.h"
#include "ReferenceEqualize.h"

using namespace testing_tiff;

namespace {
// The white card, a subject folder and an output folder, as BatchRig lays
// them out, driven from the command line instead of the window.
struct CliRig : BatchRig {
    std::vector<std::string> Args(const std::vector<std::string>& more, const char* out = "out") {
        std::vector<std::string> args = {"--white", dir / "white.tif", "--output", dir / out};
        args.insert(args.end(), more.begin(), more.end());
        return args;
    }
    CliRun Run(const std::vector<std::string>& more, std::ostream* terminal = nullptr) {
        return Equalize(Args(more), terminal);
    }
};

// The real program on a folder: it stands for its .tif, .tiff and .jfx files
// in name order, no others and no subfolders, each with its line; exit 0 and
// a quiet stderr when it is not a terminal.
TEST(CliEqualize, FolderLinesAndExitCode) {
    CliRig rig;
    rig.AddSubject("b.TIFF", BuildTiff(Scene(16, false)).bytes);
    rig.AddSubject("a.tif", BuildTiff(Scene()).bytes);
    rig.AddSubject("c.jfx", BuildTiff(Scene()).bytes);
    rig.AddSubject("e.png", BuildTiff(Scene()).bytes);
    std::filesystem::create_directories(rig.dir.Path() / "subjects" / "f.tif");
    std::vector<std::string> argv = rig.Args({rig.dir / "subjects"});
    argv.insert(argv.begin(), {BRISAVANE_CLI, "equalize"});
    const std::string err = rig.dir / "err";
    const ChildResult run = RunProgram(
        argv, [&] { ::dup2(::open(err.c_str(), O_WRONLY | O_CREAT, 0600), STDERR_FILENO); });
    EXPECT_EQ(run.out, "a.tif: written " + rig.OutputPath("a_eq.tif") + "\nb.TIFF: written " +
                           rig.OutputPath("b_eq.tif") + "\nc.jfx: written " +
                           rig.OutputPath("c.jfx_eq.tif") + "\n");
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(ReadFile(err), "");
    EXPECT_EQ(HashFolder(rig.dir.Path() / "out").size(), 3u);  // the outputs and nothing else
    const CliRun none = Equalize(rig.Args({rig.dir / "subjects"}, "none"));
    EXPECT_EQ(none.code, 2);
    EXPECT_TRUE(none.err.starts_with("brisavane-cli equalize: the output folder doesn't exist"));
}

TEST(CliEqualize, ExistingOutputNeedsOverwrite) {
    CliRig rig;
    rig.AddSubject("a.tif", BuildTiff(Scene()).bytes);
    WriteFile(rig.OutputPath("a_eq.tif"), "keep me");
    CliRun o = rig.Run({rig.SubjectPath("a.tif")});
    EXPECT_EQ(o.code, 1);
    EXPECT_EQ(o.out, "a.tif: skipped: " + rig.OutputPath("a_eq.tif") +
                         " exists (--overwrite replaces it)\n");
    EXPECT_EQ(ReadFile(rig.OutputPath("a_eq.tif")), "keep me");

    o = rig.Run({"--overwrite", rig.SubjectPath("a.tif")});
    EXPECT_EQ(o.code, 0);
    EXPECT_EQ(ReadFile(rig.OutputPath("a_eq.tif")),
              ExpectedOutput(Scene(), Card(), FullTarget(Card())));
}

// Several jobs: the same files and the same lines in the same order; the
// amount is a percentage, as in the window; progress goes to a terminal only.
TEST(CliEqualize, JobsKeepOrderAndBytes) {
    CliRig rig;
    std::string expected;
    for (int k = 0; k < 7; ++k) {
        const std::string name = "s" + std::to_string(k);
        rig.AddSubject(name + ".tif", BuildTiff(Scene(16, k % 2 == 0)).bytes);
        expected += name + ".tif: written " + rig.OutputPath(name + "_eq.tif") + "\n";
    }
    rig.AddSubject("s0.tiff", BuildTiff(Scene()).bytes);  // same output name as s0.tif
    expected.insert(expected.find("s1.tif"), "s0.tiff: skipped: s0.tif has the same output name\n");
    std::ostringstream terminal;
    const CliRun o = rig.Run({"--jobs", "3", "--amount", "37.5", rig.dir / "subjects"}, &terminal);
    EXPECT_EQ(o.out, expected);
    EXPECT_EQ(o.code, 1);
    EXPECT_EQ(o.err, "");
    EXPECT_NE(terminal.str().find(".tif: row "), std::string::npos);
    const double target = ExpectedTarget(FullTarget(Card()), Card().pixel(5, 3).g, 0.375);
    for (int k = 0; k < 7; ++k)
        EXPECT_EQ(ReadFile(rig.OutputPath("s" + std::to_string(k) + "_eq.tif")),
                  ExpectedOutput(Scene(16, k % 2 == 0), Card(), target));
}

// Writing into the subjects' own folder: an output whose name is another
// subject's is refused, so no subject is ever replaced, even with --overwrite.
TEST(CliEqualize, NeverReplacesASubject) {
    CliRig rig;
    rig.AddSubject("a.tif", BuildTiff(Scene()).bytes);
    rig.AddSubject("a_eq.tif", "a subject that happens to carry the name");
    const CliRun o = Equalize(rig.Args({"--overwrite", rig.dir / "subjects"}, "subjects"));
    EXPECT_EQ(o.code, 1);
    EXPECT_EQ(o.out.substr(0, o.out.find('\n')),
              "a.tif: skipped: its output would replace the subject a_eq.tif");
    EXPECT_EQ(ReadFile(rig.SubjectPath("a_eq.tif")), "a subject that happens to carry the name");
}
}  // namespace

// Measures the whole job in the desktop window against brisavane-cli equalize
// on the same 6000 x 4000 white card and subject, in 16-bit and 8-bit:
//
//     build/bench/brisavane-window-bench [build/cli/brisavane-cli] [runs]
//
// The window is the real one, on Qt's offscreen platform unless the
// environment asks for another, with its dialogs answered by prepared paths.
// Its time runs from the press of Open to the end of Process: the card's scan,
// preview and tone map, the subject list, the subject preview and the batch
// with its per-row progress and event pump. The command line's run holds the
// card's scan and the batch. Every figure is the median of the runs, with the
// page cache warm; the command line and the window take turns.

#include <QCheckBox>
#include <QPushButton>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "App.h"
#include "BenchSupport.h"
#include "FakeDialogs.h"
#include "FileTypes.h"
#include "WinEqualize.h"

namespace fs = std::filesystem;
using namespace bench;
using Clock = std::chrono::steady_clock;

namespace {
struct WindowRun {
    double whole;    // from Open to the end of Process
    double process;  // Process alone
};

double Since(Clock::time_point start) {
    return std::chrono::duration<double>(Clock::now() - start).count();
}

template <class Button>
void Press(WinEqualize& win, const char* name) {
    win.findChild<Button*>(name)->click();
}

// One whole job in a fresh window, as the user does it.
WindowRun RunWindow(const fs::path& white, const fs::path& subjects, const fs::path& out,
                    bool previews) {
    FakeDialogs dialogs;
    WinEqualize win(new MenuBar1(), &dialogs);
    win.show();
    if (!previews) Press<QCheckBox>(win, "ChkShowPreviews");
    QCoreApplication::processEvents();
    const Clock::time_point start = Clock::now();
    dialogs.openAnswers.push_back(white);
    Press<QPushButton>(win, "BtnWhite");
    dialogs.folderAnswers.push_back(subjects);
    Press<QPushButton>(win, "BtnSubject");
    Press<QCheckBox>(win, "ChkSelectAll");
    dialogs.folderAnswers.push_back(out);
    const Clock::time_point process = Clock::now();
    Press<QPushButton>(win, "BtnProcess");
    const WindowRun run{Since(start), Since(process)};
    if (!dialogs.messages.empty() || !fs::exists(out / "subject0_eq.tif")) {
        std::fprintf(stderr, "the window's batch wrote no output\n");
        std::exit(1);
    }
    return run;
}

// A whole job in a fresh window as one timed job; the time of Process alone
// is kept aside in `process`.
Job WindowJob(const fs::path& white, const fs::path& subjects, const fs::path& out, bool previews,
              std::vector<double>& process) {
    return [=, &process] {
        Empty(out);
        Warm({white, subjects / "subject0.tif"});
        const WindowRun r = RunWindow(white, subjects, out, previews);
        process.push_back(r.process);
        return Run{r.whole, 0};
    };
}

void Bench(const std::string& cli, const fs::path& dir, int bits, int runs) {
    const fs::path white = dir / ("white" + std::to_string(bits) + ".tif");
    const fs::path subjects = dir / ("subjects" + std::to_string(bits));
    const fs::path out = dir / "out";
    fs::create_directories(subjects);
    WriteWhiteCard(white, bits);
    WriteSubject(subjects / "subject0.tif", bits);

    std::vector<double> shownProcess, bareProcess;
    const std::vector<Run> inTurn =
        MeasureInTurn({Program({cli, "equalize", "--white", white.string(), "--output",
                                out.string(), (subjects / "subject0.tif").string()},
                               [&] {
                                   Empty(out);
                                   Warm({white, subjects / "subject0.tif"});
                               }),
                       WindowJob(white, subjects, out, true, shownProcess),
                       WindowJob(white, subjects, out, false, bareProcess)},
                      runs);
    const Run &command = inTurn[0], &shown = inTurn[1], &bare = inTurn[2];
    std::printf("%d-bit, %u x %u, median of %d runs\n", bits, kWidth, kHeight, runs);
    std::printf("  brisavane-cli equalize, one subject     %7.3f s\n", command.seconds);
    std::printf("  window, Open to the end of Process      %7.3f s  %5.2f x cli  (target <= 1.3)\n",
                shown.seconds, shown.seconds / command.seconds);
    std::printf("  window, Process alone                   %7.3f s\n", Median(shownProcess));
    std::printf(
        "  window with previews off                %7.3f s  %5.2f x cli  (Process %.3f s)\n",
        bare.seconds, bare.seconds / command.seconds, Median(bareProcess));
}
}  // namespace

int main(int argc, char** argv) {
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
    FileTypes::Instance();
    App app(argc, argv);
    return RunInBothDepths(argc, argv, Bench);
}

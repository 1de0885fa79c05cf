// Measures the whole job in the desktop window against brisavane-cli equalize
// on the same 6000 x 4000 white card and subject, in 16-bit and 8-bit:
//
//     build/bench/brisavane-window-bench [build/cli/brisavane-cli] [runs] [folder]
//
// The window is the real one, on Qt's offscreen platform unless the
// environment asks for another, with its dialogs answered by prepared paths.
// Its time runs from the press of Open to the end of Process: the card's scan,
// preview and tone map, the subject list, the subject preview and the batch
// with its per-row progress and event pump. The command line's run holds the
// card's scan and the batch. Every figure is the median of the runs, with the
// page cache warm; the command line and the window take turns.

#include <sys/resource.h>

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
    double whole;         // from Open to the end of Process
    double process;       // Process alone
    double user, system;  // CPU time from Open to the end of Process
};

double Since(Clock::time_point start) {
    return std::chrono::duration<double>(Clock::now() - start).count();
}

template <class Button>
void Press(WinEqualize& win, const char* name) {
    win.findChild<Button*>(name)->click();
}

// The CPU time this process has used so far, in itself and in the kernel.
std::pair<double, double> CpuSoFar() {
    struct rusage usage {};
    ::getrusage(RUSAGE_SELF, &usage);
    const auto time = [](const timeval& t) { return t.tv_sec + t.tv_usec / 1e6; };
    return {time(usage.ru_utime), time(usage.ru_stime)};
}

// One whole job in a fresh window, as the user does it; making, showing and
// closing the window count in neither the wall nor the CPU time.
WindowRun RunWindow(const fs::path& white, const fs::path& subjects, const fs::path& out,
                    bool previews) {
    FakeDialogs dialogs;
    WinEqualize win(new MenuBar1(), &dialogs);
    win.show();
    if (!previews) Press<QCheckBox>(win, "ChkShowPreviews");
    QCoreApplication::processEvents();
    const Clock::time_point start = Clock::now();
    const auto [user, system] = CpuSoFar();
    dialogs.openAnswers.push_back(white);
    Press<QPushButton>(win, "BtnWhite");
    dialogs.folderAnswers.push_back(subjects);
    Press<QPushButton>(win, "BtnSubject");
    Press<QCheckBox>(win, "ChkSelectAll");
    dialogs.folderAnswers.push_back(out);
    const Clock::time_point process = Clock::now();
    Press<QPushButton>(win, "BtnProcess");
    const auto [userAfter, systemAfter] = CpuSoFar();
    const WindowRun run{Since(start), Since(process), userAfter - user, systemAfter - system};
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
        return Run{r.whole, 0, r.user, r.system};
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
    std::printf("%d-bit, %u x %u, median of %d rounds\n", bits, kWidth, kHeight, runs);
    Print("brisavane-cli equalize, one subject", command);
    Print("window, Open to the end of Process", shown);
    Print("window with previews off", bare);
    std::printf("  window, Process alone                    %7.3f s  (previews off %.3f s)\n",
                Median(shownProcess), Median(bareProcess));
    std::printf(
        "  5. window / command line   %5.2f   (target <= 1.2; previews off %.2f;"
        " CPU %.2f x, previews off %.2f x)\n",
        shown.seconds / command.seconds, bare.seconds / command.seconds,
        CpuSeconds(shown) / CpuSeconds(command), CpuSeconds(bare) / CpuSeconds(command));
}
}  // namespace

int main(int argc, char** argv) {
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
    FileTypes::Instance();
    App app(argc, argv);
    return RunInBothDepths(argc, argv, Bench);
}

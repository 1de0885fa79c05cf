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
#include <QTemporaryDir>
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

// The window against the command line on one subject: previews on and off.
void Compare(const char* what, const std::vector<std::string>& clis, const fs::path& white,
             const fs::path& subjects, const fs::path& subject, const fs::path& out, int runs) {
    std::vector<double> shownProcess, bareProcess;
    std::vector<Job> jobs = {WindowJob(white, subjects, out, true, shownProcess),
                             WindowJob(white, subjects, out, false, bareProcess)};
    for (const std::string& cli : clis)
        jobs.push_back(Program({cli, "equalize", "--white", white.string(), "--output",
                                out.string(), subject.string()},
                               [&] {
                                   Empty(out);
                                   Warm({white, subject});
                               }));
    const std::vector<Run> inTurn = MeasureInTurn(jobs, runs);
    const Run &shown = inTurn[0], &bare = inTurn[1], &command = inTurn[2];
    std::printf("%s, median of %d rounds\n", what, runs);
    for (std::size_t k = 0; k < clis.size(); ++k)
        Print((std::string(Who(k)) + "brisavane-cli equalize, one subject").c_str(), inTurn[2 + k]);
    Print("window, Open to the end of Process", shown);
    Print("window with previews off", bare);
    std::printf("  window, Process alone                    %7.3f s  (previews off %.3f s)\n",
                Median(shownProcess), Median(bareProcess));
    std::printf(
        "  window / command line   %5.2f   (target <= 1.2; previews off %.2f;"
        " CPU %.2f x, previews off %.2f x)\n",
        shown.seconds / command.seconds, bare.seconds / command.seconds,
        CpuSeconds(shown) / CpuSeconds(command), CpuSeconds(bare) / CpuSeconds(command));
}

void Bench(const std::vector<std::string>& clis, const fs::path& dir, int bits, int runs) {
    const std::string depth = std::to_string(bits);
    const fs::path white = dir / ("white" + depth + ".tif");
    const fs::path subjects = dir / ("subjects" + depth), lzwSubjects = dir / ("lzw" + depth);
    const fs::path out = dir / "out";
    fs::create_directories(subjects);
    fs::create_directories(lzwSubjects);
    WriteWhiteCard(white, bits);
    WriteSubject(subjects / "subject0.tif", bits);
    Execute({"/usr/bin/tiffcp", "-r", "16", "-c", "lzw:2", (subjects / "subject0.tif").string(),
             (lzwSubjects / "subject0.tif").string()});
    const std::string size = std::to_string(kWidth) + " x " + std::to_string(kHeight);
    Compare(("5. " + depth + "-bit, " + size).c_str(), clis, white, subjects,
            subjects / "subject0.tif", out, runs);
    Compare((depth + "-bit, " + size + ", the subject in LZW strips of 16 rows").c_str(), clis,
            white, lzwSubjects, lzwSubjects / "subject0.tif", out, runs);
}
}  // namespace

int main(int argc, char** argv) {
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
    // The window keeps nothing of the user's sessions, nor leaves anything in them.
    const QTemporaryDir settings;
    qputenv("XDG_CONFIG_HOME", settings.path().toUtf8());
    FileTypes::Instance();
    App app(argc, argv);
    return RunInBothDepths(argc, argv, Bench);
}

// Measures brisavane-cli on a 6000 x 4000 white card and subject, in 16-bit and
// 8-bit, against plain file copies and reads of the same bytes:
//
//     build/bench/brisavane-bench [build/cli/brisavane-cli] [runs]
//
// Every figure is the median of the runs, with the page cache warm; the
// programs take turns, so that each ratio compares runs made side by side.

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "BenchSupport.h"

namespace fs = std::filesystem;
using namespace bench;

namespace {
// The white card is scanned once per run, so the cost of equalizing one more
// subject is told apart from the scan by running one subject and then several.
constexpr int kExtraSubjects = 3;

void Bench(const std::string& cli, const fs::path& dir, int bits, int runs) {
    const fs::path white = dir / ("white" + std::to_string(bits) + ".tif");
    const fs::path many = dir / ("subjects" + std::to_string(bits));
    const fs::path subject = many / "subject0.tif";
    const fs::path out = dir / "out";
    fs::create_directories(many);
    WriteWhiteCard(white, bits);
    WriteSubject(subject, bits);
    for (int k = 1; k <= kExtraSubjects; ++k)
        fs::copy_file(subject, many / ("subject" + std::to_string(k) + ".tif"));
    std::vector<fs::path> inputs = {white};
    for (const auto& entry : fs::directory_iterator(many)) inputs.push_back(entry.path());
    const auto prepare = [&](std::vector<fs::path> files) {
        return [&out, files] {
            Empty(out);
            Warm(files);
        };
    };
    const double megabytes = static_cast<double>(fs::file_size(subject)) / 1e6;
    const std::vector<std::string> equalize = {cli,        "equalize",  "--white", white.string(),
                                               "--output", out.string()};
    const auto with = [&](const fs::path& subjects) {
        std::vector<std::string> argv = equalize;
        argv.push_back(subjects.string());
        return argv;
    };

    const std::vector<Run> runsInTurn = MeasureInTurn(
        {Program({"/bin/cp", subject.string(), (out / "copy.tif").string()}, prepare({subject})),
         Program(with(subject), prepare({white, subject})), Program(with(many), prepare(inputs)),
         Program({cli, "analyze", white.string()}, prepare({white})),
         Program({"/bin/cat", white.string()}, prepare({white}))},
        runs);
    const Run &cp = runsInTurn[0], &one = runsInTurn[1], &all = runsInTurn[2],
              &scan = runsInTurn[3], &read = runsInTurn[4];
    const double each = (all.seconds - one.seconds) / kExtraSubjects;

    std::printf("%d-bit, %u x %u, %.1f MB a file, median of %d runs\n", bits, kWidth, kHeight,
                megabytes, runs);
    std::printf("  cp of the subject                       %7.3f s\n", cp.seconds);
    std::printf("  equalize, one subject (with card scan)  %7.3f s  %5.2f x cp\n", one.seconds,
                one.seconds / cp.seconds);
    std::printf(
        "  equalize, each further subject          %7.3f s  %5.2f x cp  (target <= 3.5)"
        "  %.0f MB/s\n",
        each, each / cp.seconds, megabytes / each);
    std::printf(
        "  white card scan (analyze)               %7.3f s  %5.2f x a plain read (%.3f s)\n",
        scan.seconds, scan.seconds / read.seconds, read.seconds);
    std::printf("  peak memory of equalize                 %7.1f MiB  (target < 16)\n",
                std::max(one.peakKiB, all.peakKiB) / 1024.0);
}
}  // namespace

int main(int argc, char** argv) {
    return RunInBothDepths(argc, argv, Bench);
}

// Measures brisavane-cli on a 6000 x 4000 white card and subject, in 16-bit and
// 8-bit, against plain file copies and reads of the same bytes:
//
//     build/bench/brisavane-bench [build/cli/brisavane-cli] [runs] [folder]
//
// Every figure is the median of the runs, with the page cache warm; the
// programs take turns, so that each ratio compares runs made side by side.
// The numbered lines are the targets. The window's (5) is brisavane-window-bench's,
// which runs next on the same arguments where it was built beside this one.

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "BenchSupport.h"
#include "support/ExifTiff.h"

namespace fs = std::filesystem;
using namespace bench;

namespace {
// The white card is scanned once per run, so the cost of equalizing one more
// subject is told apart from the scan by running one subject and then several,
// one at a time. The same several, run as brisavane-cli runs them by default
// and then held to one core, show what the second core brings.
constexpr int kSubjects = 8;

// The runs of one brisavane-cli: one subject, the 8 one at a time, by
// default and held to one core, and the card's scan.
std::vector<Job> Runs(const std::string& cli, const fs::path& white, const fs::path& many,
                      const fs::path& out, const std::vector<fs::path>& inputs) {
    const auto prepare = [&out](std::vector<fs::path> files) {
        return [&out, files] {
            Empty(out);
            Warm(files);
        };
    };
    const std::vector<std::string> equalize = {cli,        "equalize",  "--white", white.string(),
                                               "--output", out.string()};
    const auto with = [&](std::vector<std::string> front, const fs::path& subjects) {
        std::vector<std::string> argv = std::move(front);
        argv.insert(argv.end(), equalize.begin(), equalize.end());
        argv.push_back(subjects.string());
        return argv;
    };
    std::vector<std::string> oneJob = with({}, many);
    oneJob.insert(oneJob.begin() + 2, {"--jobs", "1"});
    const fs::path subject = many / "subject0.tif";
    return {Program(with({}, subject), prepare({white, subject})), Program(oneJob, prepare(inputs)),
            Program(with({}, many), prepare(inputs)),
            Program(with({"/usr/bin/taskset", "-c", "0"}, many), prepare(inputs)),
            Program({cli, "analyze", white.string()}, prepare({white}))};
}

// A card library: 4 cards (two lenses, two apertures), 2 subjects shot
// with each, the EXIF written anew around the bench's pixels.
constexpr int kLibraryCards = 4;

CardExif Shot(int card, int bits) {
    CardExif exif;
    exif.width = kWidth;
    exif.height = kHeight;
    exif.bitsPerSample = static_cast<std::uint16_t>(bits);
    exif.make = "Maker";
    exif.model = "Camera X";
    exif.hasExif = true;
    exif.lensModel = card < 2 ? "Macro 100mm" : "Zoom 24-70mm";
    exif.focalLength = card < 2 ? 100 : 50;
    exif.fNumber = card % 2 ? 11 : 8;
    return exif;
}

std::string Pixels(const fs::path& tiff) {
    TIFF* tif = TIFFOpen(tiff.c_str(), "rc");
    std::string strip(static_cast<std::size_t>(TIFFRawStripSize64(tif, 0)), '\0');
    TIFFReadRawStrip(tif, 0, strip.data(), static_cast<tmsize_t>(strip.size()));
    TIFFClose(tif);
    return strip;
}

// The library's folder and its subjects, card k's as "k-a.tif" and "k-b.tif"
// (one file, linked twice).
void WriteLibrary(const fs::path& dir, const fs::path& white, const fs::path& subject, int bits) {
    fs::create_directories(dir / "cards");
    fs::create_directories(dir / "subjects");
    ExifTiffBody card, shot;
    card.pixels = Pixels(white);
    shot.pixels = Pixels(subject);
    for (int k = 0; k < kLibraryCards; ++k) {
        const std::string name = std::to_string(k);
        WriteExifTiff(dir / "cards" / (name + ".tif"), Shot(k, bits), card);
        WriteExifTiff(dir / "subjects" / (name + "-a.tif"), Shot(k, bits), shot);
        fs::create_hard_link(dir / "subjects" / (name + "-a.tif"),
                             dir / "subjects" / (name + "-b.tif"));
    }
}

// The library's run of the 8 subjects, then the 4 runs of one card and its
// 2 subjects each, all one job at a time.
std::vector<Job> LibraryRuns(const std::string& cli, const fs::path& dir, const fs::path& out) {
    std::vector<fs::path> inputs;
    for (const auto& entry : fs::recursive_directory_iterator(dir)) inputs.push_back(entry.path());
    const auto prepare = [&out, inputs] {
        Empty(out);
        Warm(inputs);
    };
    const std::vector<std::string> equalize = {cli, "equalize", "--jobs",
                                               "1", "--output", out.string()};
    std::vector<std::string> library = equalize;
    library.insert(library.end(),
                   {"--cards", (dir / "cards").string(), (dir / "subjects").string()});
    std::vector<Job> jobs = {Program(library, prepare)};
    for (int k = 0; k < kLibraryCards; ++k) {
        const std::string name = std::to_string(k);
        std::vector<std::string> one = equalize;
        one.insert(one.end(), {"--white", (dir / "cards" / (name + ".tif")).string(),
                               (dir / "subjects" / (name + "-a.tif")).string(),
                               (dir / "subjects" / (name + "-b.tif")).string()});
        jobs.push_back(Program(one, prepare));
    }
    return jobs;
}

void ReportLibrary(const Run* r) {
    double apart = 0;
    long peak = 0;
    for (int k = 1; k <= kLibraryCards; ++k) {
        apart += r[k].seconds;
        peak = std::max(peak, r[k].peakKiB);
    }
    Print("equalize --cards, 4 cards, 8 subjects, --jobs 1", r[0]);
    std::printf(
        "  7. a library of 4 cards against 4 runs of one card  %5.2f x  (target <= 1.1; "
        "%.3f s vs %.3f s; peak %.1f vs %.1f MiB)\n",
        r[0].seconds / apart, r[0].seconds, apart, r[0].peakKiB / 1024.0, peak / 1024.0);
}

void Report(const char* who, const Run& cp, const Run& read, const Run* r, double megabytes) {
    const Run &one = r[0], &serial = r[1], &both = r[2], &pinned = r[3], &scan = r[4];
    const double each = (serial.seconds - one.seconds) / (kSubjects - 1);
    const double eachCpu = (serial.user + serial.system - one.user - one.system) / (kSubjects - 1);
    long peak = 0;
    for (const Run& run : {one, serial, both, pinned}) peak = std::max(peak, run.peakKiB);
    const char* labels[] = {"equalize, one subject", "equalize, 8 subjects, --jobs 1",
                            "equalize, 8 subjects", "equalize, 8 subjects, taskset -c 0",
                            "analyze (the white card scan)"};
    for (int k = 0; k < 5; ++k) Print((std::string(who) + labels[k]).c_str(), r[k]);
    std::printf("  %s1. each further subject   %6.3f s  %5.2f x cp   (target <= 2.0; CPU %.2f x)\n",
                who, each, each / cp.seconds, eachCpu / CpuSeconds(cp));
    std::printf(
        "  %s2. white card scan                   %5.2f x cat  (target <= 1.5; CPU %.2f x)\n", who,
        scan.seconds / read.seconds, CpuSeconds(scan) / CpuSeconds(read));
    std::printf(
        "  %s3. one subject, start and scan in    %5.2f x cp   (target <= 3.0; CPU %.2f x)\n", who,
        one.seconds / cp.seconds, CpuSeconds(one) / CpuSeconds(cp));
    std::printf("  %s4. 8 subjects, files/s on all cores  %5.2f x one core (target >= 1.7)\n", who,
                pinned.seconds / both.seconds);
    std::printf("  %s6. peak memory of equalize  %7.1f MiB       (target <= 16)\n", who,
                peak / 1024.0);
    std::printf("  %s(%.0f MB/s a further subject)\n", who, megabytes / each);
}

void Bench(const std::vector<std::string>& clis, const fs::path& dir, int bits, int runs) {
    const fs::path white = dir / ("white" + std::to_string(bits) + ".tif");
    const fs::path many = dir / ("subjects" + std::to_string(bits));
    const fs::path subject = many / "subject0.tif";
    const fs::path out = dir / "out";
    fs::create_directories(many);
    WriteWhiteCard(white, bits);
    WriteSubject(subject, bits);
    for (int k = 1; k < kSubjects; ++k)
        fs::copy_file(subject, many / ("subject" + std::to_string(k) + ".tif"));
    std::vector<fs::path> inputs = {white};
    for (const auto& entry : fs::directory_iterator(many)) inputs.push_back(entry.path());
    const auto warm = [&out](std::vector<fs::path> files) {
        return [&out, files] {
            Empty(out);
            Warm(files);
        };
    };
    std::vector<Job> jobs = {
        Program({"/bin/cp", subject.string(), (out / "copy.tif").string()}, warm({subject})),
        Program({"/bin/cat", white.string()}, warm({white}))};
    for (const std::string& cli : clis) {
        const std::vector<Job> runs = Runs(cli, white, many, out, inputs);
        jobs.insert(jobs.end(), runs.begin(), runs.end());
    }
    // Only this build knows --cards.
    const fs::path library = dir / ("library" + std::to_string(bits));
    WriteLibrary(library, white, subject, bits);
    const std::vector<Job> libraryRuns = LibraryRuns(clis[0], library, out);
    jobs.insert(jobs.end(), libraryRuns.begin(), libraryRuns.end());
    const std::vector<Run> inTurn = MeasureInTurn(jobs, runs);
    const double megabytes = static_cast<double>(fs::file_size(subject)) / 1e6;
    std::printf("%d-bit, %u x %u, %.1f MB a file, median of %d rounds\n", bits, kWidth, kHeight,
                megabytes, runs);
    Print("cp of the subject", inTurn[0]);
    Print("cat of the white card", inTurn[1]);
    for (std::size_t k = 0; k < clis.size(); ++k)
        Report(Who(k), inTurn[0], inTurn[1], &inTurn[2 + 5 * k], megabytes);
    ReportLibrary(&inTurn[2 + 5 * clis.size()]);
}
}  // namespace

int main(int argc, char** argv) {
    const int status = RunInBothDepths(argc, argv, Bench);
    const fs::path window = fs::path(argv[0]).parent_path() / "brisavane-window-bench";
    if (status != 0 || !fs::exists(window)) return status;
    std::fflush(stdout);
    ::execv(window.c_str(), argv);
    return status;
}

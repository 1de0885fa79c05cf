// brisavane-cli's own part: its options and the words of each refusal, its
// result lines, JSON objects and exit codes, its progress line and the
// figures and pictures analyze prints. What it equalizes is the engine's
// (EngineTest).
#include <gtest/gtest.h>

#include <fcntl.h>

#include <fstream>
#include <nlohmann/json.hpp>

#include "BatchRig.h"
#include "ChildProcess.h"
#include "CliRun.h"
#include "CommandLine.h"
#include "FileHashes.h"
#include "JsonResults.h"
#include "LibtiffFiles.h"
#include "OutputFileName.h"
#include "PngDecode.h"
#include "ProgressLine.h"
#include "ReferenceEqualize.h"
#include "Version.h"

using namespace testing_tiff;
using nlohmann::json;

namespace {
namespace fs = std::filesystem;
const std::string kWhiteCard = std::string(BRISAVANE_SAMPLES) + "/white_card.tif";
#define EQUALIZE "equalize --white @empty.tif --output @ "
const std::string kNoPixels = "Error: The white card image has no pixels: 0 x 0 pixels\n";

// Help and version go to stdout with exit 0. A refusal exits 2 with nothing on
// stdout and stderr starting with its words; after "brisavane-cli ..." words a
// usage line follows. An @ at the end of the words stands for the last argument.
TEST(CliWords, HelpOrRefusal) {
    TempFolder folder;
    std::ofstream(folder / "empty.tif") << std::string("II*\0\x08\0\0\0", 8);
    std::ofstream(folder / "text.tif") << "plain words, no image";
    LibtiffImage rgb = PatternImage(2, 2, 8);
    rgb.profile = PatternBytes(333);
    rgb.bigEndian = true;
    WriteWithLibtiff(folder / "rgb.tif", rgb);
    const auto before = FileBytes(folder / "rgb.tif");
    const std::tuple<std::string, int, std::string, std::string> kRows[] = {
        // words, exit code, what stdout holds, how stderr starts
        {"--help", 0, "\n  equalize ", ""},
        {"--version", 0, std::string("brisavane-cli ") + kBrisavaneVersion, ""},
        {"equalize --help", 0, "  --skip-existing ", ""},
        {"info @rgb.tif --profile @p.icc", 0, "BitsPerSample: 8\n", ""},
        {"", 2, "", "brisavane-cli: a COMMAND is needed\n"},
        {"frob", 2, "", "brisavane-cli: unknown command 'frob'\n"},
        {"info @none.tif", 2, "", "Error: The file can't be opened: @"},
        {"info @text.tif", 2, "", "Not a valid TIFF file.\n"},
        {"info " + kWhiteCard + " --profile @p.icc", 2, "SwapBytes: False",
         "Error: The file carries no ICC profile.\n"},
        {"info @rgb.tif --profile @rgb.tif", 2, "BitsPerSample: 8\n",
         "Error: The profile can't be written to @"},
        {EQUALIZE "--output @ @a", 2, "",
         "brisavane-cli equalize: --output is given more than once"},
        {EQUALIZE "--jobs 0x2 @a", 2, "",
         "brisavane-cli equalize: --jobs: needs a whole number, 1 or more: 0x2\n"},
        {EQUALIZE "--amount 12x @a", 2, "", "brisavane-cli equalize: --amount"},
        {"equalize --output @ @a", 2, "", "brisavane-cli equalize: --white or --cards is needed"},
        {"analyze @none.tif", 2, "", "Error: The white card file can't be opened: @"},
        {"analyze @rgb.tif --tone-map @missing/t.png", 1,
         "Maximum: ", "brisavane-cli analyze: can't write "},
        {EQUALIZE "--files-from @none", 2, "",
         "brisavane-cli equalize: can't read the list of subjects "},
        {EQUALIZE, 2, "",
         "brisavane-cli equalize: at least one SUBJECT or --files-from is needed\n"},
        {"equalize --white @rgb.tif --output @none @a", 2, "",
         "brisavane-cli equalize: the output folder doesn't exist: "},
        {"equalize --white @rgb.tif --output @ @none", 1, "none: skipped: no such file\n", ""},
        {EQUALIZE "@a", 2, "", kNoPixels},
        {"analyze @empty.tif", 2, "", kNoPixels},
        {EQUALIZE "--max-gain 0.5 @a", 2, "",
         "brisavane-cli equalize: --max-gain: needs a number, 1 or more: 0.5\n"},
        {EQUALIZE "--max-gain 1e400 @a", 2, "", "brisavane-cli equalize: --max-gain"},
        {EQUALIZE "--smooth 2x @a", 2, "", "brisavane-cli equalize: --smooth: needs a whole"},
        {EQUALIZE "--channels blue @a", 2, "",
         "brisavane-cli equalize: --channels: needs green or rgb: blue\n"},
        {"analyze @a --channels RGB", 2, "", "brisavane-cli analyze: --channels"},
    };
    for (const auto& [words, code, out, err] : kRows) {
        const std::vector<std::string> args = Words(words, folder.Path());
        const CliRun r = RunCommand(RunCommandLine, args, nullptr);
        EXPECT_EQ(r.code, code) << words;
        EXPECT_TRUE(out.empty() ? r.out.empty() : r.out.find(out) != std::string::npos) << r.out;
        const std::string wanted =
            err.ends_with('@') ? err.substr(0, err.size() - 1) + args.back() : err;
        EXPECT_EQ(r.err.substr(0, wanted.size()), wanted) << words;
        EXPECT_EQ(r.err.find("\nusage: brisavane-cli ") != std::string::npos,
                  code == 2 && err.starts_with("brisavane-cli") && !err.ends_with("exist: "))
            << words;
    }
    EXPECT_EQ(FileBytes(folder / "p.icc"), rgb.profile);
    EXPECT_EQ(FileBytes(folder / "rgb.tif"), before);
}

// The reader's record of a file, the libtiff view and which road it takes;
// errstr stays empty after a good open.
TEST(CliWords, InfoPrintsTheRecord) {
    const CliRun run = Info({kWhiteCard});
    EXPECT_EQ(run.code, 0);
    EXPECT_EQ(run.out,
              "BitsPerSample: 16\nBytesPerPixel: 6\nBytesPerRow: 2160\nCompression: 1\n"
              "Configuration: 1\nImageOffset: 140\nImageWidth: 360\nInterpretation: 2\n"
              "RowsPerStrip: 240\nSamplesPerPixel: 3\nerrstr: \nfi: " +
                  kWhiteCard +
                  "\nimagefile: open\nImageHeight: 240\nimageBuffer: nil\n"
                  "ProfileLength: 0\nProfileOffset: 0\nStripByteCount: 518400\nLittleEndian: "
                  "True\nprofileBuffer: nil\nimg: upper bounds -1, -1, -1\nMaxLuminance: 0\n"
                  "PixelCount: 86400\nSwapBytes: False\nHostLittleEndian: True\npxmax: 0\n"
                  "pymax: 0\nMinLuminance: 0\nlibtiff:\n  Layout: strips of 240 rows, 1 in all\n"
                  "  Planar: contiguous\n  Compression: 1\n  Predictor: 1\n  Samples: 3 of 16 "
                  "bits, 0 extra\n  BigTIFF: no\n  ByteOrder: little-endian\n  Tags: 256 257 "
                  "258 259 262 273 277 278 279 284\n  Equalized: as one plain strip, streamed "
                  "where its rows stand\n");
    TempFolder dir;
    const std::string tiled = dir / "tiled.tif";
    Shell("tiffcp -8 -B -t -w 16 -l 16 -c lzw:2 -p separate " + std::string(BRISAVANE_SAMPLES) +
          "/white_card_8bit.tif " + tiled);
    const CliRun big = Info({tiled});
    EXPECT_EQ(big.code, 2);
    EXPECT_EQ(big.err, "Not a valid TIFF file.\n");
    EXPECT_EQ(big.out,
              "libtiff:\n  Layout: tiles of 16 x 16\n  Planar: separate\n  Compression: 5\n"
              "  Predictor: 2\n  Samples: 3 of 8 bits, 0 extra\n  BigTIFF: yes\n  ByteOrder: "
              "big-endian\n  Tags: 256 257 258 259 262 274 277 284 317 322 323 324 325\n  "
              "Equalized: through libtiff\n");
}

// The real program on a folder: its .tif, .tiff and .jfx files in name order,
// no others and no subfolders, each with its line, on three jobs; of two
// subjects with one output name the first keeps it. A quiet stderr when it
// is not a terminal; exit 1 for the one skipped. Again: what exists is
// skipped, or counted as done with --skip-existing (exit 0), and into the
// subjects' own folder an output never replaces a subject.
TEST(CliLines, FolderOnJobsThenAgain) {
    BatchRig rig;
    for (const char* name : {"b.TIFF", "a.tif", "c.jfx", "e.png", "a.tiff", "s.tif", "s_eq.tif"})
        rig.AddSubject(name, BuildTiff(Scene(16, name[0] != 'b')).bytes);
    fs::create_directories(rig.dir.Path() / "subjects" / "f.tif");
    const std::string err = rig.dir / "err";
    const auto run = [&](const std::vector<std::string>& more, const char* out = "out") {
        std::vector<std::string> argv = {BRISAVANE_CLI,         "equalize", "--white",
                                         rig.dir / "white.tif", "--output", rig.dir / out};
        argv.insert(argv.end(), more.begin(), more.end());
        argv.push_back(rig.dir / "subjects");
        return RunProgram(
            argv, [&] { ::dup2(::open(err.c_str(), O_WRONLY | O_CREAT, 0600), STDERR_FILENO); });
    };
    const auto line = [](const ChildResult& r, const std::string& name) {
        const std::size_t at = r.out.find("\n" + name + ": ");
        return r.out.substr(at + 1, r.out.find('\n', at + 1) - at - 1);
    };
    ChildResult r = run({"--jobs", "3", "--amount", "37.5"});
    std::string lines;
    for (const char* name : {"a.tif", "b.TIFF", "c.jfx", "s.tif", "s_eq.tif"}) {
        lines +=
            name + std::string(": written ") + rig.OutputPath(CreateOutputFileName(name)) + "\n";
        if (name[0] == 'a') lines += "a.tiff: skipped: a.tif has the same output name\n";
    }
    EXPECT_EQ(r.out, lines);
    EXPECT_EQ(r.exitCode, 1);
    // Nothing but what a coverage build's own counters may say about their files.
    std::istringstream said(ReadFile(err));
    for (std::string line; std::getline(said, line);)
        EXPECT_TRUE(line.starts_with("libgcov profiling error:")) << line;
    EXPECT_EQ(HashFolder(rig.dir.Path() / "out").size(), 5u);
    const double target = ExpectedTarget(FullTarget(Card()), Card().pixel(5, 3).g, 0.375);
    EXPECT_EQ(ReadFile(rig.OutputPath("b_eq.tif")),
              ExpectedOutput(Scene(16, false), Card(), target));

    fs::remove(rig.SubjectPath("a.tiff"));
    r = run({});
    EXPECT_EQ(line(r, "b.TIFF"), "b.TIFF: skipped: " + rig.OutputPath("b_eq.tif") +
                                     " exists (--overwrite replaces it)");
    EXPECT_EQ(r.exitCode, 1);
    r = run({"--skip-existing"});
    EXPECT_EQ(line(r, "b.TIFF"), "b.TIFF: skipped: " + rig.OutputPath("b_eq.tif") + " exists");
    EXPECT_EQ(r.exitCode, 0);
    r = run({"--overwrite"}, "subjects");
    EXPECT_EQ(line(r, "s.tif"), "s.tif: skipped: its output would replace the subject s_eq.tif");
    EXPECT_EQ(ReadFile(rig.SubjectPath("s_eq.tif")), BuildTiff(Scene()).bytes);
}
// One subject on the command line, the others from a list with blank lines,
// a CRLF ending, a subject of another size and a name that neither exists nor
// is UTF-8: the same run as lines and as JSON objects, whose seconds are
// rounded to the millisecond.
TEST(CliLines, JsonObjectsSayWhatTheLinesSay) {
    TempFolder folder;
    const std::string samples = BRISAVANE_SAMPLES;
    std::ofstream(folder / "list") << samples << "/subjects/chart_16bit.tif\n\n  \n"
                                   << (folder / "small.tif").string() << "\r\n"
                                   << (folder / "missing-\xff.tif").string() << "\n";
    WriteWithLibtiff(folder / "small.tif", PatternImage(2, 2, 16));
    fs::create_directory(folder / "out");
    std::vector<std::string> args = {"--white",
                                     kWhiteCard,
                                     "--output",
                                     folder / "out",
                                     "--files-from",
                                     folder / "list",
                                     samples + "/subjects/chart_16bit_big_endian.tif"};
    const auto lines = [&] {
        const CliRun run = Equalize(args);
        EXPECT_EQ(run.code, 1);
        EXPECT_EQ(run.err, "");
        std::vector<std::string> lines;
        std::istringstream in(run.out);
        for (std::string line; std::getline(in, line);) lines.push_back(line);
        return lines;
    };
    const std::vector<std::string> text = lines();
    args.insert(args.end(), {"--json", "--overwrite"});
    const std::vector<std::string> objects = lines();
    ASSERT_EQ(text.size(), 4u);
    ASSERT_EQ(objects.size(), 5u);
    std::string statuses;
    for (std::size_t k = 0; k < 4; ++k) {
        const json o = json::parse(objects[k]);
        const bool written = o["status"] == "written";
        std::string line = o["name"].get<std::string>() + ": " + o["status"].get<std::string>();
        line += (written ? " " : ": ") + o[written ? "output" : "reason"].get<std::string>();
        // the name that isn't UTF-8 comes back with U+FFFD for its stray byte
        std::string expected = text[k];
        if (const auto bad = expected.find('\xff'); bad != std::string::npos)
            expected = expected.substr(0, bad) + "\uFFFD" + expected.substr(bad + 1);
        EXPECT_EQ(line, expected);
        EXPECT_TRUE(o[written ? "reason" : "output"].is_null());
        EXPECT_EQ(o["notes"].dump() + o["card"].dump(), "[]" + json::array({kWhiteCard}).dump());
        // the card's brightest green is the target; its gains run from 1 up
        EXPECT_EQ(o["figures"].dump(),
                  written ? R"({"largest_gain":2.8790363443733016,"smallest_gain":1.0,)"
                            R"("target_level":62501.0})"
                          : "{}");
        EXPECT_TRUE(o["seconds"].is_number());
        statuses += o["status"].get<std::string>() + " ";
    }
    EXPECT_EQ(statuses, "written written failed skipped ");
    json totals = json::parse(objects[4])["totals"];
    totals.erase("seconds");
    EXPECT_EQ(totals.dump(), R"({"failed":1,"skipped":1,"written":2})");

    SubjectResult result = SubjectResult::Written("a.tif", "/o/a_eq.tif");
    result.seconds = 1.23451;
    result.notes = {"gain capped on 0.1 % of pixels"};
    result.figures["capped"] = 7;
    EXPECT_EQ(JsonLine(result),
              R"({"name":"a.tif","status":"written","output":"/o/a_eq.tif","reason":null,)"
              R"("seconds":1.235,"notes":["gain capped on 0.1 % of pixels"],"card":null,)"
              R"("figures":{"capped":7.0}})");
    EXPECT_EQ(JsonTotals({1, 2, 3, 0.0004}),
              R"({"totals":{"written":1,"failed":2,"skipped":3,"seconds":0.0}})");
}

TEST(CliLines, ProgressFilesRowsAndTimeLeftAtMostTenTimesASecond) {
    std::ostringstream terminal;
    ProgressLine::Clock::time_point now{};
    ProgressLine line(&terminal, 2, [&] { return now; });
    now += std::chrono::seconds(1);
    line.Rows(0, "a.tif", 1, 4);  // 1/8 of the work in 1 s
    now += std::chrono::milliseconds(50);
    line.Rows(0, "a.tif", 2, 4);  // too soon to draw
    line.Finished(0);
    line.Above([&] { terminal << "a.tif: written\n"; });
    now = ProgressLine::Clock::time_point(std::chrono::seconds(3));
    line.Rows(1, "b.tif", 2, 4);  // 3/4 of the work in 3 s
    line.Clear();
    EXPECT_EQ(terminal.str(),
              "\r\033[K0 of 2 files done  a.tif: row 1 of 4  about 0:07 left"
              "\r\033[Ka.tif: written\n"
              "\r\033[K1 of 2 files done  b.tif: row 2 of 4  about 0:01 left\r\033[K");
}

// The four lines of a 16-bit card (the 8-bit maximum in parentheses) and, with
// --channels rgb, a line a channel.
TEST(CliAnalyze, PrintsTheFourLinesAndAChannelEach) {
    TempFolder folder;
    std::vector<std::uint16_t> samples(36, 1000);
    samples[3 * 6 + 1] = 61680;  // green of pixel (2, 1)
    samples[3 * 9 + 1] = 257;    // green of pixel (1, 2)
    samples[3 * 11] = 5000;      // red of pixel (3, 2)
    samples[3 * 4 + 2] = 2;      // blue of pixel (0, 1)
    LibtiffImage image = ImageOfSamples(4, 3, 16, samples);
    image.bigEndian = true;
    WriteWithLibtiff(folder / "w.tif", image);
    const std::string lines =
        "Size: 4 x 3 pixels  16 bits/channel\nMaximum: 61680 (240)\nMinimum: 257\n"
        "Location:   x: 2  y: 1\n";
    EXPECT_EQ(Analyze({folder / "w.tif"}).out, lines);
    EXPECT_EQ(Analyze({folder / "w.tif", "--channels", "rgb"}).out,
              lines +
                  "Red: maximum 5000, minimum 1000, brightest at x: 3  y: 2\n"
                  "Green: maximum 61680, minimum 257, brightest at x: 2  y: 1\n"
                  "Blue: maximum 1000, minimum 2, brightest at x: 0  y: 0\n");
}

// Both pictures at the preview's size, each file the one asking for it alone
// gives, the figures unchanged; in the tone map 51400 (200 on the 8-bit
// scale) is the lowest band, blue, and 51399 is copied as it is.
TEST(CliAnalyze, PreviewAndToneMapAtThePreviewSize) {
    TempFolder dir;
    TiffSpec card = SpecOf(460, 12, 16, false);
    card.pixel = [](std::uint32_t x, std::uint32_t) {
        return Rgb{0, static_cast<std::uint16_t>(x % 4 == 0 ? 51400 : 51399), 300};
    };
    WriteTiff(dir / "wide.tif", card);
    const CliRun alone = Analyze({dir / "wide.tif", "--tone-map", dir / "alone.png"});
    const CliRun both =
        Analyze({dir / "wide.tif", "--preview", dir / "p.png", "--tone-map", dir / "t.png"});
    ASSERT_EQ(both.code, 0) << both.err;
    EXPECT_EQ(both.out, alone.out);
    EXPECT_EQ(ReadFile(dir / "t.png"), ReadFile(dir / "alone.png"));
    for (const auto& [file, pixels] :
         {std::pair{"t.png", std::string("\x00\x00\xff\x00\xc7\x01", 6)},
          {"p.png", std::string("\x00\xc8\x01\x00\xc7\x01", 6)}}) {
        const testing_png::Decoded png = testing_png::Decode(ReadFile(dir / file));
        EXPECT_EQ(std::tuple(png.width, png.height, png.pixels.substr(0, 6)),
                  std::tuple(230u, 6u, pixels))
            << file;
    }
}
}  // namespace

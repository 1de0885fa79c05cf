// Every file the engine turns away, as a subject and as a white card, in the
// words of each front end: the command line's line or error and exit code;
// the window's mark and message, or its message box, each as its own rule
// makes them of the same words. Nothing is written, no subject changes, and
// the window keeps the card it had. Files whose data the file can't hold are
// read without a stray access (the sanitized build checks every one).
#include <gtest/gtest.h>
#include <lcms2.h>

#include <cctype>
#include <regex>

#include "BatchRig.h"
#include "CliRun.h"
#include "FakeWhiteCardHost.h"
#include "FileHashes.h"
#include "LibtiffFiles.h"
#include "ReferenceEqualize.h"
#include "SavedProfile.h"
#include "WhiteCardWorkflow.h"

using namespace testing_tiff;

namespace {
namespace fs = std::filesystem;
using Make = std::function<void(const std::string&)>;

// One strip of zero bytes of a kind, 6 x 4 pixels; a damaged one lacks its second strip.
Make Kind(unsigned bits, unsigned samples, unsigned photometric, unsigned format,
          unsigned compression, unsigned rows = 4) {
    return [=](const std::string& path) {
        TIFF* tif = TIFFOpen(path.c_str(), "w");
        for (const auto& [tag, value] : {std::pair<ttag_t, unsigned>{256, 6},
                                         {257, 4},
                                         {258, bits},
                                         {277, samples},
                                         {262, photometric},
                                         {284, 1},
                                         {278, rows},
                                         {259, compression},
                                         {339, format}})
            TIFFSetField(tif, tag, value);
        std::vector<std::uint8_t> strip(6 * rows * samples * bits / 8);
        TIFFWriteRawStrip(tif, 0, strip.data(), static_cast<tmsize_t>(strip.size()));
        TIFFClose(tif);
    };
}

Make Built(TiffSpec image) {
    return [image](const std::string& path) { WriteTiff(path, image); };
}

// A file claiming 1024 x 512 pixels in one strip that it can't hold; bits is
// what its bits-per-sample list says.
Make Hostile(int bits, std::vector<Entry> overrides, bool lastByteMissing = false) {
    TiffSpec image = lastByteMissing ? SpecOf(1024, 512, 8, true) : TiffSpec{};
    image.bits = bits == 8 ? 8 : 16;  // the samples written
    image.extra = {{256, 4, 1, 1024}, {257, 4, 1, 512}, {278, 4, 1, 512}};
    image.extra.insert(image.extra.end(), overrides.begin(), overrides.end());
    image.dropTailBytes = lastByteMissing ? 1 : 0;
    BuiltTiff built = BuildTiff(image);
    for (std::size_t k = 0; k < 3; ++k) {  // the bits-per-sample list stands before the pixels
        built.bytes[built.imageOffset - 6 + 2 * k] = static_cast<char>(bits);
        built.bytes[built.imageOffset - 5 + 2 * k] = static_cast<char>(bits >> 8);
    }
    return [bytes = built.bytes](const std::string& path) { WriteFile(path, bytes); };
}

TiffSpec Odd(int bits, std::uint32_t samples, bool little, std::uint32_t width = 6) {
    TiffSpec s = SpecOf(width, 4, bits, little);
    s.samples = samples;
    s.trailer = "bytes after the rows";
    return s;
}

// A file built from its description, then changed by a command (% stands for its path).
Make Changed(TiffSpec image, const std::string& command) {
    return [=](const std::string& path) {
        WriteTiff(path, image);
        std::string line = command;
        for (auto at = line.find('%'); at != std::string::npos; at = line.find('%'))
            line.replace(at, 1, path);
        Shell(line);
    };
}

// A sample format libtiff refuses, which our reader doesn't look at.
TiffSpec OursAlone(TiffSpec image) {
    image.extra.push_back({339, 3, 1, 7});
    return image;
}

struct Refusal {
    const char* label;
    Make make;
    std::string subject;  // the command line's words after "x.tif: "; empty: not tried
    std::string card;     // how its error starts; empty: not tried
    friend void PrintTo(const Refusal& refusal, std::ostream* os) { *os << refusal.label; }
};

const std::string kUsed = "Error: The white card can't be used: this is ";
const std::string kIncomplete = "Image data is incomplete: ";
const std::string kCut = "the file ends before its last pixel row.";
const std::string kStrip = "strip 1 is missing from the file";

const Refusal kRefusals[] = {
    {"Jpeg", Kind(8, 3, 2, 1, 7), "skipped: this is a TIFF with lossy compression 7: it would",
     kUsed + "a TIFF with lossy compression 7: it would"},
    {"YCbCr", Kind(8, 3, 6, 1, 1), "skipped: this is a YCbCr TIFF: only RGB",
     kUsed + "a YCbCr TIFF: only RGB"},
    {"Grey", Kind(16, 1, 1, 1, 1), "skipped: this is a greyscale TIFF: only RGB",
     kUsed + "a greyscale TIFF: only RGB"},
    {"Float", Kind(32, 3, 2, 3, 1), "skipped: this is a TIFF of 32-bit floating-point",
     kUsed + "a TIFF of 32-bit floating-point"},
    {"Signed", Kind(16, 3, 2, 2, 1), "skipped: this is a TIFF of 16-bit samples: only 8- or 16",
     kUsed + "a TIFF of 16-bit samples: only 8- or 16"},
    {"TwoColoursLzw", Kind(8, 2, 2, 1, 5), "skipped: this is a TIFF of 2 colour samples a pixel",
     kUsed + "a TIFF of 2 colour samples a pixel"},
    // Our reader's one or two samples a pixel, which libtiff reads otherwise.
    {"OneSample", Built(Odd(8, 1, true)), "skipped: this is a TIFF of ", kUsed + "a TIFF of "},
    {"TwoSamplesBigEndian", Built(Odd(16, 2, false)), "failed: Image file can't be decoded",
     "Error: The white card can't be used: libtiff can't read it"},
    {"StripMissing", Kind(16, 3, 2, 1, 1, 2), "failed: " + kIncomplete + kStrip,
     "Error: The white card's pixels can't be decoded: " + kStrip},
    {"TwoStripsInOne", Built(Tagged({}, true, 16, 2)), "",
     "Error: The white card's pixels can't be decoded: " + kStrip},
    {"Cut", Built([] {
         TiffSpec s = Scene(16, false);
         s.trailer.clear();
         s.dropTailBytes = 20;
         return s;
     }()),
     "failed: " + kIncomplete + kCut, "Error: The white card image data is incomplete: " + kCut},
    {"OtherSize", Built(SpecOf(5, 4, 16, true)),
     "failed: White and image files have different pixel dimensions. White: 6x4  Image: 5x4", ""},
    {"OtherDepth", Built(SpecOf(6, 4, 8, true)),
     "failed: White and image files have different bits per sample. White: 16  Image: 8", ""},
    {"Ccitt", Changed(Card(), "tiffset -s 259 2 %"),
     "skipped: this is a TIFF with compression 2, which can't be rewritten",
     kUsed + "a TIFF with compression 2, which can't be rewritten"},
    {"FloatingPointPredictor",
     Changed(Card(), "tiffcp -c lzw -r 2 % %.lzw && tiffset -s 317 3 %.lzw && mv %.lzw %"),
     "skipped: this is a TIFF with predictor 3: only none or horizontal",
     kUsed + "a TIFF with predictor 3: only none or horizontal"},
    // Files only our reader takes, judged by its tests alone.
    {"StripsOursAlone", Built(OursAlone(Tagged({}, true, 16, 2))),
     "failed: Image file is not in one single strip. Height: 3Rows per strip: 2",
     "Error: The white card image must be in one contiguous strip"},
    {"CutOursAlone", Built([] {
         TiffSpec s = OursAlone(Card());
         s.dropTailBytes = 5;
         return s;
     }()),
     "failed: " + kIncomplete + kCut, "Error: The white card image data is incomplete: " + kCut},
    {"OtherSizeOursAlone", Built(OursAlone(SpecOf(5, 4, 16, true))),
     "failed: White and image files have different pixel dimensions. White: 6x4  Image: 5x4", ""},
    // Its directory runs past the end of the file: our reader alone opens it,
    // and finds its pixels at offset 0.
    {"DirectoryPastTheEnd",
     [](const auto& p) {
         fs::copy_file("fuzz/regressions/equalize/directory-past-the-end-pixels-at-zero.tif", p);
     },
     "failed: Image data overlaps the file's tags: writing its pixels would damage them.", ""},
    {"NotATiff", [](const auto& p) { WriteFile(p, std::string("PK\x03\x04\0\0", 6)); },
     "skipped: Not a valid TIFF file.", "Not a valid TIFF file."},
    {"Folder", [](const auto& p) { fs::create_directories(p); }, "",
     "Error: The white card file can't be opened: "},
    // Bytes a pixel (bits x samples / 8) times the pixels pass 2^63: alone,
    // in the row length, or (2^63 - 2^31 for 32768 bits) with an offset of
    // 2^31. The samples are judged before the extent: absurd depths are
    // refused as such.
    {"LastByteMissing", Hostile(8, {}, true), "",
     "Error: The white card image data is incomplete: " + kCut},
    {"OffsetPastTheEnd", Hostile(8, {{273, 4, 1, 0xFFFFFFF0u}}), "",
     "Error: The white card image data is incomplete: " + kCut},
    {"RowsOverflow", Hostile(65535, {{277, 4, 1, 0xFFFFFFFFu}}), "", kUsed + "a TIFF of "},
    {"OffsetPlusRowsOverflow", Hostile(32768, {{277, 4, 1, 0xFFFFFFFFu}, {273, 4, 1, 0x80000000u}}),
     "", kUsed + "a TIFF of "},
    {"RowLengthOverflows", Hostile(65535, {{277, 4, 1, 0xFFFFFFFFu}, {256, 4, 1, 0xFFFFFFFFu}}), "",
     kUsed + "a TIFF of "},
};

// The rows whose words are given for a subject, or for a card.
std::vector<Refusal> With(std::string Refusal::*words) {
    std::vector<Refusal> rows;
    std::copy_if(std::begin(kRefusals), std::end(kRefusals), std::back_inserter(rows),
                 [&](const Refusal& r) { return !(r.*words).empty(); });
    return rows;
}
class RefusedSubject : public ::testing::TestWithParam<Refusal> {};
class RefusedCard : public ::testing::TestWithParam<Refusal> {};

// As a subject: the command line's line and exit 1; the window crosses it
// with the same words ("this is ..." as a sentence of its own), or passes
// over what isn't a TIFF without a mark.
TEST_P(RefusedSubject, InEachFrontEndsWords) {
    const Refusal& r = GetParam();
    BatchRig rig;
    r.make(rig.SubjectPath("x.tif"));
    const std::string bytes = ReadFile(rig.SubjectPath("x.tif"));
    const CliRun run = Equalize(
        {"--white", rig.dir / "white.tif", "--output", rig.dir / "out", rig.SubjectPath("x.tif")});
    EXPECT_EQ(run.code, 1);
    EXPECT_EQ(run.out.substr(0, 7 + r.subject.size()), "x.tif: " + r.subject);
    const std::string words = run.out.substr(run.out.find(": ", 7) + 2, run.out.size() - 1);
    rig.host.rows.push_back({true, "x.tif"});
    rig.Press();
    std::string message = words.substr(0, words.size() - 1);
    if (message.starts_with("this is ")) {
        message[0] = 'T';
        if (!message.ends_with(".")) message += '.';
    }
    if (r.subject.starts_with("skipped: Not")) {
        EXPECT_TRUE(rig.host.marks.empty());
    } else {
        EXPECT_EQ(rig.host.marks, (std::map<std::int64_t, RowMark>{{0, RowMark::Cross}}));
        EXPECT_EQ(rig.Message(0), message);
    }
    EXPECT_TRUE(fs::is_empty(rig.dir.Path() / "out"));
    EXPECT_EQ(ReadFile(rig.SubjectPath("x.tif")), bytes);
}

// As a white card: the command line's error and exit 2; the window's message
// box holds the same words but for a file neither reader takes (silent) or
// one that doesn't open ("Error: "), and it keeps the card it had.
TEST_P(RefusedCard, InEachFrontEndsWords) {
    const Refusal& r = GetParam();
    TempFolder dir;
    const std::string path = dir / "x.tif";
    r.make(path);
    const CliRun run = Analyze({path});
    EXPECT_EQ(run.code, 2);
    EXPECT_EQ(run.err.substr(0, r.card.size()), r.card);
    EXPECT_EQ(run.out, "");

    WriteTiff(dir / "good.tif", TiffSpec{});
    WindowState state;
    FakeWhiteCardHost host;
    host.dialogs.openAnswers = {dir / "good.tif", path};
    OpenWhiteCard(state, host);
    const auto card = state.Tiffb;
    ASSERT_TRUE(card);
    host.statusShown.clear();
    OpenWhiteCard(state, host);
    std::vector<std::string> shown;
    if (r.card.starts_with("Error: The white card file"))
        shown = {"Error: "};
    else if (r.card.starts_with("Error:"))
        shown = {run.err.substr(0, run.err.size() - 1)};
    EXPECT_EQ(host.dialogs.messages, shown);
    EXPECT_EQ(state.Tiffb, card);
    EXPECT_FALSE(state.WhiteOpened);
    for (const std::string& status : host.statusShown) EXPECT_EQ(status, "");
    EXPECT_EQ(host.labels[WhiteLabel::TxtInfoWhite], "");
}

const auto kLabel = [](const auto& info) { return std::string(info.param.label); };
INSTANTIATE_TEST_SUITE_P(Files, RefusedSubject, ::testing::ValuesIn(With(&Refusal::subject)),
                         kLabel);
INSTANTIATE_TEST_SUITE_P(Files, RefusedCard, ::testing::ValuesIn(With(&Refusal::card)), kLabel);

// Runs the modes, a card library or the card report can't take: refused as a
// whole (exit 2) or a subject failed (exit 1), in their words; nothing is
// written and no report folder is made. "@name" stands for a file of the run.
TEST(RefusedRuns, SayWhyAndWriteNothing) {
    TempFolder dir;
    const std::vector<std::uint8_t> broken = {0, 0, 0, 7, 'a', 'c', 's', 'p', 'I', 'C', 'C', '!'};
    for (const auto& [name, width, bits, icc] :
         {std::tuple{"card.tif", 6u, 16, std::vector<std::uint8_t>{}},
          {"small.tif", 5u, 16, {}},
          {"srgb.tif", 6u, 16, SavedProfile(cmsCreate_sRGBProfile())},
          {"broken.tif", 6u, 16, broken},
          {"r10.tif", 10u, 8, {}},
          {"r40.tif", 40u, 8, {}},
          {"bad40.tif", 40u, 8, PatternBytes(300)}}) {
        LibtiffImage image = PatternImage(width, width > 6 ? 40 : 4, bits);
        image.profile = icc;
        WriteWithLibtiff(dir / name, image);
    }
    fs::create_directories(dir / "empty");
    const auto files = HashFolder(dir.Path());
    const std::string as = "is 5x4 16-bit, not 6x4 16-bit as the first white card";
    const std::tuple<std::string, int, std::string> kRows[] = {
        {"--white @card.tif --white @small.tif @card.tif", 2, "the white card @small.tif " + as},
        {"--white @card.tif --dark @small.tif @card.tif", 2, "the dark frame @small.tif " + as},
        {"--white @card.tif --linear @card.tif", 2, "--linear: the white card has no ICC profile"},
        {"--white @broken.tif --linear @card.tif", 2,
         "--linear: the white card's ICC profile can't be read"},
        {"--white @srgb.tif --linear @card.tif", 1,
         "card.tif: failed: --linear: the file has no ICC"},
        {"--white @card.tif --darken @small.tif", 1,
         "small.tif: failed: White and image files have different pixel dimensions. White: 6x4  "
         "Image: 5x4\n"},
        {"--cards @empty @card.tif", 2, "equalize: no file in @empty serves as a white card\n"},
        {"--cards @none @card.tif", 2, "equalize: the card library @none is not a folder\n"},
        {"--cards @ @card.tif", 2, "equalize: the card library @ holds the subject @card.tif\n"},
        {"analyze @r10.tif --report @out", 2, "Error: The white card is too small for a report"},
        {"analyze @bad40.tif --report @out", 2,
         "Error: The white card's ICC profile can't be read"},
        {"analyze @r40.tif --report @card.tif/out", 2, "Error: The report folder can't be written"},
        {"analyze @r40.tif --report @out --format A5", 2, "brisavane-cli analyze: --format"},
    };
    for (const auto& [line, code, words] : kRows) {
        const bool analyze = line.starts_with("analyze");
        std::vector<std::string> args = Words(line.substr(analyze ? 8 : 0), dir.Path());
        if (!analyze) args.insert(args.begin(), {"--output", dir.Path()});
        const CliRun run = analyze ? Analyze(args) : Equalize(args);
        EXPECT_EQ(run.code, code) << line;
        const std::string said = std::regex_replace(words, std::regex("@"), (dir / "").string());
        EXPECT_NE((run.out + run.err).find(said), std::string::npos) << run.out << run.err;
    }
    EXPECT_EQ(HashFolder(dir.Path()), files);
    EXPECT_FALSE(fs::exists(dir / "out"));
}

// What only our reader takes, as the window has always taken it, is a card
// and a subject like any other of one plain strip.
TEST(OursAlone, TakesWhatLibtiffRefuses) {
    TiffSpec card = OursAlone(Card()), subject = OursAlone(Scene());
    BatchRig rig(card);
    WriteTiff(rig.SubjectPath("a.tif"), subject);
    const CliRun run = Equalize(
        {"--white", rig.dir / "white.tif", "--output", rig.dir / "out", rig.SubjectPath("a.tif")});
    EXPECT_EQ(run.code, 0) << run.out;
    EXPECT_EQ(ReadFile(rig.OutputPath("a_eq.tif")),
              ExpectedOutput(subject, card, FullTarget(card)));
}
}  // namespace

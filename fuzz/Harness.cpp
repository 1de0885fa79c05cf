#include "Harness.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <limits>
#include <memory>
#include <numeric>
#include <optional>
#include <stdexcept>
#include <vector>

#include <unistd.h>
#include <nlohmann/json.hpp>

#include "Batch.h"
#include "CardColour.h"
#include "CardMeasurement.h"
#include "CardSource.h"
#include "OutputFileName.h"
#include "ReportJson.h"
#include "ReportPage.h"
#include "SubjectJob.h"
#include "SubjectJudge.h"
#include "TiffFile.h"
#include "ToneCurves.h"
#include "ToneMap.h"
#include "WindowState.h"

namespace fs = std::filesystem;

namespace {
// A broken promise, said on stderr so that a finding explains itself.
[[noreturn]] void Fail(const char* why) {
    std::fprintf(stderr, "brisavane fuzz check failed: %s\n", why);
    std::abort();
}

std::shared_ptr<const CardSource> OpenCard(const std::string& path, bool linear = false,
                                           bool placeEvery = false) {
    CorrectionModes modes;
    modes.cards = {path};
    modes.linear = linear;
    CardProblem problem;
    return CardSource::Open(modes, {}, problem,
                            placeEvery ? CardUse::ShownPlacingEvery : CardUse::Shown);
}

std::string Contents(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), {});
}

// The names in a folder, sorted.
std::vector<std::string> Names(const fs::path& folder) {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(folder))
        names.push_back(entry.path().filename().string());
    std::sort(names.begin(), names.end());
    return names;
}

fs::path FreshFolder(const std::string& name) {
    const fs::path folder =
        fs::temp_directory_path() / ("brisavane-fuzz-" + name + "-" + std::to_string(::getpid()));
    fs::remove_all(folder);
    fs::create_directories(folder);
    return folder;
}
}  // namespace

void ExerciseWhiteCard(const std::string& path) {
    if (const auto card = OpenCard(path)) card->Preview(230, 230);
}

namespace {
// A window that shows nothing: one ticked row, previews on, no cancel, the
// output folder chosen at once and every other question answered with a
// cancel. It keeps the row's mark.
class QuietWindow final : public BatchHost, Dialogs, EventPump {
  public:
    QuietWindow(std::string name, std::shared_ptr<FolderItem> output)
        : name_(std::move(name)), output_(std::move(output)) {}

    std::int64_t ListCount() override { return 1; }
    bool Ticked(std::int64_t) override { return true; }
    std::string FileName(std::int64_t) override { return name_; }
    void SetRowPicture(std::int64_t, RowMark mark) override { mark_ = mark; }
    void DisableProcess() override {}
    CanvasSize SubjectCanvas() override { return {230, 230}; }
    void RefreshResult() override {}
    Dialogs& UserDialogs() override { return *this; }

    void SetSubjectStatus(const std::string&) override {}
    Progress& EqualizeProgress() override { return NoProgress::Instance(); }
    bool ShowPreviews() override { return true; }
    CanvasSize ResultCanvas() override { return {230, 230}; }
    EventPump& Events() override { return *this; }

    std::shared_ptr<FolderItem> GetOpenFolderItem(const std::string&) override { return nullptr; }
    std::shared_ptr<FolderItem> GetSaveFolderItem(const std::string&, const std::string&) override {
        return nullptr;
    }
    std::shared_ptr<FolderItem> SelectFolder(const std::string&) override { return output_; }
    void MsgBox(const std::string&) override {}
    std::optional<std::string> ChooseItem(const std::string&, const std::vector<std::string>&,
                                          const std::string&) override {
        return std::nullopt;
    }
    void OpenDocument(const std::string&) override {}

    bool UserCancelled() override { return false; }
    void DoEvents() override {}

    std::optional<RowMark> Mark() const { return mark_; }

  private:
    std::string name_;
    std::shared_ptr<FolderItem> output_;
    std::optional<RowMark> mark_;
};

// A job of the command line, without its progress line.
class QuietTerminal final : public RowPassHost, EventPump {
  public:
    void SetSubjectStatus(const std::string&) override {}
    Progress& EqualizeProgress() override { return NoProgress::Instance(); }
    bool ShowPreviews() override { return false; }
    CanvasSize ResultCanvas() override { return {230, 230}; }
    EventPump& Events() override { return *this; }
    bool UserCancelled() override { return false; }
    void DoEvents() override {}
};

// The white cards, read once for the whole process, as the window keeps its
// white card from one batch to the next and the command line reads it once a run.
const std::vector<std::shared_ptr<const CardSource>>& WhiteCards() {
    static const std::vector<std::shared_ptr<const CardSource>> cards = [] {
        std::vector<std::shared_ptr<const CardSource>> loaded;
        for (const char* name : {"8bit_le.tif", "16bit_be.tif"}) {
            auto card = OpenCard(std::string(BRISAVANE_FUZZ_DIR "/white/") + name);
            if (!card) Fail("a fixed white card doesn't open");
            loaded.push_back(card);
        }
        return loaded;
    }();
    return cards;
}

// The press of Process; whether the row was marked written.
bool ThroughWindow(const fs::path& subject, const std::shared_ptr<const CardSource>& white,
                   const fs::path& folder) {
    WindowState state;
    state.card = white;
    state.Tiffb = white->SharedRecord();
    state.WhiteOpened = true;
    state.fsubject = GetFolderItem(subject.parent_path().string());
    QuietWindow window(subject.filename().string(), GetFolderItem(folder.string()));
    Batch(state, window).BtnProcess_Action();
    return window.Mark() == RowMark::Check;
}

// One job of brisavane-cli equalize; whether it wrote the output.
bool ThroughCommandLine(const fs::path& subject, const std::shared_ptr<const CardSource>& white,
                        const fs::path& folder) {
    const auto cards = RunCards::Of(white, 1.0);
    const JobSettings settings{*cards, FolderItem(folder), false};
    QuietTerminal host;
    return EqualizeSubject(subject.string(), cards->Choose(subject.string()), settings, host, 0)
               .outcome == SubjectOutcome::Written;
}

// Whether libtiff decodes every colour strip or tile of the file, as the road
// decoded the subject's before it wrote them anew.
bool Decodes(LibtiffFile& image) {
    if (image.RowByRow()) {
        std::vector<std::uint8_t> row(static_cast<std::size_t>(TIFFScanlineSize64(image.Handle())));
        const std::uint16_t planes = image.planar == PLANARCONFIG_SEPARATE ? 3 : 1;
        for (std::uint16_t k = 0; k < planes; ++k) {
            LibtiffFile plane(TIFFFileName(image.Handle()), LibtiffFile::Mapped{});
            for (std::uint32_t y = 0; y < image.height; ++y)
                if (!plane.Handle() || TIFFReadScanline(plane.Handle(), row.data(), y, k) < 0)
                    return false;
        }
        return true;
    }
    std::vector<std::uint8_t> chunk(image.ChunkBytes());
    for (std::uint32_t k = 0; k < image.Chunks(); ++k)
        if (image.PlaceOf(k).plane < 3 && image.ReadChunk(k, chunk.data()) < 0) return false;
    return true;
}

// A whole output is a subject again: the engine takes it against the same
// card, on either road, and libtiff decodes its pixels.
bool Whole(const fs::path& output, const CardSource& white) {
    TiffFile tiff;
    SubjectJudgement judged = JudgeSubject(tiff, GetFolderItem(output.string()), &white);
    using Verdict = SubjectJudgement::Verdict;
    if (judged.verdict != Verdict::OneStrip && judged.verdict != Verdict::Libtiff) return false;
    return !judged.image || Decodes(*judged.image);
}
}  // namespace

// Under the final name the window leaves what a stopped or failed pass wrote,
// as it always has; only the command line promises a whole output or none.
void ExerciseEqualize(const std::string& path) {
    const fs::path subject(path);
    const std::string before = Contents(subject);
    const std::string name = CreateOutputFileName(subject.filename().string());
    for (const auto& white : WhiteCards()) {
        const fs::path windowFolder = FreshFolder("window"), lineFolder = FreshFolder("line");
        const bool windowWrote = ThroughWindow(subject, white, windowFolder);
        const bool lineWrote = ThroughCommandLine(subject, white, lineFolder);
        if (Contents(subject) != before) Fail("a subject was written");
        const std::vector<std::string> left = Names(windowFolder);
        if (left.size() > 1 || (!left.empty() && left[0] != name))
            Fail("the window left a file that isn't the output");
        if (windowWrote && left.empty()) Fail("the window marked an output that isn't there");
        if (Names(lineFolder) != (lineWrote ? std::vector{name} : std::vector<std::string>{}))
            Fail("the command line left a file other than a whole output");
        if (windowWrote != lineWrote) Fail("only one placement wrote the output");
        if (lineWrote && Contents(windowFolder / name) != Contents(lineFolder / name))
            Fail("the two placements wrote different bytes");
        if (lineWrote && !Whole(lineFolder / name, *white))
            Fail("a written output doesn't read as a subject");
        fs::remove_all(windowFolder);
        fs::remove_all(lineFolder);
    }
}

// The report's files are made as analyze --report makes them, without the
// disk. In linear light only its figures and JSON: the pictures, by far the
// slowest part, are drawn the same way from either card's figures.
void ExerciseCardReport(const std::string& path) {
    for (const bool linear : {false, true}) {
        const auto card = OpenCard(path, linear, true);
        if (!card) continue;
        Picture tone = ToneMapOf(*WindowPreview(*card));
        try {
            const CardMeasurement m =
                MeasureCard(*card, *PrintFormat::Named("A3"), 1.0, NoProgress::Instance());
            if (!nlohmann::json::accept(ReportJson(m))) Fail("report.json doesn't parse");
            if (linear) continue;
            // The page holds each picture encoded as its file is.
            ReportPage(m, MakeReportPictures(m, std::move(tone)));
        } catch (const std::runtime_error&) {
            // a card too small for the grid, or a profile that can't serve
        }
    }
}

namespace {
// Samples of each channel, their linear values and back, and brightened by a
// few gains a run at a time against the same samples one by one. Every
// sample at 8 bits; at 16, every 61st and the ends, which keeps a run quick.
void CheckCurves(const ToneCurves& curves, std::uint32_t ceiling) {
    std::vector<std::uint16_t> samples;
    for (std::uint32_t s = 0; s <= ceiling; s += ceiling > 255 ? 61 : 1)
        samples.push_back(static_cast<std::uint16_t>(s));
    samples.push_back(static_cast<std::uint16_t>(ceiling));
    std::vector<std::uint16_t> nearest(samples.size());
    for (int c = 0; c < 3; ++c) {
        for (const std::uint16_t s : samples) {
            const double linear = curves.Linear(c, s);
            if (!(linear >= 0.0 && linear <= 1.0)) Fail("a linear value outside [0, 1]");
            if (s == 0) continue;
            const double below = curves.Linear(c, static_cast<std::uint16_t>(s - 1));
            if (linear < below) Fail("curves that fall were made");
            if (curves.Rising(c) && !(below < linear)) Fail("a rising curve with a flat step");
            if (curves.Linear(c, curves.Sample(c, linear)) != linear)
                Fail("the nearest sample to a sample's linear value has another value");
            // Three quarters of the way up a step, the upper sample is the nearer.
            if (below < linear &&
                curves.Linear(c, curves.Sample(c, 0.25 * below + 0.75 * linear)) != linear)
                Fail("the nearest sample isn't the nearer of two");
            const double half = curves.Linear(c, s - 0.5);
            if (!(half >= below && half <= linear)) Fail("a value between samples lies outside");
        }
        for (const double gain : {0.0, 0.5, 1.0, 1.7, 64.0, HUGE_VAL}) {
            curves.Brightened(c, samples.data(), samples.size(), &gain, 0, nearest.data());
            for (std::size_t k = 0; k < samples.size(); ++k)
                if (nearest[k] !=
                    curves.Sample(c, std::min(gain * curves.Linear(c, samples[k]), 1.0)))
                    Fail("a brightened run differs from its samples one by one");
        }
    }
}
}  // namespace

void ExerciseIccProfile(const std::string& path) {
    const std::string text = Contents(path);
    const std::vector<std::uint8_t> icc(text.begin(), text.end());
    for (const int bits : {8, 16}) {
        std::string why;
        if (const auto curves = ToneCurves::FromProfile(icc, bits, why))
            CheckCurves(*curves, bits == 8 ? 255 : 65535);
        else if (why.empty())
            Fail("tone curves refused without a reason");
    }
    for (const double ceiling : {255.0, 65535.0}) {
        try {
            const CardColour colour(icc, ceiling);
            for (const Channels& samples :
                 {Channels{0, 0, 0}, Channels{ceiling, ceiling, ceiling},
                  Channels{ceiling / 2, ceiling / 2, ceiling / 2}, Channels{ceiling, 0, 0},
                  Channels{0, ceiling, 0}, Channels{0, 0, ceiling},
                  Channels{ceiling * 0.9, ceiling * 0.95, ceiling * 0.8}})
                colour.Convert(samples);
        } catch (const std::runtime_error&) {
            // not a profile the report can use, said in plain words
        }
    }
}

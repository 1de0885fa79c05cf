#include "AnalyzeCommand.h"

#include <filesystem>
#include <map>

#include "CardReportCommand.h"
#include "CardSource.h"
#include "CommandParser.h"
#include "ExitCodes.h"
#include "NumberText.h"
#include "PngFile.h"
#include "RunCards.h"
#include "ToneMap.h"
#include "WhiteCard.h"

namespace {
std::string Name(const std::string& path) {
    return std::filesystem::path(path).filename().string();
}

// Where the pictures go; an empty path asks for none.
struct AnalyzeOptions {
    std::string white;
    std::string library;
    std::string preview;
    std::string toneMap;
    CardReportRequest report;  // no folder: no report
    bool rgb = false;          // --channels rgb: a line for each channel too

    void Declare(CLI::App& app) {
        const auto card =
            app.add_option("WHITE", white, "The white card: a TIFF of an evenly lit white card.");
        const auto cards = app.add_option("--cards", library,
                                          "Instead of WHITE, a card library: a line for each "
                                          "TIFF in DIR, with the EXIF a subject is matched by "
                                          "and its brightest and darkest green sample.");
        cards->type_name("DIR")->check(NonEmptyPath())->excludes(card);
        app.add_option("--preview", preview,
                       "Also write the white card's preview, as the window shows it, to PNG.")
            ->type_name("PNG")
            ->check(NonEmptyPath())
            ->excludes(cards);
        app.add_option("--tone-map", toneMap,
                       "Also write the false-colour map of how evenly the card is lit to PNG.")
            ->type_name("PNG")
            ->check(NonEmptyPath())
            ->excludes(cards);
        const auto folder = app.add_option(
            "--report", report.folder,
            "Also write a page (report.html), its data (report.json) and its pictures on how "
            "evenly the card is lit into the folder DIR.");
        folder->type_name("DIR")->check(NonEmptyPath())->excludes(cards);
        app.add_option("--format", report.format,
                       "With --report: the size of the originals the lighting is judged for, "
                       "A4, A3 (the default), A2, A1 or A0.")
            ->type_name("A4|A3|A2|A1|A0")
            ->needs(folder);
        app.add_option("--amount", report.amount,
                       "With --report: the correction amount in percent for the card "
                       "equalized by itself (default 100).")
            ->type_name("PERCENT")
            ->needs(folder);
        app.add_option_function<std::string>(
               "--channels",
               [this](const std::string& text) {
                   if (text != "green" && text != "rgb")
                       throw CLI::ValidationError("--channels", "needs green or rgb: " + text);
                   rgb = text == "rgb";
               },
               "rgb also prints each channel's brightest and darkest sample and where the "
               "brightest lies, a line each.")
            ->type_name("green|rgb");
    }
};

// "Red: maximum 250, minimum 100, brightest at x: 3  y: 0", a line a channel.
void WriteChannels(const CardSource& card, std::ostream& out) {
    const RowExtremes& e = card.Extremes();
    const char* names[] = {"Red", "Green", "Blue"};
    for (std::size_t c = 0; c < 3; ++c)
        out << names[c] << ": maximum " << CStr(e.max[c]) << ", minimum " << CStr(e.min[c])
            << ", brightest at x: " << e.maxX[c] << "  y: " << e.maxY[c] << "\n";
}

// A line for each file of the library, in name order: what it will be
// matched by and its green extremes, or why it can't serve. A card whose
// EXIF and time are an earlier one's says so: a subject they match gets
// neither.
int ListLibrary(const std::string& library, std::ostream& out, std::ostream& err) {
    CardProblem problem;
    const auto cards = RunCards::Open({}, library, 1.0, problem);
    if (!cards) {
        err << CardErrorLine("brisavane-cli analyze", problem) << "\n";
        return kExitUnusable;
    }
    std::map<std::string, std::string> lines;
    for (const RefusedCard& refused : cards->Refused())
        lines[refused.path] = Name(refused.path) + ": can't serve as a card: " + refused.text;
    const std::vector<LibraryCard>& all = cards->LibraryCards();
    for (std::size_t k = 0; k < all.size(); ++k) {
        std::string line = DescribeCard(all[k]);
        cards->Expect(k);
        const auto run = cards->Take(k, problem);
        cards->Done(k);
        if (run) {
            const RowExtremes& e = run->Card().Extremes();
            line += ", green " + CStr(e.min[1]) + " to " + CStr(e.max[1]);
        }
        for (std::size_t j = 0; j < k; ++j)
            if (all[j].exif == all[k].exif && Matchable(all[k].exif)) {
                line += "; the same shot as " + Name(all[j].path) + ", so neither is chosen";
                break;
            }
        lines[all[k].path] = line;
    }
    for (const auto& [path, line] : lines) out << line << "\n";
    return kExitOk;
}

bool WritePicture(const Picture& picture, const std::string& path, std::ostream& err) {
    if (WritePng(picture, path)) return true;
    err << "brisavane-cli analyze: can't write " << path << "\n";
    return false;
}

// The white card as the window's canvas shows it, at the picture's own size,
// and its tone map, made from that same preview as the window makes it.
bool WritePictures(const CardSource& white, const AnalyzeOptions& options, std::ostream& err) {
    if (options.preview.empty() && options.toneMap.empty()) return true;
    const auto preview = WindowPreview(white);
    if (preview->Width() == 0 || preview->Height() == 0) {
        err << "brisavane-cli analyze: the white card is too narrow for a preview\n";
        return false;
    }
    bool written = options.preview.empty() || WritePicture(*preview, options.preview, err);
    if (!options.toneMap.empty()) {
        written = WritePicture(ToneMapOf(*preview), options.toneMap, err) && written;
    }
    return written;
}
}  // namespace

int RunAnalyze(const std::vector<std::string>& args, std::ostream& out, std::ostream& err) {
    AnalyzeOptions options;
    CommandParser parser("brisavane-cli analyze",
                         "Prints the white card's size, brightest and darkest green sample and "
                         "where the brightest lies.",
                         kAnalyzeUsage);
    if (const auto exit = parser.Parse(options, args, out, err)) return *exit;
    if (!options.library.empty()) return ListLibrary(options.library, out, err);
    if (options.white.empty()) return parser.Refuse("WHITE or --cards is needed", err);
    CorrectionModes modes;
    modes.cards = {options.white};
    CardProblem problem;
    const auto white = CardSource::Open(modes, {}, problem,
                                        options.rgb ? CardUse::ShownPlacingEvery : CardUse::Shown);
    if (!white) {
        err << CardErrorLine("brisavane-cli analyze", problem) << "\n";
        return kExitUnusable;
    }
    const TiffFile& record = white->Record();
    out << "Size: " << InfoText(record) << "\n"
        << "Maximum: " << MaxValText(record) << "\n"
        << "Minimum: " << CStr(record.MinLuminance) << "\n"
        << "Location: " << MaxLocText(record) << "\n";
    if (options.rgb) WriteChannels(*white, out);
    const bool pictures = WritePictures(*white, options, err);
    if (!options.report.folder.empty())
        if (const int code = WriteCardReport(*white, options.report, err)) return code;
    return pictures ? kExitOk : kExitSomeFailed;
}

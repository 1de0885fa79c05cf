#include "EqualizeOptions.h"

#include <charconv>
#include <cmath>

#include "CommandParser.h"

namespace {
// The whole text is a plain decimal number: "12x", "0x10" and " 5" are
// refused, not read in part or in another base.
bool WholeNumber(const std::string& text, int& value) {
    const char* end = text.data() + text.size();
    const auto result = std::from_chars(text.data(), end, value);
    return !text.empty() && result.ec == std::errc() && result.ptr == end;
}

double Percent(const std::string& text) {
    const auto percent = PercentText(text);
    if (!percent)
        throw CLI::ValidationError("--amount", "needs a number of percent, 0 or more: " + text);
    return *percent;
}

GainChannels Channels(const std::string& text) {
    if (text == "green") return GainChannels::Green;
    if (text == "rgb") return GainChannels::Rgb;
    throw CLI::ValidationError("--channels", "needs green or rgb: " + text);
}

std::uint32_t Radius(const std::string& text) {
    int radius = 0;
    if (!WholeNumber(text, radius) || radius < 0 || radius > 10000)
        throw CLI::ValidationError("--smooth",
                                   "needs a whole number of pixels, 0 to 10000: " + text);
    return static_cast<std::uint32_t>(radius);
}

double MaxGain(const std::string& text) {
    const auto gain = PercentText(text);
    if (!gain || *gain < 1.0)
        throw CLI::ValidationError("--max-gain", "needs a number, 1 or more: " + text);
    return *gain;
}

int Jobs(const std::string& text) {
    int jobs = 0;
    if (!WholeNumber(text, jobs) || jobs < 1)
        throw CLI::ValidationError("--jobs", "needs a whole number, 1 or more: " + text);
    return jobs;
}
}  // namespace

void EqualizeOptions::Declare(CLI::App& app) {
    app.add_option("--white", modes.cards, mode_sentences::kShots)
        ->type_name("WHITE")
        ->allow_extra_args(false);
    app.add_option("--cards", library,
                   "A card library: every TIFF in DIR is a white card, and each subject gets "
                   "the one shot with its camera, lens, focal length and aperture (by EXIF), "
                   "nearest in time. With --white too, that card serves the subjects no "
                   "library card matches.")
        ->type_name("DIR")
        ->check(NonEmptyPath());
    app.add_option("--output", output, "The folder the equalized copies go to; it must exist.")
        ->type_name("DIR")
        ->required();
    app.add_option_function<std::string>(
           "--amount", [this](const std::string& text) { amountToApply = Percent(text) / 100.0; },
           "How much of the correction to apply, in percent (default 100).")
        ->type_name("PERCENT");
    DeclareModes(app);
    CLI::Option* replace = app.add_flag("--overwrite", overwrite,
                                        "Replace outputs that exist already; without it they are "
                                        "left alone and their subjects skipped.");
    app.add_flag("--skip-existing", skipExisting,
                 "Count a subject whose output exists already as done, so that a re-run "
                 "finishes only what is missing and succeeds.")
        ->excludes(replace);
    app.add_option_function<std::string>(
           "--jobs", [this](const std::string& text) { jobs = Jobs(text); },
           "How many files to treat at once (default: one a processor core).")
        ->type_name("N");
    app.add_flag("--record", record,
                 "Add to each output's XMP an xmpMM:History entry naming the card (with its "
                 "SHA-256), the amount and the options.");
    app.add_flag("--json", json,
                 "Write one JSON object a subject, and last one with the run's totals, instead "
                 "of the result lines.");
    app.add_option("--files-from", fileList,
                   "Also treat the subjects named in FILE, one a line, relative to the current "
                   "folder; blank lines are passed over. - reads standard input.")
        ->type_name("FILE")
        ->check(NonEmptyPath());
    app.add_option("SUBJECT", subjects,
                   "A subject TIFF, or a folder: its .tif, .tiff and .jfx files in name order.");
}

void EqualizeOptions::DeclareModes(CLI::App& app) {
    app.add_option_function<std::string>(
           "--channels", [this](const std::string& text) { modes.channels = Channels(text); },
           mode_sentences::kChannels)
        ->type_name("green|rgb");
    app.add_option_function<std::string>(
           "--smooth", [this](const std::string& text) { modes.smoothRadius = Radius(text); },
           mode_sentences::kSmooth)
        ->type_name("PIXELS");
    app.add_option_function<std::string>(
           "--max-gain", [this](const std::string& text) { modes.maxGain = MaxGain(text); },
           mode_sentences::kMaxGain)
        ->type_name("G");
    app.add_flag("--linear", modes.linear, mode_sentences::kLinear);
    app.add_option("--dark", modes.dark, mode_sentences::kDark)
        ->type_name("FILE")
        ->check(NonEmptyPath());
    app.add_flag("--darken", modes.darken, mode_sentences::kDarken);
}

std::string EqualizeOptions::Missing() const {
    if (modes.cards.empty() && library.empty()) return "--white or --cards is needed";
    return subjects.empty() && fileList.empty() ? "at least one SUBJECT or --files-from is needed"
                                                : "";
}

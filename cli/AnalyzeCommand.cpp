#include "AnalyzeCommand.h"

#include <optional>

#include "CardReportCommand.h"
#include "ExitCodes.h"
#include "NumberText.h"
#include "PngFile.h"
#include "ToneMap.h"
#include "WhiteCard.h"

namespace {
constexpr const char* kAnalyzeUsage =
    "usage: brisavane-cli analyze WHITE [--preview PNG] [--tone-map PNG]";
// The white card's canvas in the window.
constexpr std::int64_t kPreviewRoom = 230;

// Where the pictures go; an empty path asks for none.
struct AnalyzeOptions {
    std::string white;
    std::string preview;
    std::string toneMap;
    std::string report, format, amount;  // --format and --amount go with --report only
};

// WHITE, then each picture option at most once, in either order.
std::optional<AnalyzeOptions> ParseAnalyze(const std::vector<std::string>& args) {
    if (args.empty()) return std::nullopt;
    AnalyzeOptions options;
    options.white = args[0];
    for (std::size_t k = 1; k < args.size(); k += 2) {
        std::string* path = args[k] == "--preview"    ? &options.preview
                            : args[k] == "--tone-map" ? &options.toneMap
                            : args[k] == "--report"   ? &options.report
                            : args[k] == "--format"   ? &options.format
                            : args[k] == "--amount"   ? &options.amount
                                                      : nullptr;
        if (!path || !path->empty() || k + 1 >= args.size() || args[k + 1].empty())
            return std::nullopt;
        *path = args[k + 1];
    }
    if (options.report.empty() && !(options.format + options.amount).empty()) return std::nullopt;
    return options;
}

bool WritePicture(const Picture& picture, const std::string& path, std::ostream& err) {
    if (WritePng(picture, path)) return true;
    err << "brisavane-cli analyze: can't write " << path << "\n";
    return false;
}

// The white card as the window's canvas shows it, at the picture's own size,
// and its tone map, made from that same preview as the window makes it.
bool WritePictures(TiffFile& white, const AnalyzeOptions& options, std::ostream& err) {
    if (options.preview.empty() && options.toneMap.empty()) return true;
    const auto preview = white.MakeScaledPictureDisk(kPreviewRoom, kPreviewRoom);
    if (preview->Width() == 0 || preview->Height() == 0) {
        err << "brisavane-cli analyze: the white card is too narrow for a preview\n";
        return false;
    }
    bool written = options.preview.empty() || WritePicture(*preview, options.preview, err);
    if (!options.toneMap.empty()) {
        Picture tone(preview->Width(), preview->Height());
        CreateToneMap(*preview, tone);
        written = WritePicture(tone, options.toneMap, err) && written;
    }
    return written;
}
}  // namespace

int RunAnalyze(const std::vector<std::string>& args, std::ostream& out, std::ostream& err) {
    const std::optional<AnalyzeOptions> options = ParseAnalyze(args);
    if (!options) {
        err << kAnalyzeUsage << "\n";
        return kExitUnusable;
    }
    std::string error;
    const auto white = LoadWhiteCard(options->white, error);
    if (!white) {
        err << error << "\n";
        return kExitUnusable;
    }
    out << "Size: " << InfoText(*white) << "\n"
        << "Maximum: " << MaxValText(*white) << "\n"
        << "Minimum: " << CStr(white->MinLuminance) << "\n"
        << "Location: " << MaxLocText(*white) << "\n";
    const bool pictures = WritePictures(*white, *options, err);
    if (!options->report.empty()) {
        CardReportRequest request;
        request.folder = options->report;
        if (!options->format.empty()) request.format = options->format;
        if (!options->amount.empty()) request.amount = options->amount;
        if (const int code = WriteCardReport(*white, request, err)) return code;
    }
    return pictures ? kExitOk : kExitSomeFailed;
}

#include "AnalyzeCommand.h"

#include "ExitCodes.h"
#include "NumberText.h"
#include "PngFile.h"
#include "WhiteCard.h"

namespace {
constexpr const char* kAnalyzeUsage = "usage: brisavane-cli analyze WHITE [--preview PNG]";
// The white card's canvas in the window.
constexpr std::int64_t kPreviewRoom = 230;

// The white card as the window's canvas shows it, at the picture's own size.
bool WritePreview(TiffFile& white, const std::string& path, std::ostream& err) {
    const auto picture = white.MakeScaledPictureDisk(kPreviewRoom, kPreviewRoom);
    if (picture->Width() == 0 || picture->Height() == 0) {
        err << "brisavane-cli analyze: the white card is too narrow for a preview\n";
        return false;
    }
    if (!WritePng(*picture, path)) {
        err << "brisavane-cli analyze: can't write " << path << "\n";
        return false;
    }
    return true;
}
}  // namespace

int RunAnalyze(const std::vector<std::string>& args, std::ostream& out, std::ostream& err) {
    const bool withPreview = args.size() == 3 && args[1] == "--preview";
    if (args.size() != 1 && !withPreview) {
        err << kAnalyzeUsage << "\n";
        return kExitUnusable;
    }
    std::string error;
    const auto white = LoadWhiteCard(args[0], error);
    if (!white) {
        err << error << "\n";
        return kExitUnusable;
    }
    out << "Size: " << InfoText(*white) << "\n"
        << "Maximum: " << MaxValText(*white) << "\n"
        << "Minimum: " << CStr(white->MinLuminance) << "\n"
        << "Location: " << MaxLocText(*white) << "\n";
    if (withPreview && !WritePreview(*white, args[2], err)) return kExitSomeFailed;
    return kExitOk;
}

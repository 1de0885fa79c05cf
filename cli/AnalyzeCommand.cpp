#include "AnalyzeCommand.h"

#include "ExitCodes.h"
#include "NumberText.h"
#include "WhiteCard.h"

int RunAnalyze(const std::vector<std::string>& args, std::ostream& out, std::ostream& err) {
    if (args.size() != 1) {
        err << "usage: brisavane-cli analyze WHITE\n";
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
    return kExitOk;
}

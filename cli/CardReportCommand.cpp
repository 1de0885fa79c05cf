#include "CardReportCommand.h"

#include <filesystem>

#include "CommandParser.h"
#include "ExitCodes.h"
#include "ReportFiles.h"

int WriteCardReport(const CardSource& white, const CardReportRequest& request, std::ostream& err) {
    const auto format = PrintFormat::Named(request.format);
    const auto amount = PercentText(request.amount);
    if (!format || !amount) {
        err << "brisavane-cli analyze: --format takes A4, A3, A2, A1 or A0 and --amount a "
               "number of percent, 0 or more\n";
        return kExitUnusable;
    }
    const std::string error = WriteCardReport(white, std::filesystem::path(request.folder), *format,
                                              *amount / 100.0, NoProgress::Instance());
    if (error.empty()) return kExitOk;
    err << error << "\n";
    return kExitUnusable;
}

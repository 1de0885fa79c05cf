#include "CardReportCommand.h"

#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <utility>
#include <vector>

#include "CardMeasurement.h"
#include "CommandParser.h"
#include "ExitCodes.h"
#include "PngFile.h"
#include "ReportJson.h"
#include "ReportPage.h"
#include "ToneMap.h"

namespace fs = std::filesystem;

namespace {
using NamedBytes = std::vector<std::pair<std::string, std::string>>;

NamedBytes ReportFiles(const CardMeasurement& m, const ReportPictures& pictures) {
    return {{"report.json", ReportJson(m)},
            {"report.html", ReportPage(m, pictures)},
            {"tone-map.png", EncodePng(pictures.toneMap)},
            {"light-map.png", EncodePng(pictures.lightMap)},
            {"light-map-equalized.png", EncodePng(pictures.lightMapEqualized)}};
}

// Every file under its hidden name, then every rename; false, with the hidden
// files gone, when any write fails.
bool WriteAll(const fs::path& folder, const NamedBytes& files) {
    const auto hidden = [&](const std::string& name) { return folder / ("." + name + ".part"); };
    bool written = true;
    for (const auto& [name, bytes] : files) {
        std::ofstream out(hidden(name), std::ios::binary | std::ios::trunc);
        out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
        out.close();
        written = written && out.good();
    }
    std::error_code ec;
    for (const auto& [name, bytes] : files) {
        if (written) fs::rename(hidden(name), folder / name, ec);
        written = written && !ec;
        fs::remove(hidden(name), ec);
    }
    return written;
}

bool UsableFolder(const fs::path& folder) {
    std::error_code ec;
    fs::create_directories(folder, ec);
    return fs::is_directory(folder, ec);
}
}  // namespace

int WriteCardReport(const CardSource& white, const CardReportRequest& request,
                    std::ostream& err) {
    const auto format = PrintFormat::Named(request.format);
    const auto amount = PercentText(request.amount);
    if (!format || !amount) {
        err << "brisavane-cli analyze: --format takes A4, A3, A2, A1 or A0 and --amount a "
               "number of percent, 0 or more\n";
        return kExitUnusable;
    }
    const fs::path folder(request.folder);
    const auto unwritable = [&] {
        err << "Error: The report folder can't be written: " << request.folder << "\n";
        return kExitUnusable;
    };
    if (!UsableFolder(folder)) return unwritable();
    try {
        const Picture tone = ToneMapOf(*WindowPreview(white));
        const CardMeasurement m = MeasureCard(white, *format, *amount / 100.0);
        return WriteAll(folder, ReportFiles(m, MakeReportPictures(m, std::move(tone))))
                   ? kExitOk
                   : unwritable();
    } catch (const std::runtime_error& e) {
        err << "Error: " << e.what() << "\n";
        return kExitUnusable;
    }
}

#include "ReportFiles.h"

#include <fstream>
#include <stdexcept>
#include <utility>
#include <vector>

#include "CardMeasurement.h"
#include "PngFile.h"
#include "ReportJson.h"
#include "ReportPage.h"
#include "ToneMap.h"
#include "WhiteCardWorkflow.h"

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
    std::error_code ec;
    fs::create_directories(folder, ec);
    if (!fs::is_directory(folder, ec)) return false;
    const auto hidden = [&](const std::string& name) { return folder / ("." + name + ".part"); };
    bool written = true;
    for (const auto& [name, bytes] : files) {
        std::ofstream out(hidden(name), std::ios::binary | std::ios::trunc);
        out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
        out.close();
        written = written && out.good();
    }
    for (const auto& [name, bytes] : files) {
        if (written) fs::rename(hidden(name), folder / name, ec);
        written = written && !ec;
        fs::remove(hidden(name), ec);
    }
    return written;
}
}  // namespace

// The card is measured before anything is written, so a card that can't be
// measured leaves no folder behind.
std::string WriteCardReport(const CardSource& card, const fs::path& folder,
                            const PrintFormat& format, double amountToApply, Progress& progress) {
    try {
        const Picture tone = ToneMapOf(*WindowPreview(card));
        const CardMeasurement m = MeasureCard(card, format, amountToApply, progress);
        if (WriteAll(folder, ReportFiles(m, MakeReportPictures(m, std::move(tone))))) return "";
        return "Error: The report folder can't be written: " + folder.string();
    } catch (const std::runtime_error& e) {
        return std::string("Error: ") + e.what();
    }
}

void MakeCardReport(const WindowState& state, WhiteCardHost& host) {
    if (!state.WhiteOpened || !state.card) return;
    Dialogs& dialogs = host.UserDialogs();
    const auto folder = dialogs.SelectFolder("Select the folder for the card report");
    if (!folder) return;
    const auto format =
        dialogs.ChooseItem("Paper format of the originals", {"A4", "A3", "A2", "A1", "A0"}, "A3");
    if (!format) return;
    host.SetLabel(WhiteLabel::TxtStatusWhite, "Writing the card report");
    host.RefreshLabel(WhiteLabel::TxtStatusWhite);
    const std::string error =
        WriteCardReport(*state.card, folder->Path(), *PrintFormat::Named(*format),
                        state.AmountToApply, *host.WhiteServices().analyzeProgress);
    host.SetLabel(WhiteLabel::TxtStatusWhite, "");
    host.RefreshLabel(WhiteLabel::TxtStatusWhite);
    if (!error.empty())
        dialogs.MsgBox(error);
    else
        dialogs.OpenDocument((folder->Path() / "report.html").string());
}

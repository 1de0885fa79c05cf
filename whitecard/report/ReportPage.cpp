#include "ReportPage.h"

#include "FigureRows.h"
#include "PngFile.h"
#include "ReportCharts.h"
#include "TextFormat.h"

namespace {
constexpr const char* kStyle =
    "body{font-family:sans-serif;max-width:1100px;margin:2em auto;color:#222}"
    "table{border-collapse:collapse}td,th{border:1px solid #ccc;padding:4px 8px;"
    "text-align:left;vertical-align:top}td.n{text-align:right;font-variant-numeric:tabular-nums}"
    ".formula{color:#555;font-size:90%}.pics{display:flex;flex-wrap:wrap;gap:24px}"
    "figure{margin:0}figcaption{color:#555;font-size:90%}";

std::string PngImage(const Picture& picture, const std::string& alt) {
    return "<img alt=\"" + Escaped(alt) + "\" width=\"" + std::to_string(picture.Width()) +
           "\" height=\"" + std::to_string(picture.Height()) + "\" src=\"data:image/png;base64," +
           Base64(EncodePng(picture)) + "\">";
}

std::string Figure(const std::string& body, const std::string& caption) {
    return "<figure>" + body + "<figcaption>" + caption + "</figcaption></figure>";
}

std::string FigureCells(const CardMeasurement& m, const CardFigures& f, const FigureRow& row,
                        const std::string& state) {
    const std::string key = "/" + state + "/figures/" + row.key + "/";
    return "<td class=\"n\" data-key=\"" + key + "value\">" + Fixed(row.value(f), row.decimals) +
           "</td><td>" + (row.judgement ? Escaped(row.judgement(m, f)) : "") + "</td>";
}

std::string FiguresTable(const CardMeasurement& m) {
    std::string html =
        "<table><tr><th>Figure</th><th>Formula</th><th>Unit</th><th>As shot</th><th>Verdict</th>"
        "<th>Equalized by itself at " +
        Fixed(m.amountToApply * 100.0, 0) + " %</th><th>Verdict</th></tr>";
    for (const FigureRow& row : FigureRows())
        html += std::string("<tr><td>") + row.name + "</td><td class=\"formula\">" + row.formula +
                "</td><td>" + row.unit + "</td>" + FigureCells(m, m.before, row, "as_shot") +
                FigureCells(m, m.after, row, "equalized") + "</tr>";
    return html + "</table>";
}

std::string CardText(const CardMeasurement& m) {
    const GridAxis &x = m.grid.X(), &y = m.grid.Y();
    std::string html = "<p>" + Escaped(m.fileName) + ": " + std::to_string(m.width) + " x " +
                       std::to_string(m.height) + " pixels, " + std::to_string(m.bitsPerSample) +
                       " bits a sample. Original format " + m.format.name + ".</p>";
    html += m.profileAssumed
                ? "<p><strong>The card has no ICC profile, so its colours were taken to be "
                  "sRGB.</strong> The figures are only as right as that guess.</p>"
                : "<p>Colours through the card's ICC profile \"" + Escaped(m.profileDescription) +
                      "\".</p>";
    return html +
           "<p>L*a*b* are relative to the profile's white point (D50); Y is the linear luminance "
           "of the same conversion, 1 at that white. The card is sampled on an 11 x 11 grid of "
           "blocks, each the mean of its pixels, over the card less a border of 5 % of its "
           "width and height left out: x " +
           std::to_string(x.first) + " to " + std::to_string(x.first + x.length - 1) + ", y " +
           std::to_string(y.first) + " to " + std::to_string(y.first + y.length - 1) +
           ". Blocks are " + std::to_string(x.block) + " x " + std::to_string(y.block) +
           " pixels, the last in each row and column taking the remainder; the centre is the "
           "centre block. The five points are patches of " +
           std::to_string(m.grid.PatchSide()) + " x " + std::to_string(m.grid.PatchSide()) +
           " pixels at the centre and the four corners of the sampled area.</p>";
}

std::string DustText(const CardFigures& f) {
    return "<p>Dust: pixels whose green lies more than " +
           Fixed(DustFinder::kThreshold * 100.0, 0) +
           " % below the smoothed card (means of coarse cells, smoothed with their neighbours "
           "and read between their centres), grouped into specks of touching pixels. " +
           std::to_string(f.dustCount) + " found; each is ringed in red on the map of Y.</p>";
}

std::string Pictures(const CardMeasurement& m, const ReportPictures& p) {
    return "<h2>Pictures</h2><div class=\"pics\">" +
           Figure(PngImage(p.toneMap, "tone map"),
                  "Tone map as the window draws it: blue at 200, red at 250 and above (8-bit "
                  "green)") +
           Figure(LightMapSvg(m, m.before, p.lightMap, p.scale, "ramp-as-shot"),
                  "Y / Y centre as shot, with contour lines and dust") +
           Figure(LightMapSvg(m, m.after, p.lightMapEqualized, p.scale, "ramp-equalized"),
                  "Y / Y centre equalized by itself") +
           Figure(BlockGridSvg(m.before),
                  "L* of each block as shot: green within the lightness limit of the brightest "
                  "block, red beyond it") +
           Figure(ProfilesSvg(m, m.before), "Y / Y centre along the centre lines, as shot") +
           "</div>";
}
}  // namespace

ReportPictures MakeReportPictures(const CardMeasurement& m, Picture toneMap) {
    std::vector<double> both = m.before.lightMap;
    both.insert(both.end(), m.after.lightMap.begin(), m.after.lightMap.end());
    const LightMapScale scale = LightMapScale::For(both);
    return {std::move(toneMap), scale, DrawLightMap(m, m.before, scale, kLightMapRoom),
            DrawLightMap(m, m.after, scale, kLightMapRoom)};
}

std::string ReportPage(const CardMeasurement& m, const ReportPictures& pictures) {
    return "<!DOCTYPE html>\n<html lang=\"en\"><head><meta charset=\"utf-8\"><title>White card "
           "report: " +
           Escaped(m.fileName) + "</title><style>" + kStyle +
           "</style></head><body><h1>White card report: " + Escaped(m.fileName) + "</h1>" +
           CardText(m) + "<h2>Figures</h2>" + FiguresTable(m) + DustText(m.before) +
           Pictures(m, pictures) + "</body></html>\n";
}

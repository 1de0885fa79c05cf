#include "ReportCharts.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>

#include "CellGrid.h"
#include "PngFile.h"
#include "TextFormat.h"

namespace {
constexpr int kCell = 52;
constexpr int kChartW = 640, kChartH = 300, kMargin = 48;

std::string Hex(std::uint32_t colour) {
    char text[8];
    std::snprintf(text, sizeof text, "#%06x", colour & 0xFFFFFFu);
    return text;
}

std::string Num(double v) {
    return Fixed(v, 1);
}

std::string SvgOpen(double w, double h, const std::string& label) {
    return "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"" + Num(w) + "\" height=\"" + Num(h) +
           "\" viewBox=\"0 0 " + Num(w) + " " + Num(h) + "\" role=\"img\" aria-label=\"" +
           Escaped(label) + "\" font-family=\"sans-serif\" font-size=\"12\">";
}

std::string Text(double x, double y, const std::string& text, const char* anchor = "middle") {
    return "<text x=\"" + Num(x) + "\" y=\"" + Num(y) + "\" text-anchor=\"" + anchor + "\">" +
           Escaped(text) + "</text>";
}

std::string Ring(double x, double y, const char* colour, double width) {
    return "<circle cx=\"" + Num(x) + "\" cy=\"" + Num(y) + "\" r=\"9\" fill=\"none\" stroke=\"" +
           colour + "\" stroke-width=\"" + Num(width) + "\"/>";
}

// One centre line of the sampled area, from one end to the other.
struct CentreLine {
    const char* name;
    const char* colour;
    double x0, y0, x1, y1;  // in parts of the sampled area, 0..1
};
constexpr std::array<CentreLine, 4> kLines = {{{"horizontal", "#1f77b4", 0, 0.5, 1, 0.5},
                                               {"vertical", "#d62728", 0.5, 0, 0.5, 1},
                                               {"diagonal ↘", "#2ca02c", 0, 0, 1, 1},
                                               {"diagonal ↗", "#9467bd", 0, 1, 1, 0}}};
constexpr int kSteps = 100;

std::vector<double> Profile(const CardMeasurement& m, const CardFigures& f, const CentreLine& l) {
    const CellGrid cells(m.grid);
    const GridAxis &ax = m.grid.X(), &ay = m.grid.Y();
    std::vector<double> values;
    for (int k = 0; k <= kSteps; ++k) {
        const double t = static_cast<double>(k) / kSteps;
        const double u = l.x0 + (l.x1 - l.x0) * t, v = l.y0 + (l.y1 - l.y0) * t;
        values.push_back(cells.At(f.lightMap, ax.first + u * ax.length, ay.first + v * ay.length));
    }
    return values;
}

std::string Axes(double lo, double hi) {
    std::string svg;
    for (int k = 0; k <= 4; ++k) {
        const double y = kMargin + (kChartH - 2 * kMargin) * (1.0 - k / 4.0);
        svg += "<line x1=\"" + Num(kMargin) + "\" x2=\"" + Num(kChartW - kMargin) + "\" y1=\"" +
               Num(y) + "\" y2=\"" + Num(y) + "\" stroke=\"#ddd\"/>" +
               Text(kMargin - 6, y + 4, Fixed(lo + (hi - lo) * k / 4.0, 3), "end");
    }
    svg += Text(kChartW / 2.0, kChartH - 12, "position along the line, % of its length");
    for (int k = 0; k <= 4; ++k)
        svg += Text(kMargin + (kChartW - 2 * kMargin) * k / 4.0, kChartH - kMargin + 16,
                    std::to_string(k * 25));
    return svg;
}
}  // namespace

std::string BlockGridSvg(const CardFigures& f) {
    const int n = SampleGrid::kBlocks;
    std::string svg = SvgOpen(n * kCell + 2, n * kCell + 2, "L* of each block, pass or fail");
    for (int r = 0; r < n; ++r)
        for (int c = 0; c < n; ++c) {
            const BlockFigure& b = f.blocks[static_cast<std::size_t>(r * n + c)];
            const bool centre = r * n + c == SampleGrid::CentreBlock();
            svg += "<rect x=\"" + Num(1 + c * kCell) + "\" y=\"" + Num(1 + r * kCell) +
                   "\" width=\"" + Num(kCell) + "\" height=\"" + Num(kCell) + "\" fill=\"" +
                   (b.lightnessPass ? "#cdebc9" : "#f4bcbc") + "\" stroke=\"" +
                   (centre ? "#000" : "#fff") + "\"/>" +
                   Text(1 + c * kCell + kCell / 2.0, 1 + r * kCell + kCell / 2.0 + 4,
                        Fixed(b.colour.L, 1));
        }
    return svg + "</svg>";
}

std::string ProfilesSvg(const CardMeasurement& m, const CardFigures& f) {
    std::array<std::vector<double>, kLines.size()> profiles;
    double lo = 1.0, hi = 1.0;
    for (std::size_t k = 0; k < kLines.size(); ++k) {
        profiles[k] = Profile(m, f, kLines[k]);
        for (double v : profiles[k])
            if (std::isfinite(v)) lo = std::min(lo, v), hi = std::max(hi, v);
    }
    if (hi - lo < 0.01) lo = hi - 0.01;
    std::string svg =
        SvgOpen(kChartW, kChartH, "Y / Y centre along the centre lines") + Axes(lo, hi);
    for (std::size_t k = 0; k < kLines.size(); ++k) {
        svg += "<polyline fill=\"none\" stroke-width=\"2\" stroke=\"" +
               std::string(kLines[k].colour) + "\" points=\"";
        for (int i = 0; i <= kSteps; ++i) {
            const double v = std::isfinite(profiles[k][i]) ? profiles[k][i] : lo;
            svg += Num(kMargin + (kChartW - 2.0 * kMargin) * i / kSteps) + "," +
                   Num(kMargin + (kChartH - 2.0 * kMargin) * (hi - v) / (hi - lo)) + " ";
        }
        svg += "\"/><rect x=\"" + Num(kMargin + 150.0 * k) +
               "\" y=\"14\" width=\"14\" height=\"4\" fill=\"" + kLines[k].colour + "\"/>" +
               Text(kMargin + 150.0 * k + 20, 20, kLines[k].name, "start");
    }
    return svg + "</svg>";
}

std::string LightMapSvg(const CardMeasurement& m, const CardFigures& f, const Picture& map,
                        const LightMapScale& scale, const std::string& id) {
    const double w = static_cast<double>(map.Width()), h = static_cast<double>(map.Height());
    const double fit = w / static_cast<double>(m.grid.X().length);
    std::string svg = SvgOpen(w + 150, h, "Y / Y centre over the sampled area") +
                      "<defs><linearGradient id=\"" + id +
                      "\" x1=\"0\" y1=\"1\" x2=\"0\" y2=\"0\">";
    for (int k = 0; k <= 8; ++k)
        svg += "<stop offset=\"" + Fixed(k / 8.0, 3) + "\" stop-color=\"" +
               Hex(LightMapScale::Ramp(k / 8.0)) + "\"/>";
    svg += "</linearGradient></defs><image width=\"" + Num(w) + "\" height=\"" + Num(h) +
           "\" href=\"data:image/png;base64," + Base64(EncodePng(map)) + "\"/>";
    for (const Speck& s : f.specks) {
        const double x = (s.CentreX() - m.grid.X().first) * fit;
        const double y = (s.CentreY() - m.grid.Y().first) * fit;
        svg += Ring(x, y, "#fff", 3) + Ring(x, y, "#e00", 1.5);  // seen on light and dark
    }
    svg += "<rect x=\"" + Num(w + 16) + "\" y=\"8\" width=\"20\" height=\"" + Num(h - 16) +
           "\" fill=\"url(#" + id + ")\" stroke=\"#444\"/>" +
           Text(w + 42, 16, Fixed(scale.hi, 3), "start") +
           Text(w + 42, h - 6, Fixed(scale.lo, 3), "start") +
           Text(w + 42, h / 2 - 8, "lines 1 ± k × " + Fixed(scale.step, 3), "start") +
           Text(w + 42, h / 2 + 8, "for k = 1, 2, …", "start");
    return svg + "</svg>";
}

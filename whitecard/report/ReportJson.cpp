#include "ReportJson.h"

#include <nlohmann/json.hpp>

#include "FigureRows.h"

using nlohmann::json;

namespace {
json Measured(double value, const char* unit) {
    return {{"value", value}, {"unit", unit}};
}

json SpeckJson(const Speck& s) {
    return {{"x", s.CentreX()},
            {"y", s.CentreY()},
            {"pixels", s.pixels},
            {"depth_percent", s.deepest * 100.0},
            {"box", {s.x0, s.y0, s.x1, s.y1}}};
}

json BlocksJson(const CardMeasurement& m, const CardFigures& f) {
    json blocks = json::array();
    for (int r = 0; r < SampleGrid::kBlocks; ++r)
        for (int c = 0; c < SampleGrid::kBlocks; ++c) {
            const BlockFigure& b = f.blocks[static_cast<std::size_t>(r * SampleGrid::kBlocks + c)];
            blocks.push_back({{"row", r},
                              {"column", c},
                              {"x", m.grid.X().BlockStart(c)},
                              {"y", m.grid.Y().BlockStart(r)},
                              {"width", m.grid.X().BlockEnd(c) - m.grid.X().BlockStart(c)},
                              {"height", m.grid.Y().BlockEnd(r) - m.grid.Y().BlockStart(r)},
                              {"L", b.colour.L},
                              {"a", b.colour.a},
                              {"b", b.colour.b},
                              {"Y", b.colour.Y},
                              {"falloff_ev", b.ev},
                              {"colour_shift", b.colourShift},
                              {"lightness_verdict", b.lightnessPass ? "pass" : "fail"}});
        }
    return blocks;
}

json FiguresJson(const CardMeasurement& m, const CardFigures& f) {
    json figures;
    for (const FigureRow& row : FigureRows()) {
        json& entry = figures[row.key] = Measured(row.value(f), row.unit);
        if (row.judgementKey) entry[row.judgementKey] = row.judgement(m, f);
    }
    json points = json::array();
    for (int k = 0; k < SampleGrid::kPoints; ++k)
        points.push_back(
            {{"name", SampleGrid::kPointNames[k]}, {"Y", f.pointY[k]}, {"green", f.pointGreen[k]}});
    json specks = json::array();
    for (const Speck& s : f.specks) specks.push_back(SpeckJson(s));
    return {{"figures", figures},
            {"points", points},
            {"blocks", BlocksJson(m, f)},
            {"dust", {{"threshold_percent", DustFinder::kThreshold * 100.0}, {"specks", specks}}}};
}
}  // namespace

std::string ReportJson(const CardMeasurement& m) {
    const GridAxis &x = m.grid.X(), &y = m.grid.Y();
    const json report = {
        {"schema", "brisavane-card-report"},
        {"schema_version", kReportSchemaVersion},
        {"card",
         {{"file", m.fileName},
          {"width", m.width},
          {"height", m.height},
          {"bits_per_sample", m.bitsPerSample}}},
        {"colour",
         {{"profile", m.profileDescription},
          {"srgb_assumed", m.profileAssumed},
          {"lab", "CIE L*a*b*, relative colorimetric to the profile's white point (D50)"}}},
        {"sampling",
         {{"unit", "px"},
          {"border_percent", SampleGrid::kBorderPercent},
          {"area", {{"x", x.first}, {"y", y.first}, {"width", x.length}, {"height", y.length}}},
          {"blocks_per_side", SampleGrid::kBlocks},
          {"point_patch", m.grid.PatchSide()}}},
        {"format", {{"name", m.format.name}, {"lightness_limit", m.format.lightnessLimit}}},
        {"amount_percent", m.amountToApply * 100.0},
        {"as_shot", FiguresJson(m, m.before)},
        {"equalized", FiguresJson(m, m.after)}};
    return report.dump(2) + "\n";
}

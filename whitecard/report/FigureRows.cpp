#include "FigureRows.h"

#include "TextFormat.h"

namespace {
std::string Verdict(bool pass) {
    return pass ? "pass" : "fail";
}

std::string LightnessVerdict(const CardMeasurement& m, const CardFigures& f) {
    return Verdict(f.lightnessPass) + " (limit " + Fixed(m.format.lightnessLimit, 0) + " for " +
           m.format.name + ")";
}

std::string StarsText(const CardMeasurement&, const CardFigures& f) {
    return f.stars == 0 ? "none" : std::string(static_cast<std::size_t>(f.stars), '*');
}

std::string CornerName(const CardMeasurement&, const CardFigures& f) {
    return CardFigures::kCornerNames[static_cast<std::size_t>(f.worstCorner)];
}

std::string ShadingVerdictText(const CardMeasurement&, const CardFigures& f) {
    return f.shading == ShadingVerdict::Pass    ? "pass"
           : f.shading == ShadingVerdict::Loose ? "pass at the looser level"
                                                : "fail";
}

std::string ClippingVerdict(const CardMeasurement&, const CardFigures& f) {
    return Verdict(f.clippingPass);
}

std::string LargestSpeck(const CardMeasurement&, const CardFigures& f) {
    if (!f.largestSpeck) return "none";
    const Speck& s = *f.largestSpeck;
    return std::to_string(s.pixels) + " px at x " + Fixed(s.CentreX(), 0) + ", y " +
           Fixed(s.CentreY(), 0) + ", " + Fixed(s.deepest * 100.0, 1) + " % deep";
}
}  // namespace

const std::vector<FigureRow>& FigureRows() {
    static const std::vector<FigureRow> kRows = {
        {"lightness_range", "Lightness range", "max L* &minus; min L* over the 121 blocks", "ΔL*",
         2, [](const CardFigures& f) { return f.lightnessRange; }, "verdict", LightnessVerdict},
        {"non_uniformity_y", "Non-uniformity, linear Y",
         "(max Y &minus; min Y) / mean Y over the five points", "%", 2,
         [](const CardFigures& f) { return f.nonUniformityY * 100.0; }, "stars", StarsText},
        {"non_uniformity_green", "Non-uniformity, encoded green",
         "(max G &minus; min G) / mean G over the five points, G the green sample as stored", "%",
         2, [](const CardFigures& f) { return f.nonUniformityGreen * 100.0; }, nullptr, nullptr},
        {"stars", "Stars",
         "from linear Y: below 1 % four, below 3 % three, below 5 % two, below 8 % one", "stars", 0,
         [](const CardFigures& f) { return static_cast<double>(f.stars); }, nullptr, nullptr},
        {"variation_y", "Coefficient of variation of Y",
         "population standard deviation of Y / mean Y over the 121 blocks", "%", 2,
         [](const CardFigures& f) { return f.variationY * 100.0; }, nullptr, nullptr},
        {"worst_corner_falloff", "Falloff at the worst corner",
         "log<sub>2</sub>(Y of the corner block / Y of the centre block)", "EV", 3,
         [](const CardFigures& f) { return f.worstCornerEv; }, "corner", CornerName},
        {"colour_shading", "Colour shading",
         "largest &radic;(&Delta;a*&sup2; + &Delta;b*&sup2;) of a block against the centre "
         "block; pass at most 2, looser level 3",
         "ΔC*ab", 2, [](const CardFigures& f) { return f.largestColourShift; }, "verdict",
         ShadingVerdictText},
        {"clipped_share", "Clipped pixels",
         "pixels with a channel at the ceiling / all pixels of the card", "%", 3,
         [](const CardFigures& f) { return f.clippedShare * 100.0; }, nullptr, nullptr},
        {"largest_8bit", "Largest sample, 8-bit scale",
         "largest sample &times; 255 / ceiling; pass at most 248 with no pixel clipped", "8-bit", 1,
         [](const CardFigures& f) { return f.largest8Bit; }, "verdict", ClippingVerdict},
        {"dust_specks", "Dust specks",
         "groups of touching pixels whose green lies below the smoothed card by more than the "
         "threshold told under the table",
         "specks", 0, [](const CardFigures& f) { return static_cast<double>(f.dustCount); },
         "largest", LargestSpeck},
    };
    return kRows;
}

#include "CardFigures.h"

#include <algorithm>
#include <cmath>
#include <numeric>

namespace {
constexpr int kN = SampleGrid::kBlocks;

double SpreadOverMean(const std::array<double, SampleGrid::kPoints>& values) {
    const auto [lo, hi] = std::minmax_element(values.begin(), values.end());
    const double mean = std::accumulate(values.begin(), values.end(), 0.0) / values.size();
    return mean > 0.0 ? (*hi - *lo) / mean : 0.0;
}

void FigureBlocks(const CardSums& sums, const CardColour& colour, double limit, CardFigures& f) {
    f.blocks.resize(sums.blocks.size());
    for (std::size_t k = 0; k < sums.blocks.size(); ++k)
        f.blocks[k].colour = colour.Convert(sums.blocks[k].Mean());
    const LabY centre = f.blocks[SampleGrid::CentreBlock()].colour;
    const auto [lo, hi] = std::minmax_element(
        f.blocks.begin(), f.blocks.end(),
        [](const BlockFigure& a, const BlockFigure& b) { return a.colour.L < b.colour.L; });
    const double brightest = hi->colour.L;
    f.lightnessRange = brightest - lo->colour.L;
    f.lightnessPass = f.lightnessRange <= limit;
    for (BlockFigure& block : f.blocks) {
        block.ev = std::log2(block.colour.Y / centre.Y);
        block.colourShift = std::hypot(block.colour.a - centre.a, block.colour.b - centre.b);
        block.lightnessPass = brightest - block.colour.L <= limit;
        f.largestColourShift = std::max(f.largestColourShift, block.colourShift);
    }
}

void FigureSpread(const CardSums& sums, const CardColour& colour, double ceiling, CardFigures& f) {
    for (int k = 0; k < SampleGrid::kPoints; ++k) {
        const Channels mean = sums.points[k].Mean();
        f.pointY[k] = colour.Convert(mean).Y;
        f.pointGreen[k] = mean[1] / ceiling;
    }
    f.nonUniformityY = SpreadOverMean(f.pointY);
    f.nonUniformityGreen = SpreadOverMean(f.pointGreen);
    f.stars = StarsFor(f.nonUniformityY);
    double sum = 0.0, squares = 0.0;
    for (const BlockFigure& b : f.blocks) sum += b.colour.Y;
    const double mean = sum / static_cast<double>(f.blocks.size());
    for (const BlockFigure& b : f.blocks) squares += (b.colour.Y - mean) * (b.colour.Y - mean);
    f.variationY = std::sqrt(squares / static_cast<double>(f.blocks.size())) / mean;
}

void FigureCorners(CardFigures& f) {
    const std::array<int, 4> corners = {0, kN - 1, kN * kN - 1, kN * (kN - 1)};
    f.worstCornerEv = f.blocks[corners[0]].ev;
    for (int k = 1; k < 4; ++k)
        if (f.blocks[corners[k]].ev < f.worstCornerEv)
            f.worstCorner = k, f.worstCornerEv = f.blocks[corners[k]].ev;
}
}  // namespace

std::optional<PrintFormat> PrintFormat::Named(const std::string& name) {
    static const std::array<PrintFormat, 5> kFormats = {
        {{"A4", 3.0}, {"A3", 3.0}, {"A2", 4.0}, {"A1", 5.0}, {"A0", 6.0}}};
    for (const PrintFormat& format : kFormats)
        if (format.name == name) return format;
    return std::nullopt;
}

int StarsFor(double nonUniformity) {
    static constexpr std::array<double, 4> kBelow = {0.08, 0.05, 0.03, 0.01};
    int stars = 0;
    for (double limit : kBelow) stars += nonUniformity < limit ? 1 : 0;
    return stars;
}

CardFigures ComputeFigures(const CardSums& sums, const DustFinder& dust, const CardColour& colour,
                           double ceiling, double lightnessLimit) {
    CardFigures f;
    FigureBlocks(sums, colour, lightnessLimit, f);
    FigureSpread(sums, colour, ceiling, f);
    FigureCorners(f);
    f.shading = f.largestColourShift <= CardFigures::kShadingLimit        ? ShadingVerdict::Pass
                : f.largestColourShift <= CardFigures::kShadingLooseLimit ? ShadingVerdict::Loose
                                                                          : ShadingVerdict::Fail;
    f.clippedShare = static_cast<double>(sums.clippedPixels) / static_cast<double>(sums.allPixels);
    f.largest8Bit = sums.largestSample * 255.0 / ceiling;
    f.clippingPass = sums.clippedPixels == 0 && f.largest8Bit <= CardFigures::kClipLimit;
    f.dustCount = dust.Count();
    if (const Speck* largest = dust.Largest()) f.largestSpeck = *largest;
    f.specks = dust.Kept();
    const double centreY = f.blocks[SampleGrid::CentreBlock()].colour.Y;
    for (const MeanSum& cell : sums.cells)
        f.lightMap.push_back(colour.Convert(cell.Mean()).Y / centreY);
    return f;
}

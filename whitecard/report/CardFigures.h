#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "CardColour.h"
#include "CardSums.h"
#include "DustFinder.h"

// How strictly the card is judged: the largest lightness range allowed for
// the size of the original (A4 and A3 3, A2 4, A1 5, A0 6 ΔL*).
struct PrintFormat {
    std::string name;
    double lightnessLimit;

    static std::optional<PrintFormat> Named(const std::string& name);
};

struct BlockFigure {
    LabY colour;
    double ev = 0;           // log2(Y / Y of the centre block)
    double colourShift = 0;  // sqrt(Δa*² + Δb*²) against the centre block
    bool lightnessPass = false;
};

// Colour shading is judged against 2, with 3 as the looser level.
enum class ShadingVerdict { Pass, Loose, Fail };

struct CardFigures {
    std::vector<BlockFigure> blocks;  // row by row, 11 x 11
    std::array<double, SampleGrid::kPoints> pointY{}, pointGreen{};
    double lightnessRange = 0;
    bool lightnessPass = false;
    double nonUniformityY = 0, nonUniformityGreen = 0;  // (max - min) / mean of the five points
    int stars = 0;
    double variationY = 0;  // population standard deviation / mean over the blocks
    int worstCorner = 0;    // index into kCornerNames
    double worstCornerEv = 0;
    double largestColourShift = 0;
    ShadingVerdict shading = ShadingVerdict::Pass;
    double clippedShare = 0;  // 0..1
    double largest8Bit = 0;   // largest sample on the 8-bit scale
    bool clippingPass = false;
    std::int64_t dustCount = 0;
    std::optional<Speck> largestSpeck;
    std::vector<Speck> specks;
    std::vector<double> lightMap;  // coarse cells, Y / Y of the centre block

    static constexpr std::array<const char*, 4> kCornerNames = {"top left", "top right",
                                                                "bottom right", "bottom left"};
    static constexpr double kShadingLimit = 2.0, kShadingLooseLimit = 3.0, kClipLimit = 248.0;
};

// The figures of one pass over the card from what its two passes gathered.
CardFigures ComputeFigures(const CardSums& sums, const DustFinder& dust, const CardColour& colour,
                           double ceiling, double lightnessLimit);

// Stars from the non-uniformity of linear Y: below 1 % four, below 3 %
// three, below 5 % two, below 8 % one.
int StarsFor(double nonUniformity);

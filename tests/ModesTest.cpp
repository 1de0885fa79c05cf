#include <gtest/gtest.h>
#include <lcms2.h>

#include <cmath>

#include "CardSmoother.h"
#include "ToneCurves.h"
#include "support/ReferenceEqualize.h"
#include "support/SavedProfile.h"

namespace {
// The profile, or one with the curve on all three channels, as a file embeds it.
std::vector<std::uint8_t> Icc(cmsHPROFILE profile, cmsToneCurve* curve = nullptr) {
    cmsToneCurve* curves[3] = {curve, curve, curve};
    auto bytes =
        SavedProfile(profile ? profile : cmsCreateRGBProfile(cmsD50_xyY(), nullptr, curves));
    cmsFreeToneCurve(curve);
    return bytes;
}

// Against the formulas to 2e-5, as a profile keeps the curves' parameters in 16.16 fixed point.
TEST(ToneCurves, FollowTheFormulasBothWaysHoldWhatLiesOutsideAndRefuseWhatTheyCantTake) {
    std::string why;
    for (const auto& [icc, formula] :
         {std::pair{Icc(cmsCreate_sRGBProfile()), &testing_tiff::SrgbToLinear},
          {Icc(nullptr, cmsBuildGamma(nullptr, 2.2)), &testing_tiff::GammaToLinear}}) {
        for (const int ceiling : {255, 65535}) {
            const auto curves = ToneCurves::FromProfile(icc, ceiling == 255 ? 8 : 16, why);
            for (int c = 0, s = 0; c < 3; s = s == ceiling ? (++c, 0) : s + 1) {
                const auto sample = static_cast<std::uint16_t>(s);
                ASSERT_NEAR(curves->Linear(c, sample), formula(s / double(ceiling)), 2e-5);
                ASSERT_EQ(curves->Sample(c, curves->Linear(c, sample)), s) << ceiling;
            }
            EXPECT_EQ(curves->Sample(1, curves->Linear(1, std::uint16_t{1}) / 2), 0);  // a tie
            EXPECT_EQ(curves->Sample(1, std::nan("")) + curves->Sample(1, -0.5), 0);
            EXPECT_EQ(curves->Sample(1, 7.0), ceiling);
            EXPECT_EQ(curves->Linear(1, 1e9) - curves->Linear(1, -3.0), 1.0);
        }
    }
    const std::uint16_t falling[] = {0, 40000, 30000, 65535};
    for (const auto& [icc, words] :
         {std::pair{std::vector<std::uint8_t>{}, "has no ICC profile"},
          {std::vector<std::uint8_t>(300, 0x5a), "its ICC profile can't be read"},
          {Icc(cmsCreateLab4Profile(nullptr)),
           "its ICC profile has no rTRC, gTRC and bTRC tone curves"},
          {Icc(nullptr, cmsBuildTabulatedToneCurve16(nullptr, 4, falling)),
           "its ICC profile has a tone curve that falls"}}) {
        EXPECT_FALSE(ToneCurves::FromProfile(icc, 16, why));
        EXPECT_EQ(why, words);
    }
}

// Bilinear: comes through exactly. Falloff: a fifth darker in the corners. Dusty: 3 x 3
// specks a fifth brighter every 50 pixels from near the edges, and +-2 % grain.
using Field = double (*)(std::uint32_t x, std::uint32_t y, int c);
double Bilinear(std::uint32_t x, std::uint32_t y, int c) {
    return (200.0 + 7 * x) * (300.0 - 1.5 * y) + c * x * y;
}
double Falloff(std::uint32_t x, std::uint32_t y, int c) {
    const double dx = (x - 330.0) / 600, dy = (y - 180.0) / 400;
    return (1000.0 + 100 * c) * (1.0 - 0.6 * (dx * dx + dy * dy));
}
double Dusty(std::uint32_t x, std::uint32_t y, int c) {
    const std::uint32_t hash = (x * 73856093u ^ y * 19349663u ^ c * 83492791u) * 0x5bd1e995u;
    const bool speck = (x + 47) % 50 < 3 && (y + 47) % 50 < 3;
    return Falloff(x, y, c) * (1.0 + ((hash >> 12) % 2001 - 1000.0) / 50000 + 0.2 * speck);
}

TEST(CardSmoother, SmoothsToTheExpectedFieldWithItsExtremesWhereRowsHaveThem) {
    const struct {
        std::uint32_t w, h, r;
        Field shot, expected;
        double inside, edges;  // relative tolerances: r or more from every edge, and nearer
    } cards[] = {{50, 40, 64, Bilinear, Bilinear, 1e-9, 1e-9},  // r wider than the card
                 {200, 1, 8, Bilinear, Bilinear, 1e-9, 1e-9},
                 {1, 150, 8, Bilinear, Bilinear, 1e-9, 1e-9},
                 {1, 1, 8, Bilinear, Bilinear, 1e-9, 1e-9},
                 {1500, 1000, 1, Bilinear, Bilinear, 1e-9, 1e-9},  // a grid coarser than r / 2
                 {600, 400, 16, Falloff, Falloff, 1e-3, 2e-3},
                 {600, 400, 16, Dusty, Falloff, 3e-3, 2e-2}};
    for (const auto& [w, h, r, shot, expected, inside, edges] : cards) {
        SCOPED_TRACE(::testing::Message() << w << " x " << h << ", r " << r);
        CardSmoother smoother(w, h, r);
        std::vector<double> row(w * 3);
        for (std::uint32_t y = 0; y < h; smoother.AddRow(row.data()), ++y) {
            for (std::uint32_t i = 0; i < row.size(); ++i) row[i] = shot(i / 3, y, i % 3);
        }
        std::vector<std::vector<double>> rows(h, row);  // asked bottom to top
        for (std::uint32_t y = h; y-- > 0;) smoother.Row(y, rows[y].data());
        double worst[2] = {};
        RowExtremes seen{{-1e300, -1e300, -1e300}, {1e300, 1e300, 1e300}};
        for (std::uint32_t y = 0; y < h; ++y) {
            smoother.Row(y, row.data());
            ASSERT_EQ(row, rows[y]) << y;
            for (std::uint32_t i = 0, x = 0, c = 0; i < row.size(); x = ++i / 3, c = i % 3) {
                const bool edge = std::min(x, y) < r || x + r >= w || y + r >= h;
                worst[edge] = std::max(worst[edge], std::abs(row[i] / expected(x, y, c) - 1));
                seen.min[c] = std::min(seen.min[c], row[i]);
                if (row[i] > seen.max[c]) seen.max[c] = row[i], seen.maxX[c] = x, seen.maxY[c] = y;
            }
        }
        EXPECT_LE(worst[0], inside);
        EXPECT_LE(worst[1], edges);
        EXPECT_EQ(smoother.Extremes(), seen);
    }
}
}  // namespace

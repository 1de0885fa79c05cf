#include <gtest/gtest.h>

#include <cmath>
#include <tuple>

#include "CardSmoother.h"

namespace {
// Bilinear fields come through exactly. The falloff: brightest off the middle,
// a fifth darker in the corners; dusty: with 3 x 3 specks a fifth brighter
// every 50 pixels from near the edges, and a grain of +-2 % from a hash.
double Bilinear(double x, double y, int c) {
    return (200.0 + 7 * x) * (300.0 - 1.5 * y) + c * x * y;
}
double Falloff(double x, double y, int c) {
    const double dx = (x - 330) / 600, dy = (y - 180) / 400;
    return (1000.0 + 100 * c) * (1.0 - 0.6 * (dx * dx + dy * dy));
}
double Dusty(double x, double y, int c) {
    const auto ix = static_cast<std::uint32_t>(x), iy = static_cast<std::uint32_t>(y);
    const std::uint32_t hash =
        ((ix * 73856093u) ^ (iy * 19349663u) ^ (c * 83492791u)) * 0x5bd1e995u;
    const bool speck = (ix + 47) % 50 < 3 && (iy + 47) % 50 < 3;
    return Falloff(x, y, c) * (1.0 + ((hash >> 12) % 2001 - 1000.0) / 50000 + 0.2 * speck);
}

struct Card {
    const char* name;
    std::uint32_t w, h, r;
    double (*shot)(double, double, int), (*expected)(double, double, int);
    double inside, edges;  // relative tolerances: r or more from every edge, and nearer
};
class CardSmootherCards : public ::testing::TestWithParam<Card> {};

TEST_P(CardSmootherCards, SmoothToTheExpectedFieldWithItsExtremesWhereRowsHaveThem) {
    const auto [name, w, h, r, shot, expected, inside, edges] = GetParam();
    CardSmoother smoother(w, h, r);
    std::vector<double> row(w * 3);
    for (std::uint32_t y = 0; y < h; smoother.AddRow(row.data()), ++y) {
        for (std::uint32_t i = 0; i < row.size(); ++i) row[i] = shot(i / 3, y, i % 3);
    }
    std::vector<std::vector<double>> rows(h, row);  // asked bottom to top
    for (std::uint32_t y = h; y-- > 0;) smoother.Row(y, rows[y].data());
    double worst[2] = {};
    CardSmoother::ChannelExtremes seen{{-1e300, -1e300, -1e300}, {1e300, 1e300, 1e300}};
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
    const auto got = smoother.Extremes();
    for (int c = 0; c < 3; ++c) {
        EXPECT_EQ(std::tie(got.max[c], got.min[c], got.maxX[c], got.maxY[c]),
                  std::tie(seen.max[c], seen.min[c], seen.maxX[c], seen.maxY[c]));
    }
}
INSTANTIATE_TEST_SUITE_P(
    Fields, CardSmootherCards,
    ::testing::Values(Card{"bilinear", 97, 61, 8, Bilinear, Bilinear, 1e-9, 1e-9},
                      Card{"wider_than_the_card", 50, 40, 64, Bilinear, Bilinear, 1e-9, 1e-9},
                      Card{"one_row", 200, 1, 8, Bilinear, Bilinear, 1e-9, 1e-9},
                      Card{"one_column", 1, 150, 8, Bilinear, Bilinear, 1e-9, 1e-9},
                      Card{"one_pixel", 1, 1, 8, Bilinear, Bilinear, 1e-9, 1e-9},
                      Card{"coarser_grid_than_r", 1500, 1000, 1, Bilinear, Bilinear, 1e-9, 1e-9},
                      Card{"falloff", 600, 400, 16, Falloff, Falloff, 1e-3, 2e-3},
                      Card{"dust_and_grain", 600, 400, 16, Dusty, Falloff, 3e-3, 2e-2}),
    [](const auto& info) { return info.param.name; });
}  // namespace

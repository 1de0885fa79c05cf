#include "LightMapPicture.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "CellGrid.h"

namespace {
constexpr std::uint32_t kContour = RGB(40, 40, 40);
constexpr int kMaxContours = 10;
}  // namespace

LightMapScale LightMapScale::For(const std::vector<double>& values) {
    LightMapScale s;
    const auto [lo, hi] = std::minmax_element(values.begin(), values.end());
    s.hi = std::isfinite(*hi) ? *hi : 1.0;
    s.lo = std::isfinite(*lo) ? std::min(*lo, s.hi - 0.01) : s.hi - 0.01;
    for (double step : {0.005, 0.01, 0.02, 0.05, 0.1, 0.2, 0.5}) {
        s.step = step;
        if ((s.hi - s.lo) / step <= kMaxContours) break;
    }
    return s;
}

std::uint32_t LightMapScale::Ramp(double t) {
    static constexpr std::array<std::array<double, 3>, 5> kStops = {
        {{48, 18, 59}, {70, 134, 251}, {27, 229, 181}, {251, 185, 56}, {228, 70, 10}}};
    const double u = std::clamp(t, 0.0, 1.0) * (kStops.size() - 1);
    const std::size_t k = std::min<std::size_t>(static_cast<std::size_t>(u), kStops.size() - 2);
    const double w = u - static_cast<double>(k);
    std::array<std::uint32_t, 3> c{};
    for (std::size_t i = 0; i < 3; ++i)
        c[i] = static_cast<std::uint32_t>(kStops[k][i] + (kStops[k + 1][i] - kStops[k][i]) * w);
    return RGB(c[0], c[1], c[2]);
}

std::uint32_t LightMapScale::Colour(double value) const {
    return Ramp((value - lo) / (hi - lo));
}

Picture DrawLightMap(const CardMeasurement& m, const CardFigures& f, const LightMapScale& scale,
                     std::int64_t room) {
    const GridAxis &ax = m.grid.X(), &ay = m.grid.Y();
    const double fit =
        static_cast<double>(room) / static_cast<double>(std::max(ax.length, ay.length));
    const auto w = static_cast<std::int64_t>(static_cast<double>(ax.length) * fit);
    const auto h = static_cast<std::int64_t>(static_cast<double>(ay.length) * fit);
    const CellGrid cells(m.grid);
    std::vector<double> values(static_cast<std::size_t>((w + 1) * (h + 1)));
    for (std::int64_t j = 0; j <= h; ++j)
        for (std::int64_t i = 0; i <= w; ++i)
            values[static_cast<std::size_t>(j * (w + 1) + i)] =
                cells.At(f.lightMap, static_cast<double>(ax.first) + (i + 0.5) / fit,
                         static_cast<double>(ay.first) + (j + 0.5) / fit);
    // Lines at 1 + k x step for every k but 0: the centre's own level would
    // only trace noise on an evenly lit card.
    const auto band = [&](std::int64_t i, std::int64_t j) {
        const double k =
            std::floor((values[static_cast<std::size_t>(j * (w + 1) + i)] - 1.0) / scale.step);
        return k == -1.0 ? 0.0 : k;
    };
    Picture picture(w, h);
    for (std::int64_t j = 0; j < h; ++j)
        for (std::int64_t i = 0; i < w; ++i) {
            const bool edge = band(i, j) != band(i + 1, j) || band(i, j) != band(i, j + 1);
            picture.SetPixel(
                i, j,
                edge ? kContour : scale.Colour(values[static_cast<std::size_t>(j * (w + 1) + i)]));
        }
    return picture;
}

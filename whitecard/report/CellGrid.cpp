#include "CellGrid.h"

#include <algorithm>
#include <cmath>

namespace {
constexpr std::int64_t kMinCell = 16;
constexpr std::int64_t kMaxCells = 256;
}  // namespace

CellGrid::Axis CellGrid::MakeAxis(const GridAxis& axis, std::int64_t side) {
    return {axis.first, axis.length, static_cast<int>((axis.length + side - 1) / side)};
}

CellGrid::CellGrid(const SampleGrid& grid) {
    const std::int64_t longest = std::max(grid.X().length, grid.Y().length);
    const std::int64_t side = std::max(kMinCell, (longest + kMaxCells - 1) / kMaxCells);
    x_ = MakeAxis(grid.X(), side);
    y_ = MakeAxis(grid.Y(), side);
    columns_ = x_.count;
    rows_ = y_.count;
}

std::size_t CellGrid::Cell(std::int64_t x, std::int64_t y) const {
    return static_cast<std::size_t>(y_.Index(y)) * columns_ + x_.Index(x);
}

int CellGrid::Axis::Lower(double p, double& t) const {
    const double u = (p - static_cast<double>(first)) * count / static_cast<double>(length) - 0.5;
    const int lower = std::clamp(static_cast<int>(std::floor(u)), 0, std::max(count - 2, 0));
    t = count > 1 ? u - lower : 0.0;
    return lower;
}

double CellGrid::At(const std::vector<double>& values, double x, double y) const {
    double tx = 0.0, ty = 0.0;
    const int cx = x_.Lower(x, tx), cy = y_.Lower(y, ty);
    const int nx = std::min(cx + 1, columns_ - 1), ny = std::min(cy + 1, rows_ - 1);
    const auto value = [&](int c, int r) {
        return values[static_cast<std::size_t>(r) * columns_ + c];
    };
    const double top = value(cx, cy) + (value(nx, cy) - value(cx, cy)) * tx;
    const double bottom = value(cx, ny) + (value(nx, ny) - value(cx, ny)) * tx;
    return top + (bottom - top) * ty;
}

std::vector<double> CellGrid::Smoothed(const std::vector<double>& values) const {
    // Cells on an edge take no neighbours across it: a one-sided mean would
    // pull a falling edge towards the brighter inside.
    const auto reach = [](int k, int count) { return k == 0 || k == count - 1 ? 0 : 1; };
    std::vector<double> out(values.size());
    for (int r = 0; r < rows_; ++r)
        for (int c = 0; c < columns_; ++c) {
            const int ry = reach(r, rows_), rx = reach(c, columns_);
            double sum = 0.0;
            for (int j = r - ry; j <= r + ry; ++j)
                for (int i = c - rx; i <= c + rx; ++i)
                    sum += values[static_cast<std::size_t>(j) * columns_ + i];
            out[static_cast<std::size_t>(r) * columns_ + c] = sum / ((2 * ry + 1) * (2 * rx + 1));
        }
    return out;
}

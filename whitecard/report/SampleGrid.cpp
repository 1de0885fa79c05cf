#include "SampleGrid.h"

#include <algorithm>

GridAxis GridAxis::For(std::int64_t extent) {
    const std::int64_t border = extent * SampleGrid::kBorderPercent / 100;
    const std::int64_t length = extent - 2 * border;
    return {border, length, length / SampleGrid::kBlocks};
}

int GridAxis::Block(std::int64_t p) const {
    if (p < first || p >= first + length) return -1;
    return static_cast<int>(std::min<std::int64_t>((p - first) / block, SampleGrid::kBlocks - 1));
}

std::int64_t GridAxis::BlockEnd(int k) const {
    return k == SampleGrid::kBlocks - 1 ? first + length : BlockStart(k + 1);
}

std::optional<SampleGrid> SampleGrid::For(std::int64_t width, std::int64_t height) {
    SampleGrid grid;
    grid.x_ = GridAxis::For(width);
    grid.y_ = GridAxis::For(height);
    if (grid.x_.block < 1 || grid.y_.block < 1) return std::nullopt;
    grid.patch_ = std::max<std::int64_t>(kMinPatch, std::min(grid.x_.block, grid.y_.block) / 2);
    return grid;
}

PixelRect SampleGrid::Point(int k) const {
    // Where along an axis: 0 at its start, 1 centred, 2 at its end.
    static constexpr std::array<std::array<int, 2>, kPoints> kPlaces = {
        {{1, 1}, {0, 0}, {2, 0}, {2, 2}, {0, 2}}};
    const auto start = [&](const GridAxis& axis, int place) {
        return axis.first + (axis.length - patch_) * place / 2;
    };
    const std::int64_t x0 = start(x_, kPlaces[k][0]), y0 = start(y_, kPlaces[k][1]);
    return {x0, y0, x0 + patch_, y0 + patch_};
}

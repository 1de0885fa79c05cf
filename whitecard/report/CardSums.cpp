#include "CardSums.h"

#include <algorithm>

Channels MeanSum::Mean() const {
    const double n = count > 0 ? static_cast<double>(count) : 1.0;
    return {sum[0] / n, sum[1] / n, sum[2] / n};
}

CardSums::CardSums(const SampleGrid& grid, const CellGrid& cells, double ceiling)
    : cells(cells.Count()), grid_(grid), cellGrid_(cells), ceiling_(ceiling) {}

void CardSums::AddClipping(const std::vector<Channels>& pixels) {
    for (const Channels& p : pixels) {
        const double top = std::max({p[0], p[1], p[2]});
        clippedPixels += top >= ceiling_ ? 1 : 0;
        largestSample = std::max(largestSample, top);
    }
    allPixels += static_cast<std::int64_t>(pixels.size());
}

void CardSums::AddRow(std::int64_t y, const std::vector<Channels>& pixels) {
    AddClipping(pixels);
    for (int k = 0; k < SampleGrid::kPoints; ++k) {
        const PixelRect patch = grid_.Point(k);
        if (!patch.HasRow(y)) continue;
        for (std::int64_t x = patch.x0; x < patch.x1; ++x)
            points[k].Add(pixels[static_cast<std::size_t>(x)]);
    }
    const int blockRow = grid_.Y().Block(y);
    if (blockRow < 0) return;
    const GridAxis& across = grid_.X();
    for (int bx = 0; bx < SampleGrid::kBlocks; ++bx) {
        MeanSum& block = blocks[static_cast<std::size_t>(blockRow * SampleGrid::kBlocks + bx)];
        for (std::int64_t x = across.BlockStart(bx); x < across.BlockEnd(bx); ++x) {
            const Channels& pixel = pixels[static_cast<std::size_t>(x)];
            block.Add(pixel);
            cells[cellGrid_.Cell(x, y)].Add(pixel);
        }
    }
}

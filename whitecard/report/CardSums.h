#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "CellGrid.h"
#include "PixelChannels.h"
#include "SampleGrid.h"

// A running mean of red, green and blue samples.
struct MeanSum {
    Channels sum{};
    std::int64_t count = 0;

    void Add(const Channels& pixel) {
        for (std::size_t c = 0; c < 3; ++c) sum[c] += pixel[c];
        ++count;
    }
    Channels Mean() const;
};

// What the first pass over the card's rows gathers: the means of the blocks,
// of the five patches and of the coarse cells, and how much of the card is
// clipped. Rows arrive one at a time; nothing of a row is kept.
class CardSums {
  public:
    CardSums(const SampleGrid& grid, const CellGrid& cells, double ceiling);
    void AddRow(std::int64_t y, const std::vector<Channels>& pixels);

    std::array<MeanSum, SampleGrid::kBlocks * SampleGrid::kBlocks> blocks;
    std::array<MeanSum, SampleGrid::kPoints> points;
    std::vector<MeanSum> cells;
    std::int64_t clippedPixels = 0;  // pixels with any channel at the ceiling
    std::int64_t allPixels = 0;
    double largestSample = 0.0;

  private:
    void AddClipping(const std::vector<Channels>& pixels);

    const SampleGrid& grid_;
    const CellGrid& cellGrid_;
    double ceiling_;
};

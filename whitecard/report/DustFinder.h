#pragma once

#include <cstdint>
#include <vector>

#include "CellGrid.h"
#include "PixelChannels.h"

// One speck: touching pixels darker than the smooth card around them.
struct Speck {
    std::int64_t x0 = 0, y0 = 0, x1 = 0, y1 = 0;  // bounding box, inclusive
    std::int64_t pixels = 0;
    double deepest = 0.0;  // largest shortfall below the smooth card, 0..1
    double sumX = 0.0, sumY = 0.0;

    double CentreX() const { return sumX / static_cast<double>(pixels); }
    double CentreY() const { return sumY / static_cast<double>(pixels); }
    bool Touches(std::int64_t x, std::int64_t y) const {
        return x + 1 >= x0 && x <= x1 + 1 && y <= y1 + 1;
    }
};

// The second pass: dust shows as small dark specks, green samples more than
// kThreshold below the smooth card (the coarse cells, smoothed and read between
// their centres). Flagged pixels join a speck when they touch its box; a speck
// is closed once a row passes without adding to it, so only a band of rows is
// ever open.
class DustFinder {
  public:
    static constexpr double kThreshold = 0.03;
    // Specks kept with their places; more are counted but not placed.
    static constexpr std::size_t kKept = 500;

    DustFinder(const SampleGrid& grid, const CellGrid& cells, std::vector<double> smoothGreen);
    void AddRow(std::int64_t y, const std::vector<Channels>& pixels);
    // Closes the specks still open; call once after the last row.
    void Finish();

    std::int64_t Count() const { return count_; }
    const std::vector<Speck>& Kept() const { return kept_; }
    // The speck of most pixels; nullptr when there is none.
    const Speck* Largest() const;

  private:
    void Flag(std::int64_t x, std::int64_t y, double shortfall);
    void CloseBefore(std::int64_t y);
    void Close(const Speck& speck);

    const SampleGrid& grid_;
    const CellGrid& cells_;
    std::vector<double> smooth_;
    std::vector<Speck> open_, kept_;
    Speck largest_;
    std::int64_t count_ = 0;
};

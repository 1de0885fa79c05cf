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
    void Add(std::int64_t x, std::int64_t y, double shortfall);
    void Absorb(const Speck& other);
};

// The second pass: dust shows as small dark specks, green samples more than
// kThreshold below the smooth card (the coarse cells, smoothed and read between
// their centres). Flagged pixels that touch, across a corner too, make one
// speck. Only the specks of the row above are open, labelled pixel by pixel,
// so time is linear and memory two rows whatever the card holds.
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
    const Speck* Largest() const { return count_ > 0 ? &largest_ : nullptr; }

  private:
    int Root(int id);
    int Join(int a, int b);
    int SpeckAt(std::size_t i);
    // Closes the open specks that no pixel of this row joined; renumbers the rest.
    void EndRow();
    void Close(const Speck& speck);

    const SampleGrid& grid_;
    const CellGrid& cells_;
    std::vector<double> smooth_;
    std::vector<int> above_, here_;  // speck of each pixel of the sampled width, -1 for none
    std::vector<Speck> open_;
    std::vector<int> parent_;  // specks joined since the row began point to the one they joined
    std::vector<Speck> kept_;
    Speck largest_;
    std::int64_t count_ = 0;
};

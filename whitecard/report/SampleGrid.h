#pragma once

#include <array>
#include <cstdint>
#include <optional>

// Where the report samples the card: an 11 x 11 grid of blocks over the card
// less a border of 5 % of its width and height, where lens and lights are
// least trusted and a card's edge often shows, and five small patches.
struct GridAxis {
    std::int64_t first = 0;   // first pixel of the sampled area
    std::int64_t length = 0;  // pixels of the sampled area
    std::int64_t block = 0;   // pixels of every block but the last, which takes the remainder

    static GridAxis For(std::int64_t extent);
    // The block a pixel falls in, or -1 outside the sampled area.
    int Block(std::int64_t p) const;
    std::int64_t BlockStart(int k) const { return first + k * block; }
    std::int64_t BlockEnd(int k) const;
};

// A rectangle of pixels, [x0, x1) x [y0, y1).
struct PixelRect {
    std::int64_t x0, y0, x1, y1;
    bool HasRow(std::int64_t y) const { return y >= y0 && y < y1; }
};

class SampleGrid {
  public:
    static constexpr int kBlocks = 11;
    static constexpr int kBorderPercent = 5;
    static constexpr int kMinPatch = 11;
    // The five patches: the centre first, then the corners clockwise from top left.
    static constexpr int kPoints = 5;
    static constexpr std::array<const char*, kPoints> kPointNames = {
        "centre", "top left", "top right", "bottom right", "bottom left"};

    // nullopt when the sampled area is narrower or lower than the grid.
    static std::optional<SampleGrid> For(std::int64_t width, std::int64_t height);

    const GridAxis& X() const { return x_; }
    const GridAxis& Y() const { return y_; }
    // Side of each square patch: at least 11 pixels, half a block on larger cards.
    std::int64_t PatchSide() const { return patch_; }
    PixelRect Point(int k) const;
    static int CentreBlock() { return (kBlocks / 2) * kBlocks + kBlocks / 2; }

  private:
    GridAxis x_, y_;
    std::int64_t patch_ = 0;
};

#include "DustFinder.h"

#include <algorithm>

void Speck::Add(std::int64_t x, std::int64_t y, double shortfall) {
    if (pixels == 0) x0 = x1 = x, y0 = y1 = y;
    x0 = std::min(x0, x), x1 = std::max(x1, x), y1 = std::max(y1, y);
    ++pixels;
    sumX += static_cast<double>(x), sumY += static_cast<double>(y);
    deepest = std::max(deepest, shortfall);
}

void Speck::Absorb(const Speck& other) {
    x0 = std::min(x0, other.x0), y0 = std::min(y0, other.y0);
    x1 = std::max(x1, other.x1), y1 = std::max(y1, other.y1);
    pixels += other.pixels, sumX += other.sumX, sumY += other.sumY;
    deepest = std::max(deepest, other.deepest);
}

DustFinder::DustFinder(const SampleGrid& grid, const CellGrid& cells,
                       std::vector<double> smoothGreen)
    : grid_(grid),
      cells_(cells),
      smooth_(std::move(smoothGreen)),
      above_(static_cast<std::size_t>(grid.X().length), -1),
      here_(above_) {}

void DustFinder::AddRow(std::int64_t y, const std::vector<Channels>& pixels) {
    std::fill(here_.begin(), here_.end(), -1);
    if (grid_.Y().Block(y) >= 0) {
        const std::int64_t first = grid_.X().first;
        for (std::size_t i = 0; i < here_.size(); ++i) {
            const std::int64_t x = first + static_cast<std::int64_t>(i);
            const double level =
                cells_.At(smooth_, static_cast<double>(x) + 0.5, static_cast<double>(y) + 0.5);
            const double green = pixels[static_cast<std::size_t>(x)][1];
            if (level > 0.0 && green < level * (1.0 - kThreshold))
                open_[static_cast<std::size_t>(here_[i] = SpeckAt(i))].Add(x, y,
                                                                           1.0 - green / level);
        }
    }
    EndRow();
}

// The speck a flagged pixel belongs to: the one of its flagged neighbours to
// the left and above, all joined into one, or a new one.
int DustFinder::SpeckAt(std::size_t i) {
    int id = -1;
    const auto meet = [&](int neighbour) {
        if (neighbour >= 0) id = id < 0 ? Root(neighbour) : Join(id, Root(neighbour));
    };
    if (i > 0) meet(here_[i - 1]), meet(above_[i - 1]);
    meet(above_[i]);
    if (i + 1 < above_.size()) meet(above_[i + 1]);
    if (id >= 0) return id;
    open_.emplace_back();
    parent_.push_back(static_cast<int>(parent_.size()));
    return parent_.back();
}

int DustFinder::Root(int id) {
    const auto up = [&](int k) -> int& { return parent_[static_cast<std::size_t>(k)]; };
    while (up(id) != id) id = up(id) = up(up(id));  // halving the path as it goes
    return id;
}

int DustFinder::Join(int a, int b) {
    if (a != b) {
        open_[static_cast<std::size_t>(a)].Absorb(open_[static_cast<std::size_t>(b)]);
        parent_[static_cast<std::size_t>(b)] = a;
    }
    return a;
}

void DustFinder::EndRow() {
    std::vector<int> renumbered(open_.size(), -1);
    std::vector<Speck> still;
    for (int& id : here_) {
        if (id < 0) continue;
        const auto root = static_cast<std::size_t>(Root(id));
        if (renumbered[root] < 0) {
            renumbered[root] = static_cast<int>(still.size());
            still.push_back(open_[root]);
        }
        id = renumbered[root];
    }
    for (std::size_t id = 0; id < open_.size(); ++id)
        if (parent_[id] == static_cast<int>(id) && renumbered[id] < 0) Close(open_[id]);
    open_ = std::move(still);
    parent_.resize(open_.size());
    for (std::size_t id = 0; id < parent_.size(); ++id) parent_[id] = static_cast<int>(id);
    std::swap(above_, here_);
}

void DustFinder::Finish() {
    std::fill(here_.begin(), here_.end(), -1);
    EndRow();
}

void DustFinder::Close(const Speck& speck) {
    ++count_;
    if (kept_.size() < kKept) kept_.push_back(speck);
    if (speck.pixels > largest_.pixels) largest_ = speck;
}

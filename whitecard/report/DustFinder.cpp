#include "DustFinder.h"

#include <algorithm>

DustFinder::DustFinder(const SampleGrid& grid, const CellGrid& cells,
                       std::vector<double> smoothGreen)
    : grid_(grid), cells_(cells), smooth_(std::move(smoothGreen)) {}

void DustFinder::AddRow(std::int64_t y, const std::vector<Channels>& pixels) {
    CloseBefore(y);
    if (grid_.Y().Block(y) < 0) return;
    const GridAxis& across = grid_.X();
    for (std::int64_t x = across.first; x < across.first + across.length; ++x) {
        const double level =
            cells_.At(smooth_, static_cast<double>(x) + 0.5, static_cast<double>(y) + 0.5);
        const double green = pixels[static_cast<std::size_t>(x)][1];
        if (level > 0.0 && green < level * (1.0 - kThreshold)) Flag(x, y, 1.0 - green / level);
    }
}

void DustFinder::Flag(std::int64_t x, std::int64_t y, double shortfall) {
    Speck* home = nullptr;
    for (auto it = open_.begin(); it != open_.end();) {
        if (!it->Touches(x, y)) {
            ++it;
        } else if (!home) {
            home = &*it++;
        } else {  // the pixel joins two specks into one
            home->x0 = std::min(home->x0, it->x0), home->y0 = std::min(home->y0, it->y0);
            home->x1 = std::max(home->x1, it->x1), home->y1 = std::max(home->y1, it->y1);
            home->pixels += it->pixels, home->sumX += it->sumX, home->sumY += it->sumY;
            home->deepest = std::max(home->deepest, it->deepest);
            const std::ptrdiff_t at = home - open_.data();
            it = open_.erase(it);
            home = open_.data() + at;
        }
    }
    if (!home) home = &open_.emplace_back(Speck{x, y, x, y});
    home->x0 = std::min(home->x0, x), home->x1 = std::max(home->x1, x);
    home->y1 = std::max(home->y1, y);
    ++home->pixels;
    home->sumX += static_cast<double>(x), home->sumY += static_cast<double>(y);
    home->deepest = std::max(home->deepest, shortfall);
}

void DustFinder::CloseBefore(std::int64_t y) {
    const auto done = [y](const Speck& s) { return s.y1 + 1 < y; };
    for (const Speck& s : open_)
        if (done(s)) Close(s);
    std::erase_if(open_, done);
}

void DustFinder::Close(const Speck& speck) {
    ++count_;
    if (kept_.size() < kKept) kept_.push_back(speck);
    if (speck.pixels > largest_.pixels) largest_ = speck;
}

void DustFinder::Finish() {
    for (const Speck& s : open_) Close(s);
    open_.clear();
}

const Speck* DustFinder::Largest() const {
    return count_ > 0 ? &largest_ : nullptr;
}

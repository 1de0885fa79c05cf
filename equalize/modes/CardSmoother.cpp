#include "CardSmoother.h"

#include <algorithm>
#include <stdexcept>

namespace {
// About 12 MiB of grid at most, whatever the card's size.
constexpr std::uint64_t kMostNodes = 1 << 19;

std::uint64_t NodeCount(std::uint32_t length, std::uint32_t spacing) {
    return (length - 1 + static_cast<std::uint64_t>(spacing) - 1) / spacing + 1;
}

std::uint32_t Spacing(std::uint32_t width, std::uint32_t height, std::uint32_t radius) {
    std::uint32_t spacing = std::max<std::uint32_t>(1, radius / 2);
    while (NodeCount(width, spacing) * NodeCount(height, spacing) > kMostNodes) ++spacing;
    return spacing;
}

// The straight line fitted to the window [from, to] read at place, from the
// window's sum and its sum weighted by the distance from the middle.
double Fitted(std::uint32_t from, std::uint32_t to, std::uint32_t place, double sum,
              double moment) {
    const double count = to - from + 1.0;
    const double middle = (from + to) / 2.0;
    if (place == middle) return sum / count;
    const double spread = count * (count * count - 1.0) / 12.0;  // sum of (x - middle)^2
    return sum / count + moment / spread * (place - middle);
}

std::uint32_t NotEmpty(std::uint32_t length) {
    if (length == 0) throw std::invalid_argument("A card without pixels can't be smoothed.");
    return length;
}

// Between two values, never outside them, so that the interpolated card takes
// its extremes at the nodes.
double Between(double a, double b, double share) {
    const double value = a + share * (b - a);
    return std::clamp(value, std::min(a, b), std::max(a, b));
}
}  // namespace

CardSmoother::Axis::Axis(std::uint32_t length, std::uint32_t spacing, std::uint32_t radius)
    : before(length), weight(length) {
    const auto count = NodeCount(length, spacing);
    const std::uint64_t span = 2 * std::uint64_t{radius};
    for (std::uint64_t node = 0; node < count; ++node) {
        const auto place = std::min<std::uint64_t>(node * spacing, length - 1);
        // The window keeps its 2r + 1 pixels near an edge by moving inside.
        const std::uint64_t highest = length - 1 > span ? length - 1 - span : 0;
        const std::uint64_t start = std::min(place > radius ? place - radius : 0, highest);
        nodes.push_back(static_cast<std::uint32_t>(place));
        from.push_back(static_cast<std::uint32_t>(start));
        to.push_back(static_cast<std::uint32_t>(std::min<std::uint64_t>(start + span, length - 1)));
    }
    for (std::uint32_t place = 0; place < length; ++place) {
        std::uint32_t node =
            static_cast<std::uint32_t>(std::min<std::uint64_t>(place / spacing, count - 1));
        if (node + 1 < count && nodes[node + 1] <= place) ++node;  // the last node, closer in
        before[place] = node;
        if (node + 1 < count) {
            weight[place] =
                (place - nodes[node]) / static_cast<double>(nodes[node + 1] - nodes[node]);
        }
    }
}

bool CardSmoother::Axis::Centred(std::size_t node) const {
    return std::uint64_t{from[node]} + to[node] == 2 * std::uint64_t{nodes[node]};
}

std::size_t CardSmoother::Axis::OpenAtOnce() const {
    // Windows start and end in the order of their nodes, so the ones open at a
    // row are a run of nodes, the longest starting with one whose window closes there.
    std::size_t most = 1;
    for (std::size_t node = 0, last = 0; node < nodes.size(); ++node) {
        while (last + 1 < nodes.size() && from[last + 1] <= to[node]) ++last;
        most = std::max(most, last - node + 1);
    }
    return most;
}

CardSmoother::CardSmoother(std::uint32_t width, std::uint32_t height, std::uint32_t radius)
    : width_(NotEmpty(width)),
      height_(NotEmpty(height)),
      spacing_(Spacing(width, height, radius)),
      across_(width, spacing_, radius),
      down_(height, spacing_, radius) {
    const std::size_t values = across_.nodes.size() * 3;
    prefix_.resize((std::size_t{width} + 1) * 3);
    reduced_.resize(values);
    sums_.resize(down_.OpenAtOnce() * values);
    moments_.resize(sums_.size());
    grid_.resize(down_.nodes.size() * values);
}

std::size_t CardSmoother::Slot(std::size_t nodeRow) const {
    return nodeRow % (sums_.size() / reduced_.size()) * reduced_.size();
}

void CardSmoother::AddRow(const double* rgb) {
    if (nextRow_ >= height_) throw std::logic_error("More rows than the card has.");
    FilterAcross(rgb);
    Accumulate(nextRow_++);
}

void CardSmoother::FilterAcross(const double* rgb) {
    // The running sums stay in registers: read back from prefix_, each add
    // would wait on the store before it.
    double red = 0.0, green = 0.0, blue = 0.0;
    for (std::size_t i = 0; i < std::size_t{width_} * 3; i += 3) {
        prefix_[i + 3] = red += rgb[i];
        prefix_[i + 4] = green += rgb[i + 1];
        prefix_[i + 5] = blue += rgb[i + 2];
    }
    for (std::size_t node = 0; node < across_.nodes.size(); ++node) {
        const std::uint32_t from = across_.from[node], to = across_.to[node];
        const double middle = (from + to) / 2.0;
        const bool centred = across_.Centred(node);
        for (std::size_t c = 0; c < 3; ++c) {
            const double sum = prefix_[(to + std::size_t{1}) * 3 + c] - prefix_[from * 3 + c];
            double moment = 0.0;  // only needed where the window has moved off its node
            for (std::uint32_t x = from; !centred && x <= to; ++x) {
                moment += (x - middle) * rgb[x * std::size_t{3} + c];
            }
            reduced_[node * 3 + c] = Fitted(from, to, across_.nodes[node], sum, moment);
        }
    }
}

void CardSmoother::Accumulate(std::uint32_t y) {
    const std::size_t values = reduced_.size();
    while (down_.to[firstOpen_] < y) ++firstOpen_;
    for (std::size_t node = firstOpen_; node < down_.nodes.size() && down_.from[node] <= y;
         ++node) {
        const std::uint32_t from = down_.from[node], to = down_.to[node];
        double* sums = &sums_[Slot(node)];
        double* moments = &moments_[Slot(node)];
        if (y == from) {
            std::fill(sums, sums + values, 0.0);
            std::fill(moments, moments + values, 0.0);
        }
        const bool centred = down_.Centred(node);
        const double offset = y - (from + to) / 2.0;
        for (std::size_t i = 0; i < values; ++i) {
            sums[i] += reduced_[i];
            if (!centred) moments[i] += offset * reduced_[i];
        }
        if (y != to) continue;
        for (std::size_t i = 0; i < values; ++i) {
            grid_[node * values + i] = Fitted(from, to, down_.nodes[node], sums[i], moments[i]);
        }
    }
}

void CardSmoother::RequireAllRows() const {
    if (nextRow_ < height_) throw std::logic_error("The card's rows aren't all in.");
}

RowExtremes CardSmoother::Extremes() const {
    RequireAllRows();
    RowExtremes extremes;
    for (int c = 0; c < 3; ++c) {
        extremes.max[c] = extremes.min[c] = grid_[c];
        std::size_t brightest = 0;
        for (std::size_t node = 1; node * 3 < grid_.size(); ++node) {
            const double value = grid_[node * 3 + c];
            extremes.min[c] = std::min(extremes.min[c], value);
            if (value > extremes.max[c]) extremes.max[c] = value, brightest = node;
        }
        PlaceOfFirst(c, extremes.max[c], brightest, extremes.maxX[c], extremes.maxY[c]);
    }
    return extremes;
}

// Interpolation can round to the brightest value a few pixels before its node,
// in the rows since the node row before; Row() is asked there.
void CardSmoother::PlaceOfFirst(int channel, double value, std::size_t node, std::int64_t& x,
                                std::int64_t& y) const {
    const std::size_t nodeRow = node / across_.nodes.size();
    std::vector<double> rgb(std::size_t{width_} * 3);
    for (y = nodeRow > 0 ? down_.nodes[nodeRow - 1] + 1 : 0; y <= down_.nodes[nodeRow]; ++y) {
        Row(static_cast<std::uint32_t>(y), rgb.data());
        for (x = 0; x < width_; ++x) {
            if (rgb[static_cast<std::size_t>(x) * 3 + static_cast<std::size_t>(channel)] == value)
                return;
        }
    }
    x = across_.nodes[node % across_.nodes.size()];  // where Row() gives it at the latest
    y = down_.nodes[nodeRow];
}

void CardSmoother::Row(std::uint32_t y, double* rgb) const {
    RequireAllRows();
    if (y >= height_) throw std::out_of_range("The card has no such row.");
    const std::size_t values = reduced_.size();
    const std::uint32_t above = down_.before[y];
    const std::uint32_t below = std::min<std::uint32_t>(above + 1, down_.nodes.size() - 1);
    const double share = down_.weight[y];
    // Down first, at the node columns; then across, a span between two node
    // columns at a time. The scratch row is the thread's own.
    thread_local std::vector<double> nodes;
    nodes.resize(values);
    for (std::size_t i = 0; i < values; ++i) {
        nodes[i] = Between(grid_[above * values + i], grid_[below * values + i], share);
    }
    const std::size_t last = across_.nodes.size() - 1;
    for (std::size_t node = 0; node <= last; ++node) {
        const double* left = &nodes[node * 3];
        const double* right = &nodes[std::min(node + 1, last) * 3];
        const std::uint32_t end = node < last ? across_.nodes[node + 1] : width_;
        for (std::uint32_t x = across_.nodes[node]; x < end; ++x) {
            for (int c = 0; c < 3; ++c) {
                rgb[x * std::size_t{3} + c] = Between(left[c], right[c], across_.weight[x]);
            }
        }
    }
}

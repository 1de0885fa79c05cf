#include "CardReader.h"

#include <algorithm>
#include <cstring>

#include "VectorClones.h"

namespace {
// Rows are read about this many bytes a plane at a time, and never fewer
// than a piece of the subject spans.
constexpr std::size_t kBandBytes = 256 * 1024;

template <class T>
T LoadAt(const std::uint8_t* row, std::size_t i) {
    T value;
    std::memcpy(&value, row + i * sizeof(T), sizeof(T));
    return value;
}

// Sums of `shots` samples over the shots, less the dark frame's (every third
// of dark) held at 0, into every stride-th value: straight loops the
// compiler keeps in vector registers.
BRISAVANE_VECTOR_CLONES void AverageLessDark(const std::uint8_t* __restrict sums,
                                             const std::uint16_t* __restrict dark,
                                             std::size_t count, double shots,
                                             double* __restrict values, std::size_t stride) {
    for (std::size_t p = 0; p < count; ++p)
        values[p * stride] = static_cast<double>(LoadAt<std::uint32_t>(sums, p)) / shots;
    for (std::size_t p = 0; dark && p < count; ++p) {
        const double less = values[p * stride] - dark[p * 3];
        values[p * stride] = less > 0.0 ? less : 0.0;
    }
}
}  // namespace

CardReader::CardReader(const CardSource& card, std::uint32_t bandRows, bool allColours)
    : card_(card),
      store_(card.Store()),
      bandRows_(std::max<std::uint32_t>(bandRows, 1)),
      allColours_(allColours) {}

// The band holding row y, aligned to the pieces the subject comes in, so a
// tile's rows are in one band. The dark frame's (plane 3) come from its own
// file where they stand there.
const std::uint8_t* CardReader::PlaneRow(int plane, std::uint32_t y) {
    Band& band = bands_[plane];
    const CardStore* darkStore = plane == 3 ? card_.DarkStore() : nullptr;
    const CardStore& store = darkStore ? *darkStore : store_;
    const int stored = darkStore ? 0 : plane;
    const std::size_t rowBytes = store.RowBytes(stored);
    if (y >= store.Height()) return nullptr;
    if (y < band.start || y >= band.end) {
        const std::uint32_t perBand = std::max<std::uint32_t>(
            static_cast<std::uint32_t>(kBandBytes / std::max<std::size_t>(rowBytes, 1)) /
                bandRows_ * bandRows_,
            bandRows_);
        const std::uint32_t start = y / perBand * perBand;
        const std::uint32_t rows = std::min(perBand, store_.Height() - start);
        band.words.resize((std::size_t{rows} * rowBytes + 1) / 2);
        band.start = band.end = 0;
        if (!store.Read(stored, start, rows, reinterpret_cast<std::uint8_t*>(band.words.data())))
            return nullptr;
        band.start = start;
        band.end = start + rows;
    }
    return band.Row(y, rowBytes);
}

const std::uint16_t* CardReader::DarkRow(std::uint32_t y) {
    if (!card_.HasDark() || !PlaneRow(3, y)) return nullptr;
    const Band& band = bands_[3];
    return band.words.data() + std::size_t{y - band.start} * store_.Width() * 3;
}

SampleRow CardReader::GainRow(std::uint32_t y, std::uint32_t x, std::uint32_t count) {
    if (card_.Smoothed()) return SmoothedRow(y).From(x);
    if (store_.direct()) {
        const std::uint8_t* row = PlaneRow(0, y);
        return row ? SampleRow{row, store_.Kind()}.From(x) : SampleRow{};
    }
    bool colours[3] = {allColours_, true, allColours_};
    if (store_.plane() == CardStore::Plane::Sums)
        return Values(y, x, count, colours, card_.Curves() != nullptr);
    if (allColours_) return Interleaved(y, x, count);
    const std::uint8_t* green = PlaneRow(1, y);
    return green ? SampleRow{green, SampleKind::U16, 1, 0}.From(x) : SampleRow{};
}

SampleRow CardReader::FullRow(std::uint32_t y) {
    if (store_.direct()) {
        const std::uint8_t* row = PlaneRow(0, y);
        return row ? SampleRow{row, store_.Kind()} : SampleRow{};
    }
    bool colours[3] = {true, true, true};
    if (store_.plane() == CardStore::Plane::Sums)
        return Values(y, 0, store_.Width(), colours, false);
    return Interleaved(y, 0, store_.Width());
}

// The three planes' samples of pixels x on, interleaved.
SampleRow CardReader::Interleaved(std::uint32_t y, std::uint32_t x, std::uint32_t count) {
    samples_.resize(std::size_t{count} * 3);
    for (int c = 0; c < 3; ++c) {
        const std::uint8_t* plane = PlaneRow(c, y);
        if (!plane) return {};
        for (std::size_t p = 0; p < count; ++p)
            samples_[p * 3 + static_cast<std::size_t>(c)] = LoadAt<std::uint16_t>(plane, x + p);
    }
    return {samples_.data(), SampleKind::U16};
}

// The shots' average as the sums give it, less the dark frame held at 0,
// then in linear light: the same operations in the same order as adding the
// shots' samples up one shot at a time would take, so the same doubles.
SampleRow CardReader::Values(std::uint32_t y, std::uint32_t x, std::uint32_t count, bool colours[3],
                             bool linear) {
    const std::size_t stride = colours[0] ? 3 : 1;
    values_.resize(std::size_t{count} * stride);
    const std::uint16_t* dark = DarkRow(y);
    if (card_.HasDark() && !dark) return {};
    for (int c = 0; c < 3; ++c) {
        if (!colours[c]) continue;
        const std::uint8_t* sums = PlaneRow(c, y);
        if (!sums) return {};
        const auto k = static_cast<std::size_t>(c);
        AverageLessDark(sums + std::size_t{x} * 4, dark ? dark + std::size_t{x} * 3 + k : nullptr,
                        count, static_cast<double>(card_.Shots()),
                        values_.data() + (stride == 3 ? k : 0), stride);
        if (linear)
            for (std::size_t p = 0; p < count; ++p) {
                double& value = values_[p * stride + (stride == 3 ? k : 0)];
                value = card_.Curves()->Linear(c, value);
            }
    }
    return {values_.data(), SampleKind::F64, stride, stride == 3 ? 1u : 0u};
}

// A band of the smoothed card's rows, drawn when first asked for.
SampleRow CardReader::SmoothedRow(std::uint32_t y) {
    const std::size_t rowValues = std::size_t{store_.Width()} * 3;
    if (y >= store_.Height()) return {};
    if (y < smoothedStart_ || y >= smoothedEnd_) {
        smoothedStart_ = y / bandRows_ * bandRows_;
        smoothedEnd_ = std::min(smoothedStart_ + bandRows_, store_.Height());
        smoothed_.resize(rowValues * (smoothedEnd_ - smoothedStart_));
        for (std::uint32_t r = smoothedStart_; r < smoothedEnd_; ++r)
            card_.Smoothed()->Row(r, &smoothed_[(r - smoothedStart_) * rowValues]);
    }
    return {&smoothed_[(y - smoothedStart_) * rowValues], SampleKind::F64};
}

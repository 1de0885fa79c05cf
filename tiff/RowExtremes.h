#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "SampleRow.h"

// The brightest and darkest number of each channel (red, green, blue) of a
// card, and the place of the first brightest in scan order (topmost row,
// then leftmost column). Brightest starts at 0, so a channel that is black
// all over keeps the place it had; darkest starts above every sample.
struct RowExtremes {
    double max[3] = {0.0, 0.0, 0.0};
    double min[3] = {kAboveEverySample, kAboveEverySample, kAboveEverySample};
    std::int64_t maxX[3] = {0, 0, 0};
    std::int64_t maxY[3] = {0, 0, 0};

    static constexpr double kAboveEverySample = 9999999.9;
    bool operator==(const RowExtremes&) const = default;
};

namespace row_extremes {
// The extremes of one row of Kind numbers, 3 a pixel: lanes of 48 numbers
// keep whole pixels in step (lane j holds channel j % 3), so the compiler
// compares many at a time with no branch, and are folded into the three at
// the end. Returns false for a row of no pixels.
template <SampleKind Kind>
bool Extremes(const void* row, std::size_t values, double* high, double* low) {
    using Lane = std::conditional_t<Kind == SampleKind::F64, double,
                                    std::conditional_t<Kind == SampleKind::U8, std::uint8_t,
                                                       std::uint16_t>>;
    constexpr std::size_t kLanes = 48;
    if (values < 3) return false;
    const auto at = [row](std::size_t i) -> Lane {
        if constexpr (Kind == SampleKind::F64)
            return static_cast<const double*>(row)[i];
        else
            return static_cast<Lane>(LoadWhole<Kind>(row, i));
    };
    Lane hi[kLanes], lo[kLanes];
    for (std::size_t j = 0; j < kLanes; ++j) hi[j] = lo[j] = at(j % 3);
    std::size_t i = 0;
    for (; i + kLanes <= values; i += kLanes)
        for (std::size_t j = 0; j < kLanes; ++j) {
            const Lane v = at(i + j);
            hi[j] = v > hi[j] ? v : hi[j];
            lo[j] = v < lo[j] ? v : lo[j];
        }
    for (std::size_t j = 0; i + j < values; ++j) {
        const Lane v = at(i + j);
        hi[j] = v > hi[j] ? v : hi[j];
        lo[j] = v < lo[j] ? v : lo[j];
    }
    for (std::size_t j = 3; j < kLanes; ++j) {
        hi[j % 3] = hi[j] > hi[j % 3] ? hi[j] : hi[j % 3];
        lo[j % 3] = lo[j] < lo[j % 3] ? lo[j] : lo[j % 3];
    }
    for (std::size_t c = 0; c < 3; ++c) high[c] = hi[c], low[c] = lo[c];
    return true;
}
}  // namespace row_extremes

// Folds one row of `width` pixels of 3 numbers each (red, green, blue; the
// row's stride must be 3) into the running extremes: a channel's place moves
// only for a strictly greater number, so the first brightest holds it, and
// it is looked for, up to its first match, only in the channels asked for
// (`placed`, a bit per channel) and only when the row beats the running one.
inline void FoldRowExtremes(const SampleRow& row, std::size_t width, std::int64_t y,
                            RowExtremes& e, unsigned placed = 0b111) {
    double high[3], low[3];
    const bool any = WithKind(row.kind, [&](auto kind) {
        return row_extremes::Extremes<decltype(kind)::value>(row.data, width * 3, high, low);
    });
    if (!any) return;
    for (std::size_t c = 0; c < 3; ++c) {
        e.min[c] = std::min(e.min[c], low[c]);
        if (!(high[c] > e.max[c])) continue;
        e.max[c] = high[c];
        if (!(placed >> c & 1u)) continue;
        std::size_t x = 0;
        while (x + 1 < width && row.At(x * 3 + c) != high[c]) ++x;
        e.maxX[c] = static_cast<std::int64_t>(x);
        e.maxY[c] = y;
    }
}

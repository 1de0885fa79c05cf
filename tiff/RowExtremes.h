#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>

// Folds one row of pixels of N interleaved channels into each channel's
// running brightest and darkest value, by the white card's scan rule: only a
// strictly greater value moves the place, so the first brightest in scan
// order holds it. A row's extremes are found first, with no branch, and the
// place only when the row has a new one; lanes of 48 values keep whole pixels
// in step (lane j holds channel j % N), so the compiler compares many at a
// time, and are folded into the N at the end.
template <std::size_t N, class Value>
void FoldRowExtremes(const Value* row, std::uint32_t width, std::uint32_t y, double* max,
                     double* min, std::uint32_t* maxX, std::uint32_t* maxY) {
    constexpr std::size_t kLanes = 48;
    static_assert(kLanes % N == 0, "lanes hold whole pixels");
    const std::size_t values = std::size_t{width} * N;
    if (values == 0) return;
    Value high[kLanes], low[kLanes];
    for (std::size_t j = 0; j < kLanes; ++j) high[j] = low[j] = row[j % N];
    std::size_t i = 0;
    for (; i + kLanes <= values; i += kLanes)
        for (std::size_t j = 0; j < kLanes; ++j) {
            high[j] = row[i + j] > high[j] ? row[i + j] : high[j];
            low[j] = row[i + j] < low[j] ? row[i + j] : low[j];
        }
    for (std::size_t j = 0; i + j < values; ++j) {
        high[j] = row[i + j] > high[j] ? row[i + j] : high[j];
        low[j] = row[i + j] < low[j] ? row[i + j] : low[j];
    }
    for (std::size_t j = N; j < kLanes; ++j) {
        high[j % N] = high[j] > high[j % N] ? high[j] : high[j % N];
        low[j % N] = low[j] < low[j % N] ? low[j] : low[j % N];
    }
    for (std::size_t c = 0; c < N; ++c) {
        min[c] = std::min<double>(min[c], low[c]);
        if (!(high[c] > max[c])) continue;
        std::uint32_t x = 0;
        while (row[std::size_t{x} * N + c] != high[c]) ++x;
        max[c] = high[c];
        maxX[c] = x;
        maxY[c] = y;
    }
}

#pragma once

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

// Folds row y, `width` pixels of 3 numbers each (red, green, blue; the row's
// stride must be 3), into the running extremes. The row's extremes come
// first, with no branch, many numbers compared at a time; a channel's place
// moves only for a strictly greater number, so the first brightest holds it,
// and it is looked for, up to its first match, only in the channels asked
// for (`placed`, a bit per channel) and only when the row beats the running one.
// greenOnly folds green alone, red and blue keeping what they had.
void FoldRowExtremes(const SampleRow& row, std::size_t width, std::int64_t y, RowExtremes& e,
                     unsigned placed = 0b111, bool greenOnly = false);

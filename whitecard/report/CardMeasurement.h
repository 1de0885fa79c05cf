#pragma once

#include <cstdint>
#include <string>

#include "CardFigures.h"
#include "CardSource.h"
#include "Progress.h"

// Everything a report says about one card: where it was sampled, how its
// colours were taken, and its figures as shot and as equalized by itself.
struct CardMeasurement {
    std::string fileName;
    std::int64_t width = 0, height = 0, bitsPerSample = 0;
    SampleGrid grid;
    PrintFormat format;
    double amountToApply = 1.0;
    bool profileAssumed = false;
    std::string profileDescription;
    CardFigures before, after;  // after: the residual once the card is equalized by itself
};

// Measures a white card as read for a run. Throws std::runtime_error with
// plain words for a card too small for the grid or a profile that can't serve.
// progress sees the card's rows read twice over.
CardMeasurement MeasureCard(const CardSource& card, const PrintFormat& format, double amountToApply,
                            Progress& progress);

#pragma once

#include <cstdint>
#include <functional>
#include <vector>

#include "PixelChannels.h"
#include "TiffFile.h"

// Rewrites one row of raw samples in place before it is measured: the card
// equalized by itself, or any other correction a report is asked to show.
using RowFilter = std::function<void(std::vector<std::uint8_t>& row)>;

// The card's pixel rows, read one at a time from the file on a stream of their
// own and handed on as red, green and blue numbers: the only place the report
// touches pixel data, so memory stays one row whatever the card's size.
class CardRows {
  public:
    explicit CardRows(const TiffFile& card) : card_(card) {}

    std::int64_t Width() const { return card_.ImageWidth; }
    std::int64_t Height() const { return card_.ImageHeight; }
    // The largest sample of the card's depth: 255 or 65535.
    double Ceiling() const { return PixelLayout::Of(card_).Ceiling(); }

    using Visit = std::function<void(std::int64_t y, const std::vector<Channels>& pixels)>;
    // Every row top to bottom, each passed through filter when there is one.
    void ForEach(const RowFilter& filter, const Visit& visit) const;

  private:
    const TiffFile& card_;
};

// The card equalized by itself at the given amount (1.0 = 100 %), pixel by
// pixel as a subject shot under it would be.
RowFilter SelfEqualizing(const TiffFile& card, double amountToApply);

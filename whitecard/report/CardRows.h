#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

#include "CardSource.h"
#include "PixelChannels.h"

// The card's pixel rows, read one at a time from where the run keeps them and
// handed on as red, green and blue numbers, as shot and as equalized by
// itself at the given amount (1.0 = 100 %), pixel by pixel as a subject shot
// under it would be: the only place the report touches pixel data, so memory
// stays one row whatever the card's size.
class CardRows {
  public:
    CardRows(const CardSource& card, double amountToApply);

    std::int64_t Width() const { return card_.Width(); }
    std::int64_t Height() const { return card_.Height(); }
    // The largest sample of the card's depth: 255 or 65535.
    double Ceiling() const { return card_.Bits() == 8 ? 255.0 : 65535.0; }

    using Visit = std::function<void(std::int64_t y, const std::vector<Channels>& shot,
                                     const std::vector<Channels>& equalized)>;
    // Every row top to bottom. Throws when the card's rows can't be read.
    void ForEach(const Visit& visit) const;

  private:
    const CardSource& card_;
    double target_;  // green's, as the window works it out from the card as shot
};

#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "GainRule.h"
#include "SampleRow.h"
#include "ToneCurves.h"

// The gain of every whole sample a card of one shot can hold, worked out once
// a run by the rule itself (in linear light through the card's curves), so
// that a subject's gains are lookups rather than divisions. The values are
// the rule's own, bit for bit.
class GainTable {
  public:
    GainTable(const GainRule& rule, int bits, const ToneCurves* curves);

    // As GainRule::Gains, from a row of the card's whole samples.
    std::size_t Gains(const SampleRow& card, std::size_t pixels, double* gains) const;

  private:
    bool rgb_;
    std::size_t size_;                    // samples of one channel
    std::vector<double> gains_;           // red's, green's and blue's, size_ each
    std::uint32_t below_[3] = {0, 0, 0};  // per channel, the samples whose gain is capped
};

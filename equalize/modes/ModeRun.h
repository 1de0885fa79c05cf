#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "CorrectionModes.h"
#include "GainRule.h"

// The brightest and darkest value of each channel of the card (red, green,
// blue), and the place of the first brightest in scan order.
struct CardExtremes {
    double max[3] = {0.0, 0.0, 0.0};
    double min[3] = {0.0, 0.0, 0.0};
    std::uint32_t maxX[3] = {0, 0, 0};
    std::uint32_t maxY[3] = {0, 0, 0};
};

// What every subject of a run shares when some mode is on: the modes, the
// card's extremes and the gain rule with its targets. Made once by reading the
// card stack through; read-only afterwards, so parallel jobs share it.
class ModeRun {
  public:
    // nil with the reason in why when the cards can't serve.
    static std::unique_ptr<ModeRun> Prepare(const CorrectionModes& modes, double amountToApply,
                                            std::string& why);

    const CorrectionModes& Modes() const { return modes_; }
    const CardExtremes& Extremes() const { return extremes_; }
    const GainRule& Rule() const { return rule_; }

  private:
    explicit ModeRun(const CorrectionModes& modes) : modes_(modes) {}
    bool Scan(std::string& why);

    CorrectionModes modes_;
    CardExtremes extremes_;
    GainRule rule_;
};

#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include <optional>

#include "CardSmoother.h"
#include "CorrectionModes.h"
#include "GainRule.h"
#include "GainTable.h"
#include "LibtiffFile.h"
#include "ToneCurves.h"

// The brightest and darkest value of each channel of the card (red, green,
// blue), and the place of the first brightest in scan order.
using CardExtremes = CardSmoother::ChannelExtremes;

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
    // The first card's tone curves with --linear, else nil.
    const ToneCurves* CardCurves() const { return cardCurves_.get(); }
    // Whether the card is one shot taken as it is (not smoothed), so that
    // gains can come from its samples.
    bool OneShot() const { return modes_.cards.size() == 1 && modes_.smoothRadius == 0; }
    // The gains of each card sample in linear light when the card is one
    // shot, else nil.
    const GainTable* Table() const { return table_ ? &*table_ : nullptr; }
    // The smoothed card with --smooth, else nil.
    const CardSmoother* Smoothed() const { return smoother_.get(); }

    // A file's tone curves for --linear; nil with the reason, naming the
    // file as `whose` ("the white card"), in why.
    std::shared_ptr<const ToneCurves> CurvesOf(const LibtiffFile& file, const std::string& whose,
                                               std::string& why) const;

  private:
    explicit ModeRun(const CorrectionModes& modes) : modes_(modes) {}
    bool Scan(std::string& why);
    bool Linearise(const LibtiffFile& card, std::string& why);
    // A file's ICC profile; empty without one.
    static std::vector<std::uint8_t> ProfileOf(const LibtiffFile& file);
    // Without curves, or with curves that rise on every channel.
    bool RisingCurves() const;

    CorrectionModes modes_;
    CardExtremes extremes_;
    GainRule rule_;
    std::shared_ptr<const ToneCurves> cardCurves_;
    std::vector<std::uint8_t> cardProfile_;  // the first card's, whose curves are those
    int cardBits_ = 0;                       // at this depth
    std::unique_ptr<CardSmoother> smoother_;
    std::optional<GainTable> table_;
    int bits_ = 16;
};

#include "ModeRun.h"

#include <algorithm>
#include <limits>
#include <vector>

#include "CardStack.h"
#include "Correction.h"
#include "RowExtremes.h"

std::unique_ptr<ModeRun> ModeRun::Prepare(const CorrectionModes& modes, double amountToApply,
                                          std::string& why) {
    std::unique_ptr<ModeRun> run(new ModeRun(modes));
    if (!run->Scan(why)) return nullptr;
    GainRule& rule = run->rule_;
    for (std::size_t c = 0; c < 3; ++c)
        rule.target[c] = TargetLevel(run->extremes_.max[c], run->extremes_.min[c], amountToApply);
    rule.rgb = modes.channels == GainChannels::Rgb;
    rule.darken = modes.darken;
    if (modes.maxGain) rule.cap = *modes.maxGain;
    if (run->OneShot() && modes.linear) run->table_.emplace(rule, run->bits_, run->CardCurves());
    return run;
}

// The card is read through once: its extremes are taken as it goes, or it is
// smoothed on the way and the extremes are the smoothed card's.
bool ModeRun::Scan(std::string& why) {
    CardStack stack(modes_);
    if (!stack.Problem().empty()) {
        why = stack.Problem();
        return false;
    }
    if (modes_.linear && !Linearise(stack.FirstCard(), why)) return false;
    stack.InLinearLight(CardCurves());
    if (modes_.smoothRadius > 0)
        smoother_ =
            std::make_unique<CardSmoother>(stack.Width(), stack.Height(), modes_.smoothRadius);
    extremes_ = {};
    for (double& min : extremes_.min) min = std::numeric_limits<double>::infinity();
    const bool samples = modes_.cards.size() == 1 && !smoother_ && RisingCurves();
    std::vector<double> row(std::size_t{stack.Width()} * 3);
    // A card of one shot is scanned in its own samples, which the compiler
    // compares many at a time; curves that rise keep their order, so the
    // extremes in linear light are those of the samples, at the same places.
    const auto fold = [&](const auto* values, std::uint32_t y) {
        FoldRowExtremes<3>(values, stack.Width(), y, extremes_.max, extremes_.min, extremes_.maxX,
                           extremes_.maxY);
    };
    for (std::uint32_t y = 0; y < stack.Height(); ++y) {
        const std::uint16_t* shot = samples ? stack.Samples(y) : nullptr;
        if (shot) {
            fold(shot, y);
            continue;
        }
        if (samples || !stack.Row(y, 0, stack.Width(), row.data())) {
            why = "the white card's pixels can't be decoded: " + stack.DecodeError();
            return false;
        }
        if (smoother_)
            smoother_->AddRow(row.data());
        else
            fold(row.data(), y);
    }
    if (smoother_) extremes_ = smoother_->Extremes();
    if (samples && cardCurves_) {
        // A card without pixels keeps the extremes it began with.
        for (int c = 0; c < 3 && extremes_.min[c] <= extremes_.max[c]; ++c) {
            extremes_.max[c] = cardCurves_->Linear(c, static_cast<std::uint16_t>(extremes_.max[c]));
            extremes_.min[c] = cardCurves_->Linear(c, static_cast<std::uint16_t>(extremes_.min[c]));
        }
    }
    bits_ = stack.Bits();
    return true;
}

bool ModeRun::RisingCurves() const {
    return !cardCurves_ ||
           (cardCurves_->Rising(0) && cardCurves_->Rising(1) && cardCurves_->Rising(2));
}

bool ModeRun::Linearise(const LibtiffFile& card, std::string& why) {
    cardCurves_ = CurvesOf(card, "the white card", why);
    cardProfile_ = ProfileOf(card);
    cardBits_ = card.bits;
    return cardCurves_ != nullptr;
}

std::vector<std::uint8_t> ModeRun::ProfileOf(const LibtiffFile& file) {
    std::uint32_t length = 0;
    const std::uint8_t* data = nullptr;
    std::vector<std::uint8_t> icc;
    if (TIFFGetField(file.Handle(), TIFFTAG_ICCPROFILE, &length, &data) && data)
        icc.assign(data, data + length);
    return icc;
}

// "has no ICC profile" gives "--linear: the white card has no ICC profile",
// "its ICC profile can't be read" "--linear: the white card's ICC profile ...".
// A file with the white card's profile at its depth shares the card's curves.
std::shared_ptr<const ToneCurves> ModeRun::CurvesOf(const LibtiffFile& file,
                                                    const std::string& whose,
                                                    std::string& why) const {
    const std::vector<std::uint8_t> icc = ProfileOf(file);
    if (cardCurves_ && file.bits == cardBits_ && icc == cardProfile_) return cardCurves_;
    std::string reason;
    auto curves = ToneCurves::FromProfile(icc, file.bits, reason);
    if (!curves) {
        why = "--linear: " + whose +
              (reason.starts_with("its ") ? "'s " + reason.substr(4) : " " + reason);
        return nullptr;
    }
    return std::make_shared<const ToneCurves>(std::move(*curves));
}

#include "ModeRun.h"

#include <algorithm>
#include <limits>
#include <vector>

#include "CardStack.h"
#include "Correction.h"

namespace {
// The window's scan rule for each channel: a strictly greater value moves the
// place, so the first brightest in scan order holds it. A row's extremes are
// found first, with no branch, and the place only when the row has a new one.
// A card of one shot without curves is scanned in its own samples, which
// the compiler compares many at a time.
template <class Value>
void Take(const Value* rgb, std::uint32_t width, std::uint32_t y, CardExtremes& e) {
    // Lanes of 48 values (16 pixels) keep whole pixels in step, so lane j
    // holds channel j % 3; the lanes are folded into the three at the end.
    constexpr std::size_t kLanes = 48;
    Value high[kLanes], low[kLanes];
    for (std::size_t j = 0; j < kLanes; ++j) high[j] = low[j] = rgb[j % 3];
    const std::size_t values = std::size_t{width} * 3;
    std::size_t i = 0;
    for (; i + kLanes <= values; i += kLanes)
        for (std::size_t j = 0; j < kLanes; ++j) {
            high[j] = rgb[i + j] > high[j] ? rgb[i + j] : high[j];
            low[j] = rgb[i + j] < low[j] ? rgb[i + j] : low[j];
        }
    for (std::size_t j = 0; i + j < values; ++j) {
        high[j] = rgb[i + j] > high[j] ? rgb[i + j] : high[j];
        low[j] = rgb[i + j] < low[j] ? rgb[i + j] : low[j];
    }
    for (std::size_t j = 3; j < kLanes; ++j) {
        high[j % 3] = high[j] > high[j % 3] ? high[j] : high[j % 3];
        low[j % 3] = low[j] < low[j % 3] ? low[j] : low[j % 3];
    }
    for (std::size_t c = 0; c < 3; ++c) {
        e.min[c] = std::min<double>(e.min[c], low[c]);
        if (!(high[c] > e.max[c])) continue;
        std::uint32_t x = 0;
        while (rgb[std::size_t{x} * 3 + c] != high[c]) ++x;
        e.max[c] = high[c];
        e.maxX[c] = x;
        e.maxY[c] = y;
    }
}
}  // namespace

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
    if (modes.cards.size() == 1 && modes.smoothRadius == 0)
        run->table_.emplace(rule, run->bits_, run->CardCurves());
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
    const bool samples = modes_.cards.size() == 1 && !smoother_ && !modes_.linear;
    std::vector<double> row(std::size_t{stack.Width()} * 3);
    for (std::uint32_t y = 0; y < stack.Height(); ++y) {
        const std::uint16_t* shot = samples ? stack.Samples(y) : nullptr;
        if (shot) {
            Take(shot, stack.Width(), y, extremes_);
            continue;
        }
        if (samples || !stack.Row(y, 0, stack.Width(), row.data())) {
            why = "the white card's pixels can't be decoded: " + stack.DecodeError();
            return false;
        }
        if (smoother_)
            smoother_->AddRow(row.data());
        else
            Take(row.data(), stack.Width(), y, extremes_);
    }
    if (smoother_) extremes_ = smoother_->Extremes();
    bits_ = stack.Bits();
    return true;
}

bool ModeRun::Linearise(const LibtiffFile& card, std::string& why) {
    cardCurves_ = CurvesOf(card, "the white card", why);
    return cardCurves_.has_value();
}

// "has no ICC profile" gives "--linear: the white card has no ICC profile",
// "its ICC profile can't be read" "--linear: the white card's ICC profile ...".
std::optional<ToneCurves> ModeRun::CurvesOf(const LibtiffFile& file, const std::string& whose,
                                            std::string& why) {
    std::uint32_t length = 0;
    const std::uint8_t* data = nullptr;
    std::vector<std::uint8_t> icc;
    if (TIFFGetField(file.Handle(), TIFFTAG_ICCPROFILE, &length, &data) && data)
        icc.assign(data, data + length);
    std::string reason;
    auto curves = ToneCurves::FromProfile(icc, file.bits, reason);
    if (!curves)
        why = "--linear: " + whose +
              (reason.starts_with("its ") ? "'s " + reason.substr(4) : " " + reason);
    return curves;
}

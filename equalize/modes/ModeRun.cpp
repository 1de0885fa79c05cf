#include "ModeRun.h"

#include <limits>
#include <vector>

#include "CardStack.h"
#include "Correction.h"

namespace {
// The window's scan rule for each channel: a strictly greater value moves the
// place, so the first brightest in scan order holds it.
void Take(const double* rgb, std::uint32_t width, std::uint32_t y, CardExtremes& e) {
    for (std::uint32_t x = 0; x < width; ++x)
        for (std::size_t c = 0; c < 3; ++c) {
            const double v = rgb[std::size_t{x} * 3 + c];
            if (v < e.min[c]) e.min[c] = v;
            if (v > e.max[c]) {
                e.max[c] = v;
                e.maxX[c] = x;
                e.maxY[c] = y;
            }
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
    return run;
}

bool ModeRun::Scan(std::string& why) {
    CardStack stack(modes_);
    if (!stack.Problem().empty()) {
        why = stack.Problem();
        return false;
    }
    for (double& min : extremes_.min) min = std::numeric_limits<double>::infinity();
    std::vector<double> row(std::size_t{stack.Width()} * 3);
    for (std::uint32_t y = 0; y < stack.Height(); ++y) {
        if (!stack.Row(y, 0, stack.Width(), row.data())) {
            why = "the white card's pixels can't be decoded: " + stack.DecodeError();
            return false;
        }
        Take(row.data(), stack.Width(), y, extremes_);
    }
    return true;
}

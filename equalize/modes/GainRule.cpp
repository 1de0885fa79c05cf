#include "GainRule.h"

#include "Correction.h"
#include "VectorClones.h"

namespace {
// One loop for each way of taking gains, with no test inside but the cap's,
// so the divisions run side by side in vector registers. The window's Gain
// where gains only brighten, so that green mode with nothing else set gives
// the same gains to the last bit.
template <bool Rgb, bool Darken>
BRISAVANE_VECTOR_CLONES std::size_t TakeGains(const double* __restrict target,
                                              const double* __restrict card, std::size_t pixels,
                                              double cap, double* __restrict gains) {
    constexpr std::size_t per = Rgb ? 3 : 1;
    std::size_t capped = 0;
    for (std::size_t p = 0; p < pixels; ++p) {
        bool bit = false;
        for (std::size_t c = 0; c < per; ++c) {
            const std::size_t k = Rgb ? c : 1;
            const double level = target[k], white = card[p * 3 + k];
            const double gain = Darken ? level / white : Gain(level, white);
            bit |= gain > cap;
            gains[p * per + c] = gain > cap ? cap : gain;
        }
        capped += bit;
    }
    return capped;
}
}  // namespace

std::size_t GainRule::Gains(const double* card, std::size_t pixels, double* gains) const {
    if (rgb) {
        return darken ? TakeGains<true, true>(target, card, pixels, cap, gains)
                      : TakeGains<true, false>(target, card, pixels, cap, gains);
    }
    return darken ? TakeGains<false, true>(target, card, pixels, cap, gains)
                  : TakeGains<false, false>(target, card, pixels, cap, gains);
}

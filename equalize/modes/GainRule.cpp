#include "GainRule.h"

#include "Correction.h"
#include "VectorClones.h"

namespace {
// One loop for each way of taking gains, with no test inside but the cap's,
// so the divisions run side by side in vector registers. The window's Gain
// where gains only brighten, so that green mode with nothing else set gives
// the same gains to the last bit.
template <bool Rgb, bool Darken, class Card>
BRISAVANE_VECTOR_CLONES std::size_t TakeGains(const double* __restrict target,
                                              const Card* __restrict card, std::size_t pixels,
                                              double cap, double* __restrict gains) {
    constexpr std::size_t per = Rgb ? 3 : 1;
    std::size_t capped = 0;
    for (std::size_t p = 0; p < pixels; ++p) {
        bool bit = false;
        for (std::size_t c = 0; c < per; ++c) {
            const std::size_t k = Rgb ? c : 1;
            const double level = target[k], white = static_cast<double>(card[p * 3 + k]);
            const double gain = Darken ? level / white : Gain(level, white);
            bit |= gain > cap;
            gains[p * per + c] = gain > cap ? cap : gain;
        }
        capped += bit;
    }
    return capped;
}

template <class Card>
std::size_t TakeGains(const GainRule& rule, const Card* card, std::size_t pixels, double* gains) {
    if (rule.rgb) {
        return rule.darken ? TakeGains<true, true>(rule.target, card, pixels, rule.cap, gains)
                           : TakeGains<true, false>(rule.target, card, pixels, rule.cap, gains);
    }
    return rule.darken ? TakeGains<false, true>(rule.target, card, pixels, rule.cap, gains)
                       : TakeGains<false, false>(rule.target, card, pixels, rule.cap, gains);
}
}  // namespace

std::size_t GainRule::Gains(const double* card, std::size_t pixels, double* gains) const {
    return TakeGains(*this, card, pixels, gains);
}

std::size_t GainRule::Gains(const std::uint16_t* card, std::size_t pixels, double* gains) const {
    return TakeGains(*this, card, pixels, gains);
}

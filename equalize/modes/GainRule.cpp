#include "GainRule.h"

#include "Correction.h"

// The window's Gain where gains only brighten, so that green mode with
// nothing else set gives the same gains to the last bit.
double GainRule::One(double targetLevel, double card, bool& capped) const {
    const double gain = darken ? targetLevel / card : Gain(targetLevel, card);
    if (!(gain > cap)) return gain;
    capped = true;
    return cap;
}

std::size_t GainRule::Gains(const double* card, std::size_t pixels, double* gains) const {
    std::size_t capped = 0;
    for (std::size_t p = 0; p < pixels; ++p) {
        bool bit = false;
        if (rgb) {
            for (std::size_t c = 0; c < 3; ++c)
                gains[p * 3 + c] = One(target[c], card[p * 3 + c], bit);
        } else {
            gains[p] = One(target[1], card[p * 3 + 1], bit);
        }
        capped += bit;
    }
    return capped;
}

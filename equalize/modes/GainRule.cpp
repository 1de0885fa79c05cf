#include "GainRule.h"

#include <limits>

#include "Correction.h"
#include "VectorClones.h"
#include "VectorRowLoops.h"

namespace {
// One loop for each way of taking gains and each way the card's numbers are
// stored, with no test inside but the cap's, so the divisions run side by
// side in vector registers. The window's Gain where gains only brighten, so
// that green mode with nothing else set gives the same gains to the last bit.
template <bool Rgb, bool Darken, SampleKind Kind, std::size_t Stride>
BRISAVANE_VECTOR_CLONES std::size_t TakeGains(const double* __restrict target,
                                              const void* __restrict card, std::size_t green,
                                              std::size_t pixels, double cap,
                                              double* __restrict gains) {
    constexpr std::size_t per = Rgb ? 3 : 1;
    std::size_t capped = 0;
    for (std::size_t p = 0; p < pixels; ++p) {
        bool bit = false;
        for (std::size_t c = 0; c < per; ++c) {
            const std::size_t k = Rgb ? c : 1;
            const double level = target[k];
            const double white = LoadAs<Kind>(card, p * Stride + (Rgb ? c : green));
            const double gain = Darken ? level / white : Gain(level, white);
            bit |= gain > cap;
            gains[p * per + c] = gain > cap ? cap : gain;
        }
        capped += bit;
    }
    return capped;
}

template <bool Rgb, bool Darken, SampleKind Kind>
std::size_t TakeGains(const GainRule& rule, const SampleRow& card, std::size_t pixels,
                      double* gains) {
    if (Rgb || card.stride == 3)
        return TakeGains<Rgb, Darken, Kind, 3>(rule.target, card.data, card.green, pixels, rule.cap,
                                               gains);
    return TakeGains<Rgb, Darken, Kind, 1>(rule.target, card.data, card.green, pixels, rule.cap,
                                           gains);
}
}  // namespace

// The window's own rule on whole samples of a full row goes through the loop
// written for wide vector units where there is one.
std::size_t GainRule::Gains(const SampleRow& card, std::size_t pixels, double* gains) const {
    const bool plain = !rgb && !darken && cap == std::numeric_limits<double>::infinity() &&
                       card.stride == 3 && card.green == 1 && card.kind != SampleKind::F64;
    const std::size_t done =
        plain && VectorRowLoopsAvailable()
            ? GreenGainsInBlocks(target[1], static_cast<const std::uint8_t*>(card.data),
                                 card.Bytes(), card.kind == SampleKind::U16Swapped, pixels, gains)
            : 0;
    return done == pixels ? 0 : TakeAll(card.From(done), pixels - done, gains + done);
}

std::size_t GainRule::TakeAll(const SampleRow& card, std::size_t pixels, double* gains) const {
    return WithKind(card.kind, [&](auto kind) {
        constexpr SampleKind K = decltype(kind)::value;
        if (rgb)
            return darken ? TakeGains<true, true, K>(*this, card, pixels, gains)
                          : TakeGains<true, false, K>(*this, card, pixels, gains);
        return darken ? TakeGains<false, true, K>(*this, card, pixels, gains)
                      : TakeGains<false, false, K>(*this, card, pixels, gains);
    });
}

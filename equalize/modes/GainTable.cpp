#include "GainTable.h"

#include <limits>

#include "VectorClones.h"

namespace {
template <bool Rgb, SampleKind Kind, std::size_t Stride>
BRISAVANE_VECTOR_CLONES std::size_t LookUp(const double* __restrict table,
                                           const std::uint32_t* __restrict below, std::size_t size,
                                           const void* __restrict card, std::size_t green,
                                           std::size_t pixels, double* __restrict gains) {
    std::size_t capped = 0;
    for (std::size_t p = 0; p < pixels; ++p) {
        bool bit = false;
        for (std::size_t c = Rgb ? 0 : 1; c < (Rgb ? 3 : 2); ++c) {
            const std::uint32_t sample = LoadWhole<Kind>(card, p * Stride + (Rgb ? c : green));
            gains[Rgb ? p * 3 + c : p] = table[c * size + sample];
            bit |= sample < below[c];
        }
        capped += bit;
    }
    return capped;
}
}  // namespace

// Each channel's gain is asked of the rule on a pixel whose other channels
// are infinitely bright, so that only that channel can be capped. A gain
// never rises with the card's value (the curves rise), so the samples whose
// gain is capped are the lowest ones.
GainTable::GainTable(const GainRule& rule, int bits, const ToneCurves* curves)
    : rgb_(rule.rgb), size_(bits == 8 ? 256 : 65536), gains_(3 * size_) {
    const double bright = std::numeric_limits<double>::infinity();
    for (std::size_t c = 0; c < 3; ++c)
        for (std::size_t v = 0; v < size_; ++v) {
            double pixel[3] = {bright, bright, bright}, gains[3];
            const auto sample = static_cast<std::uint16_t>(v);
            pixel[c] = curves ? curves->Linear(static_cast<int>(c), sample) : sample;
            if (rule.Gains({pixel, SampleKind::F64}, 1, gains) > 0)
                below_[c] = static_cast<std::uint32_t>(v + 1);
            gains_[c * size_ + v] = gains[rgb_ ? c : 0];
        }
}

std::size_t GainTable::Gains(const SampleRow& card, std::size_t pixels, double* gains) const {
    return WithKind(card.kind, [&](auto kind) -> std::size_t {
        constexpr SampleKind K = decltype(kind)::value;
        if constexpr (K == SampleKind::F64) {
            return 0;  // a table holds whole samples only; values never come here
        } else {
            if (rgb_)
                return LookUp<true, K, 3>(gains_.data(), below_, size_, card.data, card.green,
                                          pixels, gains);
            if (card.stride == 3)
                return LookUp<false, K, 3>(gains_.data(), below_, size_, card.data, card.green,
                                           pixels, gains);
            return LookUp<false, K, 1>(gains_.data(), below_, size_, card.data, card.green, pixels,
                                       gains);
        }
    });
}

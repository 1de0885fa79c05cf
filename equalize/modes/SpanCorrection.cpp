#include "SpanCorrection.h"

#include "Correction.h"
#include "PixelLayout.h"
#include "ToneCurves.h"

namespace {
// In linear light the ceiling is 1; an infinite gain on black stays black.
std::uint16_t LinearSample(const ToneCurves& curves, int colour, double gain, double sample) {
    const double product = gain * curves.Linear(colour, static_cast<std::uint16_t>(sample));
    const double held = product > 1.0 ? 1.0 : product;
    return curves.Sample(colour, held >= 0.0 ? held : 0.0);
}

template <class Sample, bool Swap>
void CorrectSamples(const SampleSpan& span, const SpanGains& with) {
    constexpr std::size_t w = sizeof(Sample);
    constexpr double ceiling = w == 1 ? 255.0 : 65535.0;
    const bool ownGains = with.perPixel == 3;
    for (std::size_t p = 0; p < span.pixels; ++p) {
        std::uint8_t* pixel = span.samples + p * span.stride * w;
        const double* gains = with.gains + p * with.perPixel;
        for (std::size_t k = 0; k < span.colours; ++k) {
            const std::size_t c = span.firstColour + k;
            const double gain = gains[ownGains ? c : 0];
            double sample = LoadSample<Sample, Swap>(pixel + k * w);
            if (with.dark) {
                sample -= with.dark[p * 3 + c];
                if (sample < 0.0) sample = 0.0;
            }
            StoreSample<Sample, Swap>(
                pixel + k * w, with.curves
                                   ? LinearSample(*with.curves, static_cast<int>(c), gain, sample)
                                   : CorrectedSample(gain, sample, ceiling));
        }
    }
}
}  // namespace

void CorrectSpan(const SampleSpan& span, const SpanGains& with) {
    if (span.sampleBytes == 1)
        CorrectSamples<std::uint8_t, false>(span, with);
    else if (span.swapped)
        CorrectSamples<std::uint16_t, true>(span, with);
    else
        CorrectSamples<std::uint16_t, false>(span, with);
}

#include "SpanCorrection.h"

#include <algorithm>
#include <cstring>

#include "Correction.h"
#include "PixelLayout.h"
#include "ToneCurves.h"
#include "VectorClones.h"
#include "VectorRowLoops.h"

namespace {
// The common case, interleaved pixels in sample units, as a straight loop the
// compiler can keep in vector registers: which gains, whether a dark frame is
// subtracted and whether the samples come from elsewhere are template
// arguments, not tests in the loop. In place, only `to` is touched.
template <class Sample, bool Swap, bool OwnGains, bool Dark, bool Apart>
BRISAVANE_VECTOR_CLONES void CorrectPixels(const std::uint8_t* __restrict from,
                                           std::uint8_t* __restrict to, std::size_t pixels,
                                           const double* __restrict gains,
                                           const std::uint16_t* __restrict dark) {
    constexpr std::size_t w = sizeof(Sample);
    constexpr double ceiling = w == 1 ? 255.0 : 65535.0;
    for (std::size_t p = 0; p < pixels; ++p)
        for (std::size_t c = 0; c < 3; ++c) {
            const std::size_t at = (p * 3 + c) * w;
            double sample = LoadSample<Sample, Swap>((Apart ? from : to) + at);
            if constexpr (Dark) {
                sample -= dark[p * 3 + c];
                sample = sample > 0.0 ? sample : 0.0;
            }
            const double gain = OwnGains ? gains[p * 3 + c] : gains[p];
            StoreSample<Sample, Swap>(to + at, CorrectedSample(gain, sample, ceiling));
        }
}

using PixelLoop = void (*)(const std::uint8_t*, std::uint8_t*, std::size_t, const double*,
                           const std::uint16_t*);

template <class Sample, bool Swap, bool Apart>
PixelLoop ChooseLoop(bool ownGains, bool dark) {
    const PixelLoop loops[2][2] = {{CorrectPixels<Sample, Swap, false, false, Apart>,
                                    CorrectPixels<Sample, Swap, false, true, Apart>},
                                   {CorrectPixels<Sample, Swap, true, false, Apart>,
                                    CorrectPixels<Sample, Swap, true, true, Apart>}};
    return loops[ownGains][dark];
}

// A gain a pixel is the window's correction, the commonest by far: whole
// blocks of pixels go through the loop written for wide vector units where
// there is one, the rest through the plain loop.
template <class Sample, bool Swap>
void CorrectInterleaved(const SampleSpan& span, const SpanGains& with) {
    const bool apart = span.source && span.source != span.samples;
    const std::uint8_t* from = apart ? span.source : span.samples;
    const std::size_t done = with.perPixel == 1 && VectorRowLoopsAvailable()
                                 ? CorrectBlocks(with.gains, with.dark, from, span.samples,
                                                 span.pixels, sizeof(Sample), Swap)
                                 : 0;
    const std::size_t skip = done * 3 * sizeof(Sample);
    const PixelLoop loop = apart ? ChooseLoop<Sample, Swap, true>(with.perPixel == 3, with.dark)
                                 : ChooseLoop<Sample, Swap, false>(with.perPixel == 3, with.dark);
    loop(from + skip, span.samples + skip, span.pixels - done, with.gains + done * with.perPixel,
         with.dark ? with.dark + done * 3 : nullptr);
}

// Every other span: planes, extra samples, linear light.
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
            StoreSample<Sample, Swap>(pixel + k * w, CorrectedSample(gain, sample, ceiling));
        }
    }
}

// Linear light, one colour at a time and a stretch of pixels at a time: the
// samples less the dark first, then their nearest samples to gain x their
// linear value, many at once, then those back into place.
template <class Sample, bool Swap>
void CorrectLinear(const SampleSpan& span, const SpanGains& with) {
    constexpr std::size_t w = sizeof(Sample);
    constexpr std::size_t kStretch = 256;
    const ToneCurves& curves = *with.curves;
    std::uint16_t samples[kStretch], nearest[kStretch];
    for (std::size_t k = 0; k < span.colours; ++k) {
        const std::size_t c = span.firstColour + k;
        const double* gains = with.gains + (with.perPixel == 3 ? c : 0);
        for (std::size_t from = 0; from < span.pixels; from += kStretch) {
            const std::size_t n = std::min(kStretch, span.pixels - from);
            std::uint8_t* first = span.samples + (from * span.stride + k) * w;
            for (std::size_t i = 0; i < n; ++i) {
                std::uint16_t sample = LoadSample<Sample, Swap>(first + i * span.stride * w);
                if (with.dark) {
                    const std::uint16_t dark = with.dark[(from + i) * 3 + c];
                    sample = static_cast<std::uint16_t>(sample > dark ? sample - dark : 0);
                }
                samples[i] = sample;
            }
            curves.Brightened(static_cast<int>(c), samples, n, gains + from * with.perPixel,
                              with.perPixel, nearest);
            for (std::size_t i = 0; i < n; ++i)
                StoreSample<Sample, Swap>(first + i * span.stride * w, nearest[i]);
        }
    }
}

// The samples of a run of interleaved pixels less the dark held at 0, in
// straight loops the compiler keeps in vector registers.
template <class Sample, bool Swap>
BRISAVANE_VECTOR_CLONES void LoadLessDark(const std::uint8_t* __restrict from, std::size_t n,
                                          const std::uint16_t* __restrict dark,
                                          std::uint16_t* __restrict samples) {
    for (std::size_t i = 0; i < n; ++i)
        samples[i] = LoadSample<Sample, Swap>(from + i * sizeof(Sample));
    for (std::size_t i = 0; dark && i < n; ++i)
        samples[i] = static_cast<std::uint16_t>(samples[i] > dark[i] ? samples[i] - dark[i] : 0);
}

template <class Sample, bool Swap>
BRISAVANE_VECTOR_CLONES void StoreAll(std::uint8_t* __restrict to, std::size_t n,
                                      const std::uint16_t* __restrict samples) {
    for (std::size_t i = 0; i < n; ++i)
        StoreSample<Sample, Swap>(to + i * sizeof(Sample), samples[i]);
}

// Linear light on interleaved pixels whose three colours share one tone
// curve, as sRGB's do: their samples are taken in a row as if of one colour,
// so that every load and store but the tables' is of neighbours.
template <class Sample, bool Swap>
void CorrectLinearShared(const SampleSpan& span, const SpanGains& with) {
    constexpr std::size_t kStretch = 3 * 256;  // samples
    std::uint16_t samples[kStretch], nearest[kStretch];
    double spread[kStretch];  // one gain a pixel, given to its three samples
    const std::size_t total = span.pixels * 3;
    for (std::size_t from = 0; from < total; from += kStretch) {
        const std::size_t n = std::min(kStretch, total - from);
        std::uint8_t* first = span.samples + from * sizeof(Sample);
        LoadLessDark<Sample, Swap>(first, n, with.dark ? with.dark + from : nullptr, samples);
        const double* gains = spread;
        if (with.perPixel == 3)
            gains = with.gains + from;
        else
            for (std::size_t i = 0; i < n; ++i) spread[i] = with.gains[(from + i) / 3];
        with.curves->Brightened(0, samples, n, gains, 1, nearest);
        StoreAll<Sample, Swap>(first, n, nearest);
    }
}

template <class Sample, bool Swap>
void Correct(const SampleSpan& span, const SpanGains& with) {
    const bool interleaved = span.stride == 3 && span.colours == 3;
    if (interleaved && !with.curves) return CorrectInterleaved<Sample, Swap>(span, with);
    // The other walks work in place: a span read from elsewhere is taken over first.
    if (span.source && span.source != span.samples)
        std::memcpy(span.samples, span.source, span.pixels * span.stride * sizeof(Sample));
    if (with.curves && span.stride == 3 && span.colours == 3 && with.curves->Shared())
        CorrectLinearShared<Sample, Swap>(span, with);
    else if (with.curves)
        CorrectLinear<Sample, Swap>(span, with);
    else
        CorrectSamples<Sample, Swap>(span, with);
}
}  // namespace

void CorrectSpan(const SampleSpan& span, const SpanGains& with) {
    if (span.sampleBytes == 1)
        Correct<std::uint8_t, false>(span, with);
    else if (span.swapped)
        Correct<std::uint16_t, true>(span, with);
    else
        Correct<std::uint16_t, false>(span, with);
}

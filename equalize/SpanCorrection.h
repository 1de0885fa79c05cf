#pragma once

#include <cstddef>
#include <cstdint>

class ToneCurves;

// A run of pixels to correct: the colour samples of `pixels` pixels, `stride`
// samples from one pixel to the next, of which `colours` are taken from
// colour `firstColour` on (3 from red for interleaved pixels, 1 for a colour
// plane). Samples past them, alpha or infrared, are left alone. They are
// corrected in place, or read from `source` (the same layout) when given.
struct SampleSpan {
    std::uint8_t* samples;
    std::size_t pixels;
    std::size_t stride;
    std::size_t firstColour;
    std::size_t colours;
    std::size_t sampleBytes;  // 1 or 2
    bool swapped;             // 16-bit samples in the other order than the host's
    const std::uint8_t* source = nullptr;
};

// What the span is corrected with: its pixels' gains (1 a pixel, or 3 for
// red, green and blue), the dark frame's samples of the same pixels (3 a
// pixel, host order) and the subject's tone curves, each nil when not used.
struct SpanGains {
    const double* gains;
    std::size_t perPixel;
    const std::uint16_t* dark;
    const ToneCurves* curves;
};

// The one correction of the program, whatever read the samples: each sample
// less the dark held at 0, then gain x sample held at the ceiling and
// truncated, as the formula says; in linear light the sample whose linear
// value is nearest to gain x its linear value, held at 1. Interleaved pixels
// with a gain each and nothing else go through the loop written for wide
// vector units where the processor has them.
void CorrectSpan(const SampleSpan& span, const SpanGains& with);

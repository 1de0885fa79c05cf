#pragma once

#include <cstdint>

// The arithmetic of equalization: how a subject sample becomes an output
// sample, given the white card shot with the same lens and lights. All of it is
// in double precision, in the written order of operations.

// The level to which the dark parts of the field are lifted; one per batch.
double TargetLevel(double maxLuminance, double minLuminance, double amountToApply);

// The factor of one pixel. Never below 1: the correction only brightens. A
// white sample of 0 gives an infinite gain (or 1 when the target is 0 too).
inline double Gain(double targetLevel, double whiteGreen) {
    const double ratio = targetLevel / whiteGreen;
    return ratio > 1.0 ? ratio : 1.0;
}

// gain x sample, held at the ceiling and truncated toward zero. The one product
// without a value, an infinite gain on a sample of 0, stays 0: black stays black.
inline std::uint16_t CorrectedSample(double gain, double sample, double ceiling) {
    const double product = gain * sample;
    const double held = product > ceiling ? ceiling : product;
    return static_cast<std::uint16_t>(held >= 0.0 ? held : 0.0);
}

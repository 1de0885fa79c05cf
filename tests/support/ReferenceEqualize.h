#pragma once

// The expected output of equalizing, worked out in the plainest way: each
// sample read from the built description, the gain and the product in double,
// held at the ceiling and truncated. Written apart from the program's code so
// the two can disagree.

#include <cmath>
#include <string>

#include "TiffBuilder.h"

namespace testing_tiff {

// The tone curves of sRGB and of a 2.2 gamma, from their definitions, on 0..1.
inline double SrgbToLinear(double c) {
    return c <= 0.04045 ? c / 12.92 : std::pow((c + 0.055) / 1.055, 2.4);
}
inline double GammaToLinear(double c) {
    return std::pow(c, 2.2);
}

inline double ExpectedTarget(double maxLuminance, double minLuminance, double amount) {
    return minLuminance + (maxLuminance - minLuminance) * amount;
}

inline std::uint16_t ExpectedSample(double target, double whiteGreen, double sample, int bits) {
    const double ceiling = bits == 8 ? 255.0 : 65535.0;
    double gain = target / whiteGreen;
    if (!(gain > 1.0)) gain = 1.0;
    const double product = gain * sample;
    if (std::isnan(product)) return 0;  // infinite gain on a black sample
    return static_cast<std::uint16_t>(std::trunc(std::fmin(product, ceiling)));
}

// The whole expected output file: the subject's bytes with its pixel rows
// replaced by corrected samples in the subject's byte order.
inline std::string ExpectedOutput(const TiffSpec& subject, const TiffSpec& white, double target) {
    BuiltTiff built = BuildTiff(subject);
    std::size_t at = built.imageOffset;
    const int width = subject.bits / 8;
    for (std::uint32_t y = 0; y < subject.height; ++y)
        for (std::uint32_t x = 0; x < subject.width; ++x) {
            const Rgb s = subject.pixel(x, y);
            const double w = white.pixel(x, y).g;
            for (const std::uint16_t v : {s.r, s.g, s.b}) {
                std::string sample;
                PutValue(sample, ExpectedSample(target, w, v, subject.bits), width,
                         subject.littleEndian);
                built.bytes.replace(at, sample.size(), sample);
                at += sample.size();
            }
        }
    return built.bytes;
}

}  // namespace testing_tiff

#pragma once

#include <cstddef>
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

// The sample layout of a subject, chosen by its pixel size alone: 3 bytes is
// 8-bit RGB, every other size 16-bit RGB.
struct SampleFormat {
    std::size_t width;  // bytes a sample
    std::size_t step;   // bytes a pixel
    double ceiling;

    static SampleFormat For(std::int64_t bytesPerPixel) {
        return bytesPerPixel == 3 ? SampleFormat{1, 3, 255.0} : SampleFormat{2, 6, 65535.0};
    }
};

// Corrects the pixel that starts at subject, white and out (the same byte index
// of each row). The subject and output samples are in the subject's byte order,
// the white card's in its own; only the white card's green sample is read.
void CorrectPixel(const SampleFormat& format, double targetLevel, const std::uint8_t* subject,
                  bool subjectLittleEndian, const std::uint8_t* white, bool whiteLittleEndian,
                  std::uint8_t* out);

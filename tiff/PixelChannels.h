#pragma once

#include <array>

#include "PixelLayout.h"

// The three channels of one interleaved pixel as numbers.
using Channels = std::array<double, 3>;

// Red, green and blue samples as they stand, unscaled.
inline Channels RgbChannels(const PixelLayout& layout, const std::uint8_t* pixel) {
    return {static_cast<double>(layout.Load(pixel, 0)), static_cast<double>(layout.Load(pixel, 1)),
            static_cast<double>(layout.Load(pixel, 2))};
}

// L* on a scale of 0 to 100, then a* and b*, which are signed. 8-bit a* and
// b* are whole units; 16-bit ones count in 256ths.
inline Channels LabChannels(const PixelLayout& layout, const std::uint8_t* pixel) {
    const auto signedAt = [&](std::size_t channel) {
        const std::uint16_t sample = layout.Load(pixel, channel);
        return layout.EightBit() ? static_cast<double>(static_cast<std::int8_t>(sample))
                                 : static_cast<std::int16_t>(sample) / 256.0;
    };
    return {layout.Load(pixel, 0) / (layout.EightBit() ? 2.55 : 655.35), signedAt(1), signedAt(2)};
}

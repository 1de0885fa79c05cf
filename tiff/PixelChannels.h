#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "Samples.h"

// The three channels of one interleaved pixel as numbers. A pixel of three
// bytes holds 8-bit samples; every other pixel size is read as three 16-bit
// samples in the given byte order.
using Channels = std::array<double, 3>;

inline std::size_t ChannelBytes(bool eightBit) {
    return eightBit ? 3 : 6;
}

// Red, green and blue samples as they stand, unscaled.
inline Channels RgbChannels(const std::uint8_t* at, bool eightBit, bool littleEndian) {
    const std::size_t width = eightBit ? 1 : 2;
    return {static_cast<double>(LoadSample(at, width, littleEndian)),
            static_cast<double>(LoadSample(at + width, width, littleEndian)),
            static_cast<double>(LoadSample(at + 2 * width, width, littleEndian))};
}

// L* on a scale of 0 to 100, then a* and b*, which are signed. 8-bit a* and
// b* are whole units; 16-bit ones count in 256ths.
inline Channels LabChannels(const std::uint8_t* at, bool eightBit, bool littleEndian) {
    if (eightBit)
        return {at[0] / 2.55, static_cast<double>(static_cast<std::int8_t>(at[1])),
                static_cast<double>(static_cast<std::int8_t>(at[2]))};
    const auto signedAt = [&](std::size_t offset) {
        return static_cast<double>(
            static_cast<std::int16_t>(LoadSample(at + offset, 2, littleEndian)));
    };
    return {LoadSample(at, 2, littleEndian) / 655.35, signedAt(2) / 256.0, signedAt(4) / 256.0};
}

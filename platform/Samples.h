#pragma once

#include <cstddef>
#include <cstdint>

// Unsigned samples of one or two bytes in a row buffer, in a given byte order.

inline std::uint16_t LoadSample(const std::uint8_t* at, std::size_t width, bool littleEndian) {
    if (width == 1) return at[0];
    return littleEndian ? static_cast<std::uint16_t>(at[0] | at[1] << 8)
                        : static_cast<std::uint16_t>(at[0] << 8 | at[1]);
}

inline void StoreSample(std::uint8_t* at, std::size_t width, bool littleEndian,
                        std::uint16_t value) {
    if (width == 1) {
        at[0] = static_cast<std::uint8_t>(value);
    } else if (littleEndian) {
        at[0] = static_cast<std::uint8_t>(value);
        at[1] = static_cast<std::uint8_t>(value >> 8);
    } else {
        at[0] = static_cast<std::uint8_t>(value >> 8);
        at[1] = static_cast<std::uint8_t>(value);
    }
}

#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

class TiffFile;

inline constexpr bool kHostLittleEndian = std::endian::native == std::endian::little;

// One sample of a pixel row, of Sample's width, with its two bytes turned
// round when Swap. Width and order are fixed for a whole file, so a loop over
// a row takes them as template arguments and holds no test of either.
template <class Sample, bool Swap>
inline Sample LoadSample(const std::uint8_t* at) {
    Sample value;
    std::memcpy(&value, at, sizeof value);
    if constexpr (Swap && sizeof(Sample) == 2)
        value = static_cast<Sample>(static_cast<std::uint16_t>(value << 8 | value >> 8));
    return value;
}

template <class Sample, bool Swap>
inline void StoreSample(std::uint8_t* at, std::uint16_t sample) {
    auto value = static_cast<Sample>(sample);
    if constexpr (Swap && sizeof(Sample) == 2)
        value = static_cast<Sample>(static_cast<std::uint16_t>(value << 8 | value >> 8));
    std::memcpy(at, &value, sizeof value);
}

// How the pixels of a file's rows lie, decided once from its record: a pixel
// of three bytes is 8-bit RGB, and every other pixel size is read as 16-bit
// RGB, the layout that six bytes fit. Rows are packed, with no padding.
struct PixelLayout {
    std::size_t sampleBytes = 1;  // 1 or 2
    std::size_t pixelBytes = 3;   // 3 or 6: from one pixel to the next in a row
    bool littleEndian = true;     // the order of 16-bit samples
    std::size_t rowBytes = 0;     // BytesPerRow; 0 for a row length that isn't valid
    std::size_t pixels = 0;       // whole pixels in a row

    static PixelLayout For(std::int64_t bytesPerPixel, bool littleEndian, std::int64_t bytesPerRow);
    // The layout of the file's rows in the file's byte order.
    static PixelLayout Of(const TiffFile& tiff);

    bool EightBit() const { return sampleBytes == 1; }
    // Whether 16-bit samples stand in the other order than the host's.
    bool Swapped() const { return !EightBit() && littleEndian != kHostLittleEndian; }
    double Ceiling() const { return EightBit() ? 255.0 : 65535.0; }
    // The same rows in another byte order (a white card read beside a subject,
    // or a buffer turned round into the host's order).
    PixelLayout InOrder(bool little) const;

    // Sample `channel` (0 red, 1 green, 2 blue) of the pixel that starts at `pixel`.
    std::uint16_t Load(const std::uint8_t* pixel, std::size_t channel) const;
    void Store(std::uint8_t* pixel, std::size_t channel, std::uint16_t value) const;
    // The sample on the 8-bit scale of a screen: 16-bit ones are divided by
    // 257 and truncated, which takes 65535 to 255 and 256 to 0.
    std::uint32_t DisplayLevel(const std::uint8_t* pixel, std::size_t channel) const;
};

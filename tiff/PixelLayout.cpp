#include "PixelLayout.h"

#include "TiffFile.h"

PixelLayout PixelLayout::For(std::int64_t bytesPerPixel, bool littleEndian,
                             std::int64_t bytesPerRow) {
    PixelLayout layout;
    if (bytesPerPixel != 3) {
        layout.sampleBytes = 2;
        layout.pixelBytes = 6;
    }
    layout.littleEndian = littleEndian;
    layout.rowBytes = bytesPerRow > 0 ? static_cast<std::size_t>(bytesPerRow) : 0;
    layout.pixels = layout.rowBytes / layout.pixelBytes;
    return layout;
}

PixelLayout PixelLayout::Of(const TiffFile& tiff) {
    return For(tiff.BytesPerPixel, tiff.LittleEndian, tiff.BytesPerRow);
}

PixelLayout PixelLayout::InOrder(bool little) const {
    PixelLayout layout = *this;
    layout.littleEndian = little;
    return layout;
}

std::uint16_t PixelLayout::Load(const std::uint8_t* pixel, std::size_t channel) const {
    const std::uint8_t* at = pixel + channel * sampleBytes;
    if (EightBit()) return at[0];
    return Swapped() ? LoadSample<std::uint16_t, true>(at) : LoadSample<std::uint16_t, false>(at);
}

void PixelLayout::Store(std::uint8_t* pixel, std::size_t channel, std::uint16_t value) const {
    std::uint8_t* at = pixel + channel * sampleBytes;
    if (EightBit())
        StoreSample<std::uint8_t, false>(at, value);
    else if (Swapped())
        StoreSample<std::uint16_t, true>(at, value);
    else
        StoreSample<std::uint16_t, false>(at, value);
}

std::uint32_t PixelLayout::DisplayLevel(const std::uint8_t* pixel, std::size_t channel) const {
    const std::uint16_t sample = Load(pixel, channel);
    return EightBit() ? sample : static_cast<std::uint32_t>(sample / 257.0);
}

#include "ToneMap.h"

#include <array>

#include "CardSource.h"

namespace {
struct ToneBand {
    std::uint32_t lowest;  // inclusive lower limit of the green byte
    std::uint32_t colour;
};

// From the top down; the first band whose limit is not above the green byte
// gives the colour.
constexpr std::array<ToneBand, 11> kBands{{
    {250, RGB(255, 0, 0)},
    {245, RGB(255, 128, 0)},
    {240, RGB(255, 192, 0)},
    {235, RGB(255, 255, 0)},
    {230, RGB(204, 240, 0)},
    {225, RGB(0, 224, 0)},
    {220, RGB(0, 240, 176)},
    {215, RGB(0, 255, 255)},
    {210, RGB(0, 192, 255)},
    {205, RGB(0, 128, 255)},
    {200, RGB(0, 0, 255)},
}};

// The band of a green byte; nullptr below the lowest band.
const ToneBand* BandOf(std::uint32_t green) {
    for (const ToneBand& band : kBands)
        if (band.lowest <= green) return &band;
    return nullptr;
}
}  // namespace

void CreateToneMap(const Picture& pwhite, Picture& ptone) {
    for (std::int64_t y = 0; y < ptone.Height(); ++y) {
        for (std::int64_t x = 0; x < ptone.Width(); ++x) {
            const std::uint32_t pixel = pwhite.Pixel(x, y);
            const ToneBand* band = BandOf((pixel >> 8) & 255u);
            ptone.SetPixel(x, y, band ? band->colour : pixel);
        }
    }
}

std::shared_ptr<Picture> WindowPreview(const CardSource& white) {
    return white.Preview(kWhiteCanvas, kWhiteCanvas);
}

Picture ToneMapOf(const Picture& preview) {
    Picture tone(preview.Width(), preview.Height());
    CreateToneMap(preview, tone);
    return tone;
}

#include "PreviewGeometry.h"

#include <algorithm>
#include <cmath>
#include <numeric>

#include "NumberText.h"

namespace {
// Round(image / preview), at least 1. A preview side of 0 (a room far smaller
// than a long, narrow image) has no meaningful step; 1 keeps the walk defined
// and the empty picture takes no pixel anyway.
std::int64_t Step(std::int64_t imageSide, std::int64_t previewSide) {
    if (previewSide <= 0) return 1;
    const double step = Round(static_cast<double>(imageSide) / static_cast<double>(previewSide));
    return std::max<std::int64_t>(1, static_cast<std::int64_t>(step));
}
}  // namespace

PreviewGeometry PreviewGeometry::For(std::int64_t imageWidth, std::int64_t imageHeight,
                                     std::int64_t bytesPerPixel, std::int64_t roomWidth,
                                     std::int64_t roomHeight) {
    PreviewGeometry g;
    const double byWidth = static_cast<double>(roomWidth) / static_cast<double>(imageWidth);
    const double byHeight = static_cast<double>(roomHeight) / static_cast<double>(imageHeight);
    g.scale = std::min(std::min(byWidth, byHeight), 1.0);
    if (!(g.scale >= 0.0)) g.scale = 0.0;  // an image with no pixels
    g.width = static_cast<std::int64_t>(static_cast<double>(imageWidth) * g.scale);
    g.height = static_cast<std::int64_t>(static_cast<double>(imageHeight) * g.scale);
    g.columnStep = Step(imageWidth, g.width);
    g.byteStep = std::max<std::int64_t>(1, g.columnStep * bytesPerPixel);
    g.rowStep = Step(imageHeight, g.height);
    return g;
}

// The chosen pixels are those whose offset is a multiple of the byte step:
// every stride-th pixel, the stride being the byte step over its common factor
// with the pixel size. Pixels past the picture's right edge would change
// nothing, so the walk ends there.
void SamplePreviewRow(const PreviewGeometry& g, const PixelLayout& layout, const std::uint8_t* row,
                      Picture& picture, std::int64_t y) {
    const auto pixelBytes = static_cast<std::int64_t>(layout.pixelBytes);
    const auto stride = static_cast<std::size_t>(g.byteStep / std::gcd(g.byteStep, pixelBytes));
    std::int64_t x = 0;
    for (std::size_t p = 0; p < layout.pixels && x < picture.Width(); p += stride) {
        const std::uint8_t* pixel = row + p * layout.pixelBytes;
        picture.SetPixel(x++, y,
                         RGB(layout.DisplayLevel(pixel, 0), layout.DisplayLevel(pixel, 1),
                             layout.DisplayLevel(pixel, 2), 0));
    }
}

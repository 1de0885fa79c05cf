#include "PreviewGeometry.h"

#include <algorithm>
#include <cmath>

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
                                     std::int64_t roomWidth, std::int64_t roomHeight) {
    PreviewGeometry g;
    const double byWidth = static_cast<double>(roomWidth) / static_cast<double>(imageWidth);
    const double byHeight = static_cast<double>(roomHeight) / static_cast<double>(imageHeight);
    g.scale = std::min(std::min(byWidth, byHeight), 1.0);
    if (!(g.scale >= 0.0)) g.scale = 0.0;  // an image with no pixels
    g.width = static_cast<std::int64_t>(static_cast<double>(imageWidth) * g.scale);
    g.height = static_cast<std::int64_t>(static_cast<double>(imageHeight) * g.scale);
    g.columnStep = Step(imageWidth, g.width);
    g.rowStep = Step(imageHeight, g.height);
    return g;
}

namespace {
std::uint32_t DisplayLevel(double sample, bool eightBit) {
    return eightBit ? static_cast<std::uint32_t>(sample)
                    : static_cast<std::uint32_t>(sample / 257.0);
}
}  // namespace

// The chosen pixels are those whose column is a multiple of the column step.
// Pixels past the picture's right edge would change nothing, so the walk ends
// there.
void SamplePreviewRow(const PreviewGeometry& g, const SampleRow& row, std::int64_t x,
                      std::int64_t pixels, bool eightBit, Picture& picture, std::int64_t y) {
    const std::int64_t step = g.columnStep;
    for (std::int64_t column = (x + step - 1) / step * step;
         column < x + pixels && column / step < picture.Width(); column += step) {
        const auto at = static_cast<std::size_t>(column - x) * row.stride;
        picture.SetPixel(
            column / step, y,
            RGB(DisplayLevel(row.At(at), eightBit), DisplayLevel(row.At(at + 1), eightBit),
                DisplayLevel(row.At(at + 2), eightBit), 0));
    }
}

void SamplePreviewPlane(const PreviewGeometry& g, const SampleRow& row, std::int64_t x,
                        std::int64_t pixels, bool eightBit, Picture& picture, std::int64_t y,
                        int colour) {
    const std::int64_t step = g.columnStep;
    const int shift = 16 - 8 * colour;
    for (std::int64_t column = (x + step - 1) / step * step;
         column < x + pixels && column / step < picture.Width(); column += step) {
        const std::uint32_t level =
            DisplayLevel(row.At(static_cast<std::size_t>(column - x) * row.stride), eightBit);
        const std::uint32_t was = picture.Pixel(column / step, y);
        picture.SetPixel(column / step, y, (was & ~(255u << shift)) | (level & 255u) << shift);
    }
}

std::int64_t PreviewRowOf(const PreviewGeometry& g, bool eightBit, std::int64_t y) {
    const std::int64_t counter = eightBit ? y + 1 : y;
    if (counter % g.rowStep != 0) return -1;
    return eightBit ? counter / g.rowStep - 1 : counter / g.rowStep;
}

std::shared_ptr<Picture> DecimatedPicture(std::int64_t imageWidth, std::int64_t imageHeight,
                                          std::int64_t rowPixels, bool eightBit, std::int64_t width,
                                          std::int64_t height,
                                          const std::function<SampleRow(std::int64_t)>& row) {
    const PreviewGeometry g = PreviewGeometry::For(imageWidth, imageHeight, width, height);
    auto picture = std::make_shared<Picture>(g.width, g.height, 32);
    for (std::int64_t y = 0; y < imageHeight; ++y) {
        const std::int64_t at = PreviewRowOf(g, eightBit, y);
        if (at < 0) continue;
        const SampleRow pixels = row(y);
        if (pixels) SamplePreviewRow(g, pixels, 0, rowPixels, eightBit, *picture, at);
    }
    return picture;
}

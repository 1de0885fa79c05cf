#pragma once

#include <cstdint>

#include "Picture.h"
#include "PixelLayout.h"

// How an image is decimated into a preview that fits a room: the preview's
// size and the whole-number steps between the image columns and rows that it
// shows. The image is never enlarged. Shared by the file previews and the
// result preview drawn while equalizing, so both pick the same pixels.
struct PreviewGeometry {
    double scale = 1.0;
    std::int64_t width = 0;   // preview columns
    std::int64_t height = 0;  // preview rows
    std::int64_t columnStep = 1;
    std::int64_t byteStep = 1;  // columnStep x bytes a pixel
    std::int64_t rowStep = 1;

    static PreviewGeometry For(std::int64_t imageWidth, std::int64_t imageHeight,
                               std::int64_t bytesPerPixel, std::int64_t roomWidth,
                               std::int64_t roomHeight);
};

// Puts the chosen pixels of one pixel row into row y of a preview, as the
// screen shows them. Only whole pixels count, and the picture itself drops
// positions outside it. Which rows are chosen is the caller's rule.
void SamplePreviewRow(const PreviewGeometry& g, const PixelLayout& layout, const std::uint8_t* row,
                      Picture& picture, std::int64_t y);

#pragma once

#include <cstdint>
#include <functional>
#include <memory>

#include "Picture.h"
#include "SampleRow.h"

// How an image is decimated into a preview that fits a room: the preview's
// size and the whole-number steps between the image columns and rows that it
// shows. The image is never enlarged. Shared by the file previews and the
// result preview drawn while equalizing, so both pick the same pixels.
struct PreviewGeometry {
    double scale = 1.0;
    std::int64_t width = 0;   // preview columns
    std::int64_t height = 0;  // preview rows
    std::int64_t columnStep = 1;
    std::int64_t rowStep = 1;

    static PreviewGeometry For(std::int64_t imageWidth, std::int64_t imageHeight,
                               std::int64_t roomWidth, std::int64_t roomHeight);
};

// Puts the chosen pixels of one row of `pixels` pixels (red, green, blue,
// pixel x of the row first) into row y of a preview, as the screen shows
// them: 8-bit samples as they are, 16-bit ones divided by 257 and truncated,
// which takes 65535 to 255 and 256 to 0. Pixels whose column is a multiple of
// the column step are chosen; the picture itself drops positions outside it.
// Which rows are chosen is the caller's rule.
void SamplePreviewRow(const PreviewGeometry& g, const SampleRow& row, std::int64_t x,
                      std::int64_t pixels, bool eightBit, Picture& picture, std::int64_t y);
// The same for one colour plane's row, one sample a pixel: that colour of the
// chosen pixels (0 red, 1 green, 2 blue), the others as they are.
void SamplePreviewPlane(const PreviewGeometry& g, const SampleRow& row, std::int64_t x,
                        std::int64_t pixels, bool eightBit, Picture& picture, std::int64_t y,
                        int colour);

// The rows a preview of a file shows, by their counters: 8-bit rows count
// from 1 and 16-bit rows from 0, so an 8-bit preview starts one row step
// minus one row down the image. The preview row of image row y, or -1.
std::int64_t PreviewRowOf(const PreviewGeometry& g, bool eightBit, std::int64_t y);

// A decimated picture of an image that fits width x height, as a file's
// preview is made: row(y) is asked only for the rows shown, top to bottom,
// and gives rows of rowPixels whole pixels.
std::shared_ptr<Picture> DecimatedPicture(std::int64_t imageWidth, std::int64_t imageHeight,
                                          std::int64_t rowPixels, bool eightBit, std::int64_t width,
                                          std::int64_t height,
                                          const std::function<SampleRow(std::int64_t)>& row);

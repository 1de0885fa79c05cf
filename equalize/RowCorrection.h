#pragma once

#include <cstddef>
#include <cstdint>

#include "PixelLayout.h"

// Corrects every whole pixel of one row: the per-pixel step of the formula
// applied along the row, from the subject row and the white card row (the same
// byte index in each) into the output row. The subject's layout gives the
// rows' length and samples; the white card's samples are read in its own byte
// order. Bytes after the last whole pixel are copied from the subject row, so a
// row that doesn't hold a whole number of pixels loses nothing. No buffer is
// read or written past the row's length.
void CorrectRow(const PixelLayout& subject, bool whiteLittleEndian, double targetLevel,
                const std::uint8_t* subjectRow, const std::uint8_t* whiteRow, std::uint8_t* out);

// Corrects decoded samples in place, in the host's byte order, from the white
// card's green samples of the same pixels: the first `colours` samples of each
// pixel, pixels `stride` samples apart (3 of 4 for RGB with alpha, 1 of 1 for a
// colour plane). Other samples, alpha or infrared, are left as they are.
void CorrectHostSamples(double targetLevel, const std::uint16_t* whiteGreen, std::uint8_t* samples,
                        std::size_t pixels, std::size_t sampleBytes, std::size_t stride,
                        std::size_t colours);

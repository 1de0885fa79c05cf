#pragma once

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

#pragma once

#include <cstddef>
#include <cstdint>

#include "Correction.h"

// Corrects every whole pixel of one row: the per-pixel step of the formula
// applied along the row, from the subject row and the white card row (the same
// byte index in each) into the output row. Bytes after the last whole pixel
// are copied from the subject row, so a row that doesn't hold a whole number of
// pixels loses nothing. No buffer is read or written past rowLength.
void CorrectRow(const SampleFormat& format, double targetLevel, const std::uint8_t* subject,
                bool subjectLittleEndian, const std::uint8_t* white, bool whiteLittleEndian,
                std::uint8_t* out, std::size_t rowLength);

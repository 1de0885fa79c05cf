#pragma once

#include <cstddef>
#include <cstdint>

// The 8-bit row loop written out for processors with 512-bit vector units.
// Compilers vectorize the plain loop for those too, but spend most of the time
// pulling the red, green and blue bytes apart and putting them back; this one
// works on the bytes in their own order and spreads each pixel's gain over its
// three samples instead, which halves the cost of an 8-bit row.

// Whether this processor can run it (x86-64 with AVX-512 F, BW, DQ and VL)
// and the build holds it.
bool EightBitVectorLoopAvailable();

// Corrects whole blocks of 8 pixels from the start of the rows and returns how
// many pixels it corrected; the rest, fewer than 8, is the caller's. Every
// output byte is the one the per-pixel formula gives. Reads and writes nothing
// past the returned number of pixels.
std::size_t CorrectEightBitBlocks(double targetLevel, const std::uint8_t* subject,
                                  const std::uint8_t* white, std::uint8_t* out, std::size_t pixels);

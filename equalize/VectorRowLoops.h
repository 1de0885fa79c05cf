#pragma once

#include <cstddef>
#include <cstdint>

// The row loops written out for processors with 512-bit vector units.
// Compilers vectorize the plain loops for those too, but spend most of the
// time pulling the red, green and blue samples apart and putting them back;
// these work on the samples in their own order and spread each pixel's gain
// over its three samples instead, which halves the cost of an 8-bit row and
// takes a quarter off a 16-bit one.

// Whether this processor can run them (x86-64 with AVX-512 F, BW, DQ and VL)
// and the build holds them.
bool VectorRowLoopsAvailable();

// Correct whole blocks of 8 pixels from the start of the rows and return how
// many pixels they corrected; the rest, fewer than 8, is the caller's. Every
// output byte is the one the per-pixel formula gives. They read and write
// nothing past the returned number of pixels. 16-bit samples stand in the
// other order than the host's where swapped says so, the output's in the
// subject's order.
std::size_t CorrectEightBitBlocks(double targetLevel, const std::uint8_t* subject,
                                  const std::uint8_t* white, std::uint8_t* out, std::size_t pixels);
std::size_t CorrectSixteenBitBlocks(double targetLevel, bool subjectSwapped, bool whiteSwapped,
                                    const std::uint8_t* subject, const std::uint8_t* white,
                                    std::uint8_t* out, std::size_t pixels);

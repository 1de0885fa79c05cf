#pragma once

#include <cstddef>
#include <cstdint>

// The correction of interleaved RGB pixels written out for processors with
// 512-bit vector units. Compilers vectorize the plain loops for those too,
// but spend most of the time pulling the red, green and blue samples apart
// and putting them back; this works on the samples in their own order and
// spreads each pixel's gain over its three samples instead, which halves the
// cost of an 8-bit row and takes a quarter off a 16-bit one.

// Whether this processor can run it (x86-64 with AVX-512 F, BW, DQ and VL)
// and the build holds it.
bool VectorRowLoopsAvailable();

// Corrects whole blocks of 8 pixels from the start of the run, each pixel's
// three samples, less the dark frame's (3 a pixel, host order; nil for none)
// held at 0, by its own gain, from `from` into `to` (which may be the same),
// and returns how many pixels they corrected; the rest, fewer than 8, is the
// caller's. Every output sample is the one the per-pixel formula gives for
// that gain, whatever the gain (infinite, 0, or without a value). Nothing
// past the returned number of pixels is read or written. 16-bit samples stand
// in the other order than the host's where swapped says so.
std::size_t CorrectBlocks(const double* gains, const std::uint16_t* dark, const std::uint8_t* from,
                          std::uint8_t* to, std::size_t pixels, std::size_t sampleBytes,
                          bool swapped);

// The window's gains of whole blocks of 8 pixels of a card row of 3 samples a
// pixel (8-bit, or 16-bit turned round where swapped says so): target over
// each pixel's green, raised to 1, every one the formula's Gain. Returns how
// many pixels' gains it wrote; the rest, fewer than 8, is the caller's.
std::size_t GreenGainsInBlocks(double target, const std::uint8_t* card, std::size_t sampleBytes,
                               bool swapped, std::size_t pixels, double* gains);

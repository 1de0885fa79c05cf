#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>

#include "SampleRow.h"

// How the card's value at a pixel becomes the pixel's gain: target / card,
// raised to 1 unless darkening is allowed, then held at the cap.
struct GainRule {
    double target[3] = {0.0, 0.0, 0.0};  // red, green, blue; green mode uses green's
    bool rgb = false;                    // each channel its own gain, else green's for all
    bool darken = false;
    double cap = std::numeric_limits<double>::infinity();

    std::size_t GainsPerPixel() const { return rgb ? 3 : 1; }
    // Whether every gain is at least 1, so that no product can lose its value.
    bool OnlyBrightens() const { return !darken; }
    // The gains of `pixels` pixels of a card row, from its first, GainsPerPixel()
    // a pixel; gives how many pixels had a gain capped. A row of green alone
    // serves green mode.
    std::size_t Gains(const SampleRow& card, std::size_t pixels, double* gains) const;

  private:
    std::size_t TakeAll(const SampleRow& card, std::size_t pixels, double* gains) const;
};

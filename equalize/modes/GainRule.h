#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>

// How the card's value at a pixel becomes the pixel's gain: target / card,
// raised to 1 unless darkening is allowed, then held at the cap.
struct GainRule {
    double target[3] = {0.0, 0.0, 0.0};  // red, green, blue; green mode uses green's
    bool rgb = false;                    // each channel its own gain, else green's for all
    bool darken = false;
    double cap = std::numeric_limits<double>::infinity();

    std::size_t GainsPerPixel() const { return rgb ? 3 : 1; }
    // The gains of `pixels` pixels from the card's values (red, green, blue of
    // each), GainsPerPixel() a pixel; gives how many pixels had a gain capped.
    std::size_t Gains(const double* card, std::size_t pixels, double* gains) const;
    // The same from a card's whole samples (host order), each taken as its value.
    std::size_t Gains(const std::uint16_t* card, std::size_t pixels, double* gains) const;
};

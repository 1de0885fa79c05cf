#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "PixelChannels.h"

// One measured colour: CIE L*a*b* relative to the profile's white, and the
// linear luminance Y (1 at that white) of the same conversion.
struct LabY {
    double L = 0, a = 0, b = 0, Y = 0;
};

// The card's colours as LittleCMS converts them through its embedded ICC
// profile, relative colorimetric, so that the profile's white is L* 100. A
// card without a profile is taken as sRGB: a report measures, so it may assume.
class CardColour {
  public:
    // Throws std::runtime_error with plain words when the profile can't serve.
    CardColour(const std::vector<std::uint8_t>& profile, double ceiling);
    ~CardColour();
    CardColour(const CardColour&) = delete;
    CardColour& operator=(const CardColour&) = delete;

    // Mean samples in the card's own scale (0 to the ceiling).
    LabY Convert(const Channels& samples) const;
    bool Assumed() const { return assumed_; }
    // The profile's own description, or the assumption's name.
    const std::string& Description() const { return description_; }

  private:
    void* transform_ = nullptr;
    double ceiling_;
    bool assumed_;
    std::string description_;
};

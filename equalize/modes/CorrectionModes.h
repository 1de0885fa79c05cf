#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

// Which of the card's samples set the gains: green alone for all three
// channels, as the window does, or each channel its own.
enum class GainChannels { Green, Rgb };

// The ways of equalizing beyond the window's: all of them off by default, and
// off they give the window's bytes.
struct CorrectionModes {
    GainChannels channels = GainChannels::Green;
    std::uint32_t smoothRadius = 0;  // pixels; 0 takes the card as shot
    std::optional<double> maxGain;   // at least 1
    bool linear = false;             // gains in linear light, through the files' tone curves
    bool darken = false;             // gains may go below 1
    std::vector<std::string> cards;  // shots of the card, averaged; the first is the white card
    std::string dark;                // a dark frame subtracted from cards and subjects

    // Whether every mode is off, so the window's own correction serves.
    bool Off() const {
        return channels == GainChannels::Green && smoothRadius == 0 && !maxGain && !linear &&
               !darken && cards.size() <= 1 && dark.empty();
    }
};

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

    // The modes that are on, in a few words each ("each channel its own gain,
    // linear light"); empty when every one is off, so the window's own
    // correction serves.
    std::string Described() const;
    // The modes as the command line takes them ("--channels rgb --max-gain 4"),
    // the further shots and the dark frame among them; empty when all are off.
    std::string Flags() const;
    // The same options and no card files: what a user keeps between sessions.
    CorrectionModes Options() const;
};

// What each mode is for, in one sentence: the command line's help and the
// window's options dialog say the same.
namespace mode_sentences {
inline constexpr const char* kChannels =
    "green (the default) takes every channel's gain from the card's green, as the window does; "
    "rgb takes each channel's from the card's own channel.";
inline constexpr const char* kSmooth =
    "Smooth the card over PIXELS before the gains are taken from it, so dust and grain don't "
    "print into the subjects (default 0: off).";
inline constexpr const char* kMaxGain =
    "Hold every gain at G or below; the result line says on what share of pixels.";
inline constexpr const char* kLinear =
    "Take and apply the gains in linear light, through the tone curves of each file's ICC "
    "profile; files without them are refused.";
inline constexpr const char* kDark =
    "A dark frame (the lens capped), subtracted from the card and each subject before anything "
    "else.";
inline constexpr const char* kDarken =
    "Let gains go below 1, so that below 100 % the bright centre comes down while the corners "
    "come up.";
inline constexpr const char* kShots =
    "The white card: a TIFF of an evenly lit white card, shot with the subjects' lens and "
    "lights, of their size and depth. Given again, the shots are averaged pixel by pixel.";
}  // namespace mode_sentences

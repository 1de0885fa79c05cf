#include "CorrectionModes.h"

#include "NumberText.h"

std::string CorrectionModes::Described() const {
    std::string words;
    const auto add = [&words](const std::string& more) {
        words += (words.empty() ? "" : ", ") + more;
    };
    if (channels == GainChannels::Rgb) add("each channel its own gain");
    if (smoothRadius > 0) add("card smoothed over " + std::to_string(smoothRadius) + " px");
    if (maxGain) add("gain held at " + CStr(*maxGain));
    if (linear) add("linear light");
    if (darken) add("darkening");
    if (cards.size() > 1) add(std::to_string(cards.size()) + " shots of the card");
    if (!dark.empty()) add("dark frame");
    return words;
}

CorrectionModes CorrectionModes::Options() const {
    CorrectionModes options = *this;
    options.cards.clear();
    options.dark.clear();
    return options;
}

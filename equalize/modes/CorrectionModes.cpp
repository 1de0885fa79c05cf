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

std::string CorrectionModes::Flags() const {
    std::string flags;
    const auto add = [&flags](const std::string& more) {
        flags += (flags.empty() ? "" : " ") + more;
    };
    if (channels == GainChannels::Rgb) add("--channels rgb");
    if (smoothRadius > 0) add("--smooth " + std::to_string(smoothRadius));
    if (maxGain) add("--max-gain " + CStr(*maxGain));
    if (linear) add("--linear");
    if (darken) add("--darken");
    for (std::size_t k = 1; k < cards.size(); ++k) add("--white " + cards[k]);
    if (!dark.empty()) add("--dark " + dark);
    return flags;
}

CorrectionModes CorrectionModes::Options() const {
    CorrectionModes options = *this;
    options.cards.clear();
    options.dark.clear();
    return options;
}

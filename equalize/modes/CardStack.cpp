#include "CardStack.h"

namespace {
std::string SizeText(const LibtiffFile& image) {
    return std::to_string(image.width) + "x" + std::to_string(image.height) + " " +
           std::to_string(image.bits) + "-bit";
}
}  // namespace

CardStack::CardStack(const CorrectionModes& modes) {
    for (const std::string& path : modes.cards) {
        cards_.push_back(Open(path, "the white card " + path));
        if (!problem_.empty()) return;
    }
    if (!modes.dark.empty()) dark_ = Open(modes.dark, "the dark frame " + modes.dark);
}

// Every file after the first must have the first one's size and depth.
std::unique_ptr<CardGreen> CardStack::Open(const std::string& path, const std::string& what) {
    auto file = std::make_unique<CardGreen>(path, 3);
    const LibtiffFile& image = file->Image();
    if (!file->Opened()) {
        problem_ = what + " can't be read" + (image.Error().empty() ? "" : ": " + image.Error());
    } else if (const std::string unusable = image.Unusable(); !unusable.empty()) {
        problem_ = what + " can't be used: this is " + unusable;
    } else if (cards_.empty()) {
        width_ = image.width;
        height_ = image.height;
        bits_ = image.bits;
    } else if (image.width != width_ || image.height != height_ || image.bits != bits_) {
        problem_ = what + " is " + SizeText(image) + ", not " + SizeText(cards_.front()->Image()) +
                   " as the first white card";
    }
    return file;
}

bool CardStack::Row(std::uint32_t y, std::uint32_t x, std::uint32_t count, double* rgb) {
    const std::size_t from = std::size_t{x} * 3, values = std::size_t{count} * 3;
    const std::uint16_t* first = cards_.front()->Row(y);
    if (!first) return false;
    for (std::size_t i = 0; i < values; ++i) rgb[i] = first[from + i];
    for (std::size_t k = 1; k < cards_.size(); ++k) {
        const std::uint16_t* more = cards_[k]->Row(y);
        if (!more) return false;
        for (std::size_t i = 0; i < values; ++i) rgb[i] += more[from + i];
    }
    if (cards_.size() > 1) {
        const auto shots = static_cast<double>(cards_.size());
        for (std::size_t i = 0; i < values; ++i) rgb[i] /= shots;
    }
    if (dark_) {
        const std::uint16_t* dark = dark_->Row(y);
        if (!dark) return false;
        for (std::size_t i = 0; i < values; ++i) {
            const double less = rgb[i] - dark[from + i];
            rgb[i] = less > 0.0 ? less : 0.0;
        }
    }
    if (curves_)
        for (std::size_t i = 0; i < values; ++i)
            rgb[i] = curves_->Linear(static_cast<int>(i % 3), rgb[i]);
    return true;
}

const std::uint16_t* CardStack::Samples(std::uint32_t y) {
    const std::uint16_t* card = cards_.front()->Row(y);
    const std::uint16_t* dark = DarkRow(y);
    if (!card || !dark_) return card;
    if (!dark) return nullptr;
    samples_.resize(std::size_t{width_} * 3);
    for (std::size_t i = 0; i < samples_.size(); ++i)
        samples_[i] = static_cast<std::uint16_t>(card[i] > dark[i] ? card[i] - dark[i] : 0);
    return samples_.data();
}

const std::uint16_t* CardStack::DarkRow(std::uint32_t y) {
    return dark_ ? dark_->Row(y) : nullptr;
}

std::string CardStack::DecodeError() const {
    for (const auto& card : cards_)
        if (!card->Image().Error().empty()) return card->Image().Error();
    return dark_ ? dark_->Image().Error() : "";
}

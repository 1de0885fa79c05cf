#include "CardRows.h"

#include <cstring>
#include <stdexcept>

#include "CardReader.h"
#include "Correction.h"
#include "SpanCorrection.h"

namespace {
// The card's samples of a row in its own width, in the host's order; values
// (several shots averaged) as whole samples, as a subject would hold them.
template <class Sample>
void TakeSamples(const SampleRow& row, std::size_t values, std::vector<std::uint8_t>& out) {
    out.resize(values * sizeof(Sample));
    for (std::size_t i = 0; i < values; ++i) {
        const auto sample = static_cast<Sample>(row.At(i));
        std::memcpy(&out[i * sizeof(Sample)], &sample, sizeof(Sample));
    }
}

void ToChannels(const std::vector<std::uint8_t>& samples, bool eightBit,
                std::vector<Channels>& pixels) {
    for (std::size_t x = 0; x < pixels.size(); ++x)
        for (std::size_t c = 0; c < 3; ++c) {
            const std::size_t i = x * 3 + c;
            if (eightBit) {
                pixels[x][c] = samples[i];
            } else {
                std::uint16_t sample;
                std::memcpy(&sample, &samples[i * 2], 2);
                pixels[x][c] = sample;
            }
        }
}
}  // namespace

// The window's correction alone, whatever the run's modes, at the amount asked.
CardRows::CardRows(const CardSource& card, double amountToApply)
    : card_(card),
      target_(TargetLevel(card.Record().MaxLuminance, card.Record().MinLuminance, amountToApply)) {}

void CardRows::ForEach(const Visit& visit) const {
    CardReader rows(card_, 1, true);
    const bool eightBit = card_.Bits() == 8;
    const std::size_t width = card_.Width(), values = width * 3;
    std::vector<std::uint8_t> shot, equalized;
    std::vector<Channels> before(width), after(width);
    std::vector<double> gains(width);
    GainRule rule;
    rule.target[1] = target_;
    for (std::uint32_t y = 0; y < card_.Height(); ++y) {
        const SampleRow row = rows.FullRow(y);
        if (!row) throw std::runtime_error("The white card's rows can't be read.");
        if (eightBit)
            TakeSamples<std::uint8_t>(row, values, shot);
        else
            TakeSamples<std::uint16_t>(row, values, shot);
        // The card is both the subject and the white card here: the gains come
        // from the card as shot, so no pixel is measured after it was corrected.
        const SampleRow taken{shot.data(), eightBit ? SampleKind::U8 : SampleKind::U16};
        rule.Gains(taken, width, gains.data());
        equalized.resize(shot.size());
        CorrectSpan({equalized.data(), width, 3, 0, 3, eightBit ? 1u : 2u, false, shot.data()},
                    {gains.data(), 1, nullptr, nullptr});
        ToChannels(shot, eightBit, before);
        ToChannels(equalized, eightBit, after);
        visit(y, before, after);
    }
}

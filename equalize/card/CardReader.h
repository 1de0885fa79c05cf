#pragma once

#include <cstdint>
#include <vector>

#include "CardSource.h"
#include "SampleRow.h"

// One job's view of the run's card: its rows read a band at a time from where
// the card keeps them, as the numbers the gains come from, as the dark frame's
// samples, or whole for measuring and drawing. bandRows is the rows a piece of
// the subject spans at once (1 for rows in order, the tile's length for tiles),
// which stay at hand together. Rows hold 3 numbers a pixel unless said.
class CardReader {
  public:
    // allColours: the gains of each channel come from its own colour; else
    // from green alone, and green alone is read where the card is kept so.
    CardReader(const CardSource& card, std::uint32_t bandRows, bool allColours);

    // The numbers pixels x to x + count of row y take their gains from,
    // pixel x first: whole samples (FromSamples()) or values, in linear light
    // with --linear; an empty row when they can't be read. Valid until the
    // next call.
    SampleRow GainRow(std::uint32_t y, std::uint32_t x, std::uint32_t count);
    // The dark frame's samples of row y, 3 a pixel in the host's order; nil
    // without a dark frame or when they can't be read.
    const std::uint16_t* DarkRow(std::uint32_t y);
    // The whole of row y, red, green and blue, as shot (less the dark frame,
    // shots averaged, not in linear light, not smoothed); empty when it
    // can't be read.
    SampleRow FullRow(std::uint32_t y);

  private:
    // Rows of one plane held together: plane 0 to 2 (or the direct card's
    // rows as plane 0) or the dark frame (3).
    struct Band {
        std::vector<std::uint16_t> words;  // the rows' bytes, as the 16-bit samples most are
        std::uint32_t start = 0, end = 0;
        const std::uint8_t* Row(std::uint32_t y, std::size_t rowBytes) const {
            return reinterpret_cast<const std::uint8_t*>(words.data()) + (y - start) * rowBytes;
        }
    };
    const std::uint8_t* PlaneRow(int plane, std::uint32_t y);
    SampleRow SmoothedRow(std::uint32_t y);
    // Values of pixels x to x + count of the colours asked for, from the
    // planes of sums and the dark frame, into values_.
    SampleRow Values(std::uint32_t y, std::uint32_t x, std::uint32_t count, bool colours[3],
                     bool linear);
    SampleRow Interleaved(std::uint32_t y, std::uint32_t x, std::uint32_t count);

    const CardSource& card_;
    const CardStore& store_;
    std::uint32_t bandRows_;
    bool allColours_;
    Band bands_[4];
    std::vector<double> values_;
    std::vector<std::uint16_t> samples_;
    std::vector<double> smoothed_;
    std::uint32_t smoothedStart_ = 0, smoothedEnd_ = 0;
};

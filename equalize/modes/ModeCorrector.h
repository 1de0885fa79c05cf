#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "CardStack.h"
#include "ChunkRewrite.h"
#include "ModeRun.h"
#include "RowPass.h"
#include "SecondThread.h"
#include "SpanCorrection.h"

// One subject's correction in the modes of its run, on either road: the
// one-strip row pass gives rows in the file's byte order, the libtiff rewrite
// decoded strips or tiles in the host's. The card's values are read in
// lockstep with the subject and held for a band of rows (one, or a row of
// tiles), so memory stays a few rows whatever the image.
class ModeCorrector final : public RowCorrector, public ChunkCorrector {
  public:
    // bandRows: the rows a chunk of the subject spans at most (1 for rows in
    // order); curves: the subject's own, with --linear; spareCore: a core no
    // other job runs on, which takes half of each row.
    ModeCorrector(const ModeRun& run, std::uint32_t bandRows,
                  std::shared_ptr<const ToneCurves> curves, bool spareCore = false);

    void Correct(std::uint32_t y, const PixelLayout& subject, const std::uint8_t* subjectRow,
                 std::uint8_t* out) override;
    bool Correct(const LibtiffFile& copy, const LibtiffFile::Place& place,
                 std::uint8_t* data) override;
    // Pixels of the subject where a gain was held at the cap.
    std::uint64_t CappedPixels() const { return capped_; }

  private:
    // The card's values of row y, all of its width; nil when they can't be read.
    const double* Card(std::uint32_t y);
    const double* SmoothedAhead(std::uint32_t y);
    void CardAhead(std::uint32_t y);
    // A row of the card, in its samples or in its values (3 a pixel); both
    // nil when it can't be read.
    struct CardRow {
        const std::uint16_t* samples;
        const double* values;
        const double* gains = nullptr;  // the whole row's, when worked out ahead
        std::size_t capped = 0;         // of those
    };
    CardRow CardAt(std::uint32_t y);
    CardRow SamplesAt(std::uint32_t y);
    // The gains of `pixels` pixels of the card's row from value `at` on, into
    // gains; gives how many were capped.
    std::size_t Gains(const CardRow& card, std::size_t at, std::size_t pixels, double* gains) const;
    // Corrects one row's run of pixels from x on; false when the card fails.
    bool CorrectRun(std::uint32_t y, std::uint32_t x, const SampleSpan& span);
    std::size_t CorrectPart(const CardRow& card, const std::uint16_t* dark, std::uint32_t x,
                            const SampleSpan& span, int hand);

    const ModeRun& run_;
    CardStack stack_;
    std::shared_ptr<const ToneCurves> curves_;
    std::uint32_t bandRows_;
    std::uint32_t bandStart_ = 0;
    bool loaded_ = false;
    std::vector<double> band_;
    // The card's next row, taken by the second thread: a smoothed card's
    // values or a card of one shot's samples, and the row's index.
    static constexpr std::uint32_t kNoRow = 0xFFFFFFFF;
    std::vector<double> ahead_;
    const std::uint16_t* aheadSamples_ = nullptr;
    std::vector<double> aheadGains_;  // and their gains
    std::size_t aheadCapped_ = 0;
    std::uint32_t aheadRow_ = kNoRow;
    std::vector<double> gains_[2];  // a stretch of pixels' gains, for each hand
    std::uint64_t capped_ = 0;
    std::unique_ptr<SecondThread> second_;
};

#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "CardReader.h"
#include "CardSource.h"
#include "SecondThread.h"
#include "SpanCorrection.h"
#include "ToneCurves.h"

// What a subject's correction came to, for the result line and its figures.
struct CorrectionFigures {
    std::uint64_t cappedPixels = 0;  // where a gain was held at the cap
};

// One subject's correction by the run's card, whatever road read its pixels:
// a run of pixels of one row at a time, in the file's byte order or the
// host's. The gains come from the card's row in lockstep, a stretch of
// pixels at a time, and go through the one correction walk (CorrectSpan).
// Where a core is free, a second thread takes half of each row in linear
// light or with a smoothed card, and the card's next row while this one is
// written.
class SubjectCorrection {
  public:
    // bandRows: the rows a piece of the subject spans at once (1 for rows in
    // order); curves: the subject's own, with --linear.
    SubjectCorrection(const CardRun& run, std::uint32_t bandRows,
                      std::shared_ptr<const ToneCurves> curves, bool spareCore = false);

    // Corrects pixels x to x + span.pixels of row y; false when the card's
    // rows can't be read.
    bool Correct(std::uint32_t y, std::uint32_t x, const SampleSpan& span);
    const CorrectionFigures& Figures() const { return figures_; }

  private:
    // A row of the card: what its gains come from, and the whole row's gains
    // when they were worked out ahead.
    struct CardRow {
        SampleRow numbers;  // from pixel x on
        std::uint32_t x = 0;
        const double* gains = nullptr;
        std::size_t capped = 0;
    };
    CardRow CardAt(std::uint32_t y, std::uint32_t x, std::uint32_t count);
    void Ahead(std::uint32_t y);
    std::size_t Gains(const SampleRow& card, std::size_t pixels, double* gains) const;
    // Corrects with one hand's gains (the calling thread's or the second
    // thread's); gives how many pixels had a gain capped.
    std::size_t CorrectPart(const CardRow& card, const std::uint16_t* dark, std::uint32_t x,
                            const SampleSpan& span, int hand);

    const CardRun& run_;
    CardReader card_;
    std::shared_ptr<const ToneCurves> curves_;
    std::uint32_t bandRows_;
    std::vector<double> gains_[2];  // a stretch of pixels' gains, for each hand
    // The card's next row, taken by the second thread: its gains, and its index.
    static constexpr std::uint32_t kNoRow = 0xFFFFFFFF;
    std::vector<double> aheadGains_;
    std::size_t aheadCapped_ = 0;
    std::uint32_t aheadRow_ = kNoRow;
    bool aheadFailed_ = false;
    CorrectionFigures figures_;
    std::unique_ptr<SecondThread> second_;
};

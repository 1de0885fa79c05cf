#include "SubjectCorrection.h"

#include <algorithm>
#include <limits>

namespace {
// Gains are worked out for this many pixels at a time, so that they are read
// back from the nearest cache rather than from a row of them.
constexpr std::size_t kStretch = 1024;

// Pixels from to from + count of a span.
SampleSpan Part(const SampleSpan& span, std::size_t from, std::size_t count) {
    SampleSpan part = span;
    const std::size_t skip = from * span.stride * span.sampleBytes;
    part.samples += skip;
    if (part.source) part.source += skip;
    part.pixels = count;
    return part;
}
}  // namespace

SubjectCorrection::SubjectCorrection(const CardRun& run, std::uint32_t bandRows,
                                     std::shared_ptr<const ToneCurves> curves, bool spareCore)
    : run_(run),
      card_(run.Card(), bandRows, run.Rule().rgb),
      curves_(std::move(curves)),
      bandRows_(std::max(bandRows, 1u)),
      gains_{std::vector<double>(kStretch * run.Rule().GainsPerPixel()),
             std::vector<double>(kStretch * run.Rule().GainsPerPixel())},
      // Linear light's lookups and a smoothed card's rows make a row's work
      // worth sharing; the other modes' rows cost less than handing half of
      // them over does.
      second_(spareCore && (curves_ || run.Card().Smoothed()) ? std::make_unique<SecondThread>()
                                                              : nullptr) {
    if (second_ && bandRows_ == 1)
        aheadGains_.resize(std::size_t{run.Card().Width()} * run.Rule().GainsPerPixel());
}

// The samples' gains come through the run's table in linear light, else by
// the rule, as the values' do.
std::size_t SubjectCorrection::Gains(const SampleRow& card, std::size_t pixels,
                                     double* gains) const {
    const GainTable* table = run_.Table();
    if (table && card.kind != SampleKind::F64) return table->Gains(card, pixels, gains);
    return run_.Rule().Gains(card, pixels, gains);
}

// Row y's card from pixel x on: the whole row's gains where the second thread
// worked them out ahead, else what they come from.
SubjectCorrection::CardRow SubjectCorrection::CardAt(std::uint32_t y, std::uint32_t x,
                                                     std::uint32_t count) {
    if (!aheadGains_.empty()) {
        second_->Wait();
        const bool ready = aheadRow_ == y && !aheadFailed_;
        aheadRow_ = kNoRow;  // the buffer serves this row only
        if (ready && x == 0 && count == run_.Card().Width())
            return {{}, 0, aheadGains_.data(), aheadCapped_};
    }
    return {card_.GainRow(y, x, count), x};
}

// Rows in order, where the second thread shares them: once this row is done,
// it takes the card's next row and works out its gains while this row is
// written and the next one read. A row it failed on is read again where it is
// asked for, which meets the failure.
void SubjectCorrection::Ahead(std::uint32_t y) {
    if (aheadGains_.empty() || y >= run_.Card().Height()) return;
    second_->Start([this, y] {
        try {
            const std::uint32_t width = run_.Card().Width();
            const SampleRow numbers = card_.GainRow(y, 0, width);
            aheadFailed_ = !numbers;
            if (numbers) aheadCapped_ = Gains(numbers, width, aheadGains_.data());
            aheadRow_ = y;
        } catch (...) {
            aheadRow_ = kNoRow;
        }
    });
}

bool SubjectCorrection::Correct(std::uint32_t y, std::uint32_t x, const SampleSpan& span) {
    if (x + span.pixels > run_.Card().Width()) return false;
    const auto count = static_cast<std::uint32_t>(span.pixels);
    const CardRow card = CardAt(y, x, count);
    // Only now: reading the card's band may move the dark frame's on.
    const std::uint16_t* dark = card_.DarkRow(y);
    if ((!card.gains && !card.numbers) || (run_.Card().HasDark() && !dark)) return false;
    std::size_t capped[2] = {0, 0};
    const std::size_t half = span.pixels / 2;
    if (second_ && half >= kStretch)
        second_->Together(
            [&] {
                capped[1] = CorrectPart(card, dark, x + static_cast<std::uint32_t>(half),
                                        Part(span, half, span.pixels - half), 1);
            },
            [&] { capped[0] = CorrectPart(card, dark, x, Part(span, 0, half), 0); });
    else
        capped[0] = CorrectPart(card, dark, x, span, 0);
    // A planar subject's pixel is met once a plane; it counts once.
    if (span.firstColour == 0)
        figures_.cappedPixels += card.gains ? card.capped : capped[0] + capped[1];
    Ahead(y + 1);
    return true;
}

// Pixels x on of the card's row, a stretch at a time, with the gains of one
// hand (the calling thread's or the second thread's); how many were capped.
std::size_t SubjectCorrection::CorrectPart(const CardRow& card, const std::uint16_t* dark,
                                           std::uint32_t x, const SampleSpan& span, int hand) {
    std::size_t capped = 0;
    const std::size_t perPixel = run_.Rule().GainsPerPixel();
    for (std::size_t from = 0; from < span.pixels; from += kStretch) {
        const std::size_t count = std::min(kStretch, span.pixels - from);
        const double* gains = gains_[hand].data();
        if (card.gains) {
            gains = card.gains + (x + from) * perPixel;
        } else {
            capped += Gains(card.numbers.From(x - card.x + from), count, gains_[hand].data());
        }
        CorrectSpan(Part(span, from, count),
                    {gains, perPixel, dark ? dark + (x + from) * 3 : nullptr, curves_.get()});
    }
    return capped;
}

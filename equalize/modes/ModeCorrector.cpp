#include "ModeCorrector.h"

#include <cstring>
#include <stdexcept>
#include <utility>

#include "SpanCorrection.h"

namespace {
// Gains are worked out for this many pixels at a time, so that they are read
// back from the nearest cache rather than from a row of them.
constexpr std::size_t kStretch = 256;

// Pixels from to from + count of a span.
SampleSpan Part(const SampleSpan& span, std::size_t from, std::size_t count) {
    SampleSpan part = span;
    part.samples += from * span.stride * span.sampleBytes;
    part.pixels = count;
    return part;
}
}  // namespace

ModeCorrector::ModeCorrector(const ModeRun& run, std::uint32_t bandRows,
                             std::shared_ptr<const ToneCurves> curves, bool spareCore)
    : run_(run),
      stack_(run.Modes()),
      curves_(std::move(curves)),
      bandRows_(std::max(bandRows, 1u)),
      band_(std::size_t{stack_.Width()} * 3 * bandRows_),
      ahead_(band_.size()),
      gains_{std::vector<double>(kStretch * run.Rule().GainsPerPixel()),
             std::vector<double>(kStretch * run.Rule().GainsPerPixel())},
      // Linear light's lookups and a smoothed card's rows make a row's work
      // worth sharing; the other modes' rows cost less than handing half of
      // them over does.
      second_(spareCore && (curves_ || run.Smoothed()) ? std::make_unique<SecondThread>()
                                                       : nullptr) {
    stack_.InLinearLight(run.CardCurves());
    // A card of one shot taken ahead comes with the whole row's gains.
    if (second_ && bandRows_ == 1 && run.OneShot())
        aheadGains_.resize(std::size_t{stack_.Width()} * run.Rule().GainsPerPixel());
}

const double* ModeCorrector::Card(std::uint32_t y) {
    if (y >= stack_.Height()) return nullptr;
    if (run_.Smoothed() && bandRows_ == 1 && second_) return SmoothedAhead(y);
    const std::size_t rowValues = std::size_t{stack_.Width()} * 3;
    if (!loaded_ || y < bandStart_ || y >= bandStart_ + bandRows_) {
        bandStart_ = y / bandRows_ * bandRows_;
        const std::uint32_t end = std::min(bandStart_ + bandRows_, stack_.Height());
        loaded_ = true;
        const CardSmoother* smoothed = run_.Smoothed();
        for (std::uint32_t r = bandStart_; r < end && loaded_; ++r) {
            double* row = &band_[(r - bandStart_) * rowValues];
            if (smoothed)
                smoothed->Row(r, row);
            else
                loaded_ = stack_.Row(r, 0, stack_.Width(), row);
        }
        if (!loaded_) return nullptr;
    }
    return &band_[(y - bandStart_) * rowValues];
}

// A smoothed card's rows in order, where the second thread shares them: the
// row it drew ahead, or, out of order, this one drawn here.
const double* ModeCorrector::SmoothedAhead(std::uint32_t y) {
    second_->Wait();
    const bool ready = aheadRow_ == y;
    aheadRow_ = kNoRow;  // the buffer serves this row only
    if (!ready) run_.Smoothed()->Row(y, ahead_.data());
    std::swap(band_, ahead_);
    return band_.data();
}

bool ModeCorrector::CorrectRun(std::uint32_t y, std::uint32_t x, const SampleSpan& span) {
    if (x + span.pixels > stack_.Width()) return false;
    CardRow card = CardAt(y);
    // Only now: reading the card's band moves the dark frame's reader on.
    const std::uint16_t* dark = stack_.DarkRow(y);
    if ((!card.samples && !card.values) || (stack_.HasDark() && !dark)) return false;
    // The gains worked out ahead are the whole row's.
    if (x != 0 || span.pixels != stack_.Width()) card.gains = nullptr;
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
    if (span.firstColour == 0) capped_ += card.gains ? card.capped : capped[0] + capped[1];
    CardAhead(y + 1);
    return true;
}

// Rows in order, where the second thread shares them: once this row is done,
// it takes the card's next row (a card of one shot's samples, or a smoothed
// card's values) while the row is written and the next one read. A row it
// failed on is taken again where it is asked for, which meets the failure.
void ModeCorrector::CardAhead(std::uint32_t y) {
    if (!second_ || bandRows_ != 1 || y >= stack_.Height()) return;
    if (run_.OneShot())
        second_->Start([this, y] {
            aheadSamples_ = stack_.Samples(y);
            aheadRow_ = aheadSamples_ ? y : kNoRow;
            if (aheadSamples_)
                aheadCapped_ =
                    Gains({aheadSamples_, nullptr}, 0, stack_.Width(), aheadGains_.data());
        });
    else if (const CardSmoother* smoothed = run_.Smoothed())
        second_->Start([this, y, smoothed] {
            try {
                smoothed->Row(y, ahead_.data());
                aheadRow_ = y;
            } catch (...) {
                aheadRow_ = kNoRow;
            }
        });
}

// A card of one shot's row y, with the whole row's gains when the second
// thread took it ahead.
ModeCorrector::CardRow ModeCorrector::SamplesAt(std::uint32_t y) {
    if (!second_) return {stack_.Samples(y), nullptr};
    second_->Wait();
    const bool ready = aheadRow_ == y;
    aheadRow_ = kNoRow;  // the buffers serve this row only
    if (!ready) return {stack_.Samples(y), nullptr};
    return {aheadSamples_, nullptr, aheadGains_.data(), aheadCapped_};
}

// Pixels x on of the card's row, a stretch at a time, with the gains of one
// hand (the calling thread's or the second thread's); how many were capped.
std::size_t ModeCorrector::CorrectPart(const CardRow& card, const std::uint16_t* dark,
                                       std::uint32_t x, const SampleSpan& span, int hand) {
    std::size_t capped = 0;
    const std::size_t perPixel = run_.Rule().GainsPerPixel();
    for (std::size_t from = 0; from < span.pixels; from += kStretch) {
        const std::size_t count = std::min(kStretch, span.pixels - from);
        const std::size_t at = (x + from) * 3;
        const double* gains = card.gains ? card.gains + (x + from) * perPixel : gains_[hand].data();
        if (!card.gains) capped += Gains(card, at, count, gains_[hand].data());
        CorrectSpan(Part(span, from, count),
                    {gains, perPixel, dark ? dark + at : nullptr, curves_.get()});
    }
    return capped;
}

// Rows in order of a card of one shot are read in its samples; tiles, and
// cards averaged or smoothed, in the card's values.
ModeCorrector::CardRow ModeCorrector::CardAt(std::uint32_t y) {
    if (bandRows_ == 1 && run_.OneShot()) return SamplesAt(y);
    return {nullptr, Card(y)};
}

// The samples' gains come through the run's table in linear light, else by
// the rule, as the values' do.
std::size_t ModeCorrector::Gains(const CardRow& card, std::size_t at, std::size_t pixels,
                                 double* gains) const {
    const GainTable* table = run_.Table();
    if (!card.samples) return run_.Rule().Gains(card.values + at, pixels, gains);
    if (table) return table->Gains(card.samples + at, pixels, gains);
    return run_.Rule().Gains(card.samples + at, pixels, gains);
}

void ModeCorrector::Correct(std::uint32_t y, const PixelLayout& subject,
                            const std::uint8_t* subjectRow, std::uint8_t* out) {
    std::memcpy(out, subjectRow, subject.rowBytes);
    const SampleSpan span{out, subject.pixels, 3, 0, 3, subject.sampleBytes, subject.Swapped()};
    if (!CorrectRun(y, 0, span))
        throw std::runtime_error("the white card's rows can't be decoded: " + stack_.DecodeError());
}

bool ModeCorrector::Correct(const LibtiffFile& copy, const LibtiffFile::Place& place,
                            std::uint8_t* data) {
    const bool planar = copy.planar == PLANARCONFIG_SEPARATE;
    for (std::uint32_t r = 0; r < place.rows; ++r) {
        const SampleSpan span{data + r * place.rowBytes,
                              place.width,
                              copy.ChunkSamples(),
                              planar ? place.plane : 0,
                              planar ? 1u : 3u,
                              copy.SampleBytes(),
                              false};
        if (!CorrectRun(place.y + r, place.x, span)) return false;
    }
    return true;
}

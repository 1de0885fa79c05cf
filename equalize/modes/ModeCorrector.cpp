#include "ModeCorrector.h"

#include <cstring>
#include <stdexcept>

#include "SpanCorrection.h"

ModeCorrector::ModeCorrector(const ModeRun& run, std::uint32_t bandRows,
                             std::optional<ToneCurves> curves)
    : run_(run),
      stack_(run.Modes()),
      curves_(std::move(curves)),
      bandRows_(std::max(bandRows, 1u)),
      band_(std::size_t{stack_.Width()} * 3 * bandRows_),
      gains_(std::size_t{stack_.Width()} * run.Rule().GainsPerPixel()) {
    stack_.InLinearLight(run.CardCurves());
}

const double* ModeCorrector::Card(std::uint32_t y) {
    if (y >= stack_.Height()) return nullptr;
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

bool ModeCorrector::CorrectRun(std::uint32_t y, std::uint32_t x, const SampleSpan& span) {
    const std::uint16_t* dark = stack_.DarkRow(y);
    if ((stack_.HasDark() && !dark) || x + span.pixels > stack_.Width()) return false;
    const GainRule& rule = run_.Rule();
    std::size_t capped = 0;
    if (!Gains(y, x, span.pixels, capped)) return false;
    // A planar subject's pixel is met once a plane; it counts once.
    if (span.firstColour == 0) capped_ += capped;
    CorrectSpan(span, {gains_.data(), rule.GainsPerPixel(),
                       dark ? dark + std::size_t{x} * 3 : nullptr, curves_ ? &*curves_ : nullptr});
    return true;
}

// Rows in order read the card's samples through the run's table; tiles, and
// cards averaged or smoothed, take the rule on the card's values.
bool ModeCorrector::Gains(std::uint32_t y, std::uint32_t x, std::size_t pixels,
                          std::size_t& capped) {
    const GainTable* table = bandRows_ == 1 ? run_.Table() : nullptr;
    if (table) {
        const std::uint16_t* card = stack_.Samples(y);
        if (card) capped = table->Gains(card + std::size_t{x} * 3, pixels, gains_.data());
        return card != nullptr;
    }
    const double* card = Card(y);
    if (card) capped = run_.Rule().Gains(card + std::size_t{x} * 3, pixels, gains_.data());
    return card != nullptr;
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

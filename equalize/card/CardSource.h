#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "CardSmoother.h"
#include "CardStore.h"
#include "CorrectionModes.h"
#include "GainRule.h"
#include "GainTable.h"
#include "LibtiffFile.h"
#include "Picture.h"
#include "RowExtremes.h"
#include "TiffFile.h"
#include "ToneCurves.h"

// How opening a white card ended. The words are the same in both front ends;
// what each shows of them is its own (the window passes some over silently).
enum class CardVerdict {
    Accepted,
    Missing,      // nothing there, or not a file that gives a stream
    NotOneStrip,  // neither reader takes it, and our reader sees several strips
    NotOpened,    // neither reader takes it; our reader's words
    Incomplete,   // only our reader takes it, and its rows run past the file's end
    NoPixels,
    Unusable,     // read, but not a card the engine can equalize by
    Undecodable,  // its pixels can't be decoded
    Mismatched,   // a further shot or the dark frame doesn't go with the first shot
    NoCurves,     // linear light needs tone curves the files don't have
    Unwritable,   // no scratch file can be made
    NoLibrary,    // a card library that isn't a folder, or holds no card
};

struct CardProblem {
    CardVerdict verdict = CardVerdict::Accepted;
    std::string text;  // "Error: ..." words, or our reader's for NotOpened
};

class CardSource;
class CardBuild;

// What a card is read for: to be shown (the window, analyze: its rows kept
// whole, for previews and the report), the same with the brightest of red and
// blue placed too, or only to equalize subjects by, which keeps only what
// their gains and the dark frame need.
enum class CardUse { Shown, ShownPlacingEvery, Gains };

// A card judged and waiting for its pass: what is known of it before its
// pixels are read (its size and depth, for the window to show meanwhile).
class CardOpening {
  public:
    explicit CardOpening(std::unique_ptr<CardBuild> build);
    ~CardOpening();
    CardOpening(const CardOpening&) = delete;
    CardOpening& operator=(const CardOpening&) = delete;

    // The first shot as our reader knows it, with libtiff's size and depth.
    const TiffFile& Record() const;
    // The one pass over the card's rows; nil with the problem when they
    // can't be read or kept.
    std::shared_ptr<const CardSource> Read(CardProblem& problem);

  private:
    std::unique_ptr<CardBuild> build_;
};

// The white card of a run: every shot averaged pixel by pixel in double
// precision, less the dark frame held at 0, taken to linear light through
// the first shot's tone curves and smoothed, as the modes ask; read once,
// however many subjects follow, and kept where every job reads it (see
// CardStore). Its extremes come from the same pass, as does everything the
// window shows of it. Read-only once made, so jobs on several threads share it.
class CardSource {
  public:
    // The files opened and judged, the pass not yet made; nil with the
    // problem when they can't serve. The services' analysis progress sees
    // the pass.
    static std::unique_ptr<CardOpening> Judge(const CorrectionModes& modes,
                                              const TiffServices& services, CardProblem& problem,
                                              CardUse use = CardUse::Shown);
    // Judged and read in one go.
    static std::shared_ptr<const CardSource> Open(const CorrectionModes& modes,
                                                  const TiffServices& services,
                                                  CardProblem& problem,
                                                  CardUse use = CardUse::Shown);

    const CorrectionModes& Modes() const { return modes_; }
    std::uint32_t Width() const { return store_->Width(); }
    std::uint32_t Height() const { return store_->Height(); }
    int Bits() const { return bits_; }
    // The card's brightest and darkest value of each channel, in linear light
    // with --linear, and where the first brightest lies.
    const RowExtremes& Extremes() const { return extremes_; }
    // The first shot as our reader knows it, with the card's figures: size,
    // depth, brightest and darkest green and its place, for display.
    const TiffFile& Record() const { return *record_; }
    std::shared_ptr<TiffFile> SharedRecord() const { return record_; }
    const CardStore& Store() const { return *store_; }
    bool HasDark() const { return !modes_.dark.empty(); }
    // The dark frame's rows where they stand in its file; nil when they are
    // kept in Store() or there is no dark frame.
    const CardStore* DarkStore() const { return darkStore_.get(); }
    std::size_t Shots() const { return modes_.cards.size(); }
    // Whether gains come from whole samples (one shot, not smoothed) or from values.
    bool FromSamples() const { return Shots() == 1 && !smoother_; }
    const CardSmoother* Smoothed() const { return smoother_.get(); }
    // The first shot's tone curves with --linear, else nil.
    const ToneCurves* Curves() const { return curves_.get(); }
    // The first shot's embedded ICC profile; empty without one.
    const std::vector<std::uint8_t>& Profile() const { return profile_; }
    // Whether the file names a profile that can't be read (past its end).
    bool ProfileUnreadable() const { return profileUnreadable_; }
    // A file's tone curves for --linear (the card's own where the file has
    // its profile at its depth); nil with the reason, naming the file as
    // `whose`, in why.
    std::shared_ptr<const ToneCurves> CurvesOf(const LibtiffFile& file, const std::string& whose,
                                               std::string& why) const;
    // The card's preview in a room of width x height, as a subject's is made.
    std::shared_ptr<Picture> Preview(std::int64_t width, std::int64_t height) const;

  private:
    friend class CardBuild;
    CardSource() = default;

    CorrectionModes modes_;
    int bits_ = 8;
    std::shared_ptr<TiffFile> record_;
    std::shared_ptr<CardStore> store_;
    std::shared_ptr<CardStore> darkStore_;
    RowExtremes extremes_;
    std::shared_ptr<const ToneCurves> curves_;
    std::vector<std::uint8_t> profile_;
    bool profileUnreadable_ = false;
    std::unique_ptr<CardSmoother> smoother_;
};

// The card at one correction amount: the gain rule with its targets, and
// with --linear on a card of one shot the gain of every sample worked out
// once. Made once a run (a press of Process), shared by its jobs.
class CardRun {
  public:
    CardRun(std::shared_ptr<const CardSource> card, double amountToApply);

    const CardSource& Card() const { return *card_; }
    const GainRule& Rule() const { return rule_; }
    // The target level of green, as the window has always worked it out.
    double TargetLevel() const { return rule_.target[1]; }
    // The smallest and largest gain the rule gives any pixel of the card (the
    // gains of its brightest and its darkest values), the same for every
    // subject it corrects.
    std::pair<double, double> GainRange() const;
    const GainTable* Table() const { return table_ ? &*table_ : nullptr; }

  private:
    std::shared_ptr<const CardSource> card_;
    GainRule rule_;
    std::optional<GainTable> table_;
};

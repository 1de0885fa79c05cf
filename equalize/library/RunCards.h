#pragma once

#include <cstddef>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "CardMatch.h"
#include "CardSource.h"

// What serves one subject of a run: a group of subjects that share a card,
// or, when no card does, why.
struct SubjectCard {
    std::optional<std::size_t> group;  // nullopt: no card; why in failure
    std::string failure;
    bool fromLibrary = false;  // the card came from the card library
};

// The engine's words on a card without the "Error: " the window shows first.
std::string WithoutError(const std::string& text);

// A card of a library that can't serve at all, and why (the engine's words).
struct RefusedCard {
    std::string path;
    std::string text;
};

// The cards one run chooses from: the white card given (its shots averaged,
// as ever), a card library (every TIFF of one folder, one shot each, matched
// to each subject by its EXIF), or both, the white card then serving the
// subjects no library card matches. The dark frame and the options apply to
// every card. Each card is read once, at the first subject that needs it,
// and let go after the last: subjects are meant to run card by card (see
// Order), so that one card's combined values serve all of its subjects.
// Safe to share between the jobs of a run.
class RunCards {
  public:
    // modes.cards: the white card's shots, none when only a library is
    // given; library: the library's folder as the user named it, or empty.
    // The white card is read now; a library's cards are judged (their tags,
    // not their pixels). Nil with the problem when the white card can't
    // serve, the library can't be read or holds no card the engine reads.
    static std::unique_ptr<RunCards> Open(const CorrectionModes& modes, const std::string& library,
                                          double amountToApply, CardProblem& problem);

    // The cards of a run of one white card already read.
    static std::unique_ptr<RunCards> Of(std::shared_ptr<const CardSource> white,
                                        double amountToApply);

    bool HasLibrary() const { return !library_.empty(); }
    const std::string& Library() const { return library_; }
    // The options every card is read with; their cards are the white card's.
    const CorrectionModes& Modes() const { return modes_; }
    const std::vector<LibraryCard>& LibraryCards() const { return cards_; }
    const std::vector<RefusedCard>& Refused() const { return refused_; }
    // The library's cards a subject can be matched to: read by the engine,
    // with every EXIF field the rules look at.
    std::size_t MatchableCards() const;

    // The card of the subject at path, from its EXIF; with no library, the
    // white card's.
    SubjectCard Choose(const std::string& path) const;
    // The files of a group's card: its shots, one for a library card.
    std::vector<std::string> Shots(std::size_t group) const;
    // The file name of the group's first shot, as notes and rows name the card.
    std::string CardName(std::size_t group) const;
    // The subjects' indexes in the order to run them: group by group, each in
    // the order given, those without a card first.
    static std::vector<std::size_t> Order(const std::vector<SubjectCard>& chosen);
    // Counts one more subject of the group before the run, so that its card
    // is let go once Done has been called as often.
    void Expect(std::size_t group);
    // The group's card at the run's amount, read at its first call; nil with
    // the problem when it can't be.
    std::shared_ptr<const CardRun> Take(std::size_t group, CardProblem& problem);
    void Done(std::size_t group);
    // The SHA-256 of the group's first shot, taken at its first call.
    std::string Sha256(std::size_t group);

  private:
    struct Group {
        std::mutex lock;
        std::shared_ptr<const CardRun> run;
        CardProblem problem;  // of a card that couldn't be read
        std::size_t expected = 0;
        std::string sha256;
    };
    RunCards(const CorrectionModes& modes, const std::string& library, double amountToApply);
    bool ReadLibrary(CardProblem& problem);
    CorrectionModes ModesOf(std::size_t group) const;

    CorrectionModes modes_;
    std::string library_;
    double amount_;
    std::vector<LibraryCard> cards_;
    std::vector<RefusedCard> refused_;
    std::vector<std::unique_ptr<Group>> groups_;  // the library's cards, then the white card
};

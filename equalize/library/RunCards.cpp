#include "RunCards.h"

#include <algorithm>
#include <filesystem>

#include "FileSha256.h"
#include "SubjectFiles.h"

std::string WithoutError(const std::string& text) {
    constexpr std::string_view kError = "Error: ";
    return text.starts_with(kError) ? text.substr(kError.size()) : text;
}

RunCards::RunCards(const CorrectionModes& modes, const std::string& library, double amountToApply)
    : modes_(modes), library_(library), amount_(amountToApply) {}

std::unique_ptr<RunCards> RunCards::Open(const CorrectionModes& modes, const std::string& library,
                                         double amountToApply, CardProblem& problem) {
    std::unique_ptr<RunCards> cards(new RunCards(modes, library, amountToApply));
    if (!library.empty() && !cards->ReadLibrary(problem)) return nullptr;
    for (std::size_t k = 0; k <= cards->cards_.size(); ++k)
        cards->groups_.push_back(std::make_unique<Group>());
    if (modes.cards.empty()) return cards;
    const auto white = CardSource::Open(modes, {}, problem, CardUse::Gains);
    if (!white) return nullptr;
    cards->groups_.back()->run = std::make_shared<CardRun>(white, amountToApply);
    return cards;
}

std::unique_ptr<RunCards> RunCards::Of(std::shared_ptr<const CardSource> white,
                                       double amountToApply) {
    std::unique_ptr<RunCards> cards(new RunCards(white->Modes(), "", amountToApply));
    cards->groups_.push_back(std::make_unique<Group>());
    cards->groups_.back()->run = std::make_shared<CardRun>(std::move(white), amountToApply);
    return cards;
}

// Every TIFF of the folder that the engine takes as a card, with its EXIF;
// the others are set aside with the reason.
bool RunCards::ReadLibrary(CardProblem& problem) {
    std::error_code ec;
    if (!std::filesystem::is_directory(library_, ec)) {
        problem = {CardVerdict::NoLibrary, "the card library " + library_ + " is not a folder"};
        return false;
    }
    for (const std::string& path : ExpandSubjects({library_})) {
        CorrectionModes one = modes_;
        one.cards = {path};
        CardProblem refusal;
        std::string why;
        std::optional<CardExif> exif;
        if (!CardSource::Judge(one, {}, refusal))
            refused_.push_back({path, WithoutError(refusal.text)});
        else if (!(exif = ReadCardExif(path, why)))
            refused_.push_back({path, "its EXIF can't be read: " + why});
        else
            cards_.push_back({path, *exif});
    }
    if (!cards_.empty()) return true;
    problem = {CardVerdict::NoLibrary, "no file in " + library_ + " serves as a white card"};
    return false;
}

std::size_t RunCards::MatchableCards() const {
    return static_cast<std::size_t>(
        std::count_if(cards_.begin(), cards_.end(),
                      [](const LibraryCard& card) { return Matchable(card.exif); }));
}

SubjectCard RunCards::Choose(const std::string& path) const {
    const std::size_t white = cards_.size();
    const bool fallback = !modes_.cards.empty();
    if (!HasLibrary()) return {white, "", false};
    std::string why;
    const std::optional<CardExif> exif = ReadCardExif(path, why);
    if (!exif) {
        if (fallback) return {white, "", false};
        return {std::nullopt, "its EXIF can't be read: " + why, false};
    }
    const CardChoice choice = ChooseCard(*exif, cards_, library_);
    if (choice.card) return {*choice.card, "", true};
    // Several cards matching equally is never settled by a guess, not even
    // the white card's.
    if (fallback && !choice.tie) return {white, "", false};
    return {std::nullopt, choice.failure, false};
}

std::vector<std::string> RunCards::Shots(std::size_t group) const {
    return ModesOf(group).cards;
}

std::string RunCards::CardName(std::size_t group) const {
    return std::filesystem::path(Shots(group).front()).filename().string();
}

CorrectionModes RunCards::ModesOf(std::size_t group) const {
    CorrectionModes modes = modes_;
    if (group < cards_.size()) modes.cards = {cards_[group].path};
    return modes;
}

std::vector<std::size_t> RunCards::Order(const std::vector<SubjectCard>& chosen) {
    std::vector<std::size_t> order(chosen.size());
    for (std::size_t k = 0; k < order.size(); ++k) order[k] = k;
    std::stable_sort(order.begin(), order.end(), [&](std::size_t a, std::size_t b) {
        return chosen[a].group < chosen[b].group;
    });
    return order;
}

void RunCards::Expect(std::size_t group) {
    const std::lock_guard<std::mutex> hold(groups_[group]->lock);
    ++groups_[group]->expected;
}

std::shared_ptr<const CardRun> RunCards::Take(std::size_t group, CardProblem& problem) {
    Group& g = *groups_[group];
    const std::lock_guard<std::mutex> hold(g.lock);
    if (!g.run && g.problem.verdict == CardVerdict::Accepted) {
        if (const auto card = CardSource::Open(ModesOf(group), {}, g.problem, CardUse::Gains))
            g.run = std::make_shared<CardRun>(card, amount_);
    }
    problem = g.problem;
    return g.run;
}

void RunCards::Done(std::size_t group) {
    Group& g = *groups_[group];
    const std::lock_guard<std::mutex> hold(g.lock);
    if (g.expected > 0 && --g.expected == 0) g.run.reset();
}

std::string RunCards::Sha256(std::size_t group) {
    Group& g = *groups_[group];
    const std::lock_guard<std::mutex> hold(g.lock);
    if (g.sha256.empty()) g.sha256 = FileSha256(ModesOf(group).cards[0]).value_or("unreadable");
    return g.sha256;
}

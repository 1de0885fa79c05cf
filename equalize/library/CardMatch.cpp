#include "CardMatch.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <filesystem>
#include <string_view>
#include <tuple>

#include "NumberText.h"

namespace {
// Why a card was dropped, in the order the rules are tried.
enum Reason { kSize, kDepth, kNoExif, kCamera, kLens, kFocalLength, kAperture, kReasons };
constexpr std::array<const char*, kReasons> kReasonWords = {
    "of another size", "of another depth",        "without EXIF",        "of another camera",
    "of another lens", "of another focal length", "of another aperture",
};

// libtiff hands EXIF rationals over as floats, whose 24-bit mantissa may put a
// value written on an edge a few parts in 10^8 past it. The edges are widened
// by a millionth (of the focal length's 1 %, of a stop), far below any step
// between real settings.
constexpr double kRoundingSlack = 1e-6;

bool Same(const std::optional<std::string>& a, const std::optional<std::string>& b) {
    return a && b && *a == *b;
}

// All four values of the LensSpecification known (none 0).
bool KnownSpecification(const CardExif& exif) {
    const auto& s = exif.lensSpecification;
    return s && std::all_of(s->begin(), s->end(), [](double v) { return v > 0; });
}

bool SameLens(const CardExif& subject, const CardExif& card) {
    if (subject.lensModel) return Same(subject.lensModel, card.lensModel);
    return Same(subject.lensMake, card.lensMake) && KnownSpecification(subject) &&
           subject.lensSpecification == card.lensSpecification;
}

bool NearFocalLength(const CardExif& subject, const CardExif& card) {
    return subject.focalLength && card.focalLength &&
           std::abs(*subject.focalLength - *card.focalLength) <=
               0.01 * *card.focalLength * (1 + kRoundingSlack);
}

bool NearAperture(const CardExif& subject, const CardExif& card) {
    return subject.fNumber && card.fNumber &&
           std::abs(2 * std::log2(*subject.fNumber / *card.fNumber)) <= 1.0 / 6 + kRoundingSlack;
}

std::optional<Reason> Mismatch(const CardExif& subject, const CardExif& card) {
    if (subject.width != card.width || subject.height != card.height) return kSize;
    if (subject.bitsPerSample != card.bitsPerSample) return kDepth;
    if (!card.hasExif) return kNoExif;
    if (!Same(subject.make, card.make) || !Same(subject.model, card.model)) return kCamera;
    if (!SameLens(subject, card)) return kLens;
    if (!NearFocalLength(subject, card)) return kFocalLength;
    if (!NearAperture(subject, card)) return kAperture;
    return std::nullopt;
}

// Seconds of "YYYY:MM:DD HH:MM:SS" taken as UTC, which keeps the distance
// between two local times of one zone; nullopt for anything else, such as the
// blanks a camera without a clock writes.
std::optional<std::int64_t> ShotSeconds(const std::optional<std::string>& text) {
    static constexpr std::string_view kShape = "dddd:dd:dd dd:dd:dd";
    if (!text || text->size() != kShape.size()) return std::nullopt;
    for (std::size_t i = 0; i < kShape.size(); ++i)
        if (kShape[i] == 'd' ? !std::isdigit(static_cast<unsigned char>((*text)[i]))
                             : (*text)[i] != kShape[i])
            return std::nullopt;
    const auto number = [&](std::size_t at, std::size_t length) {
        return std::stoi(text->substr(at, length));
    };
    const std::chrono::year_month_day date{std::chrono::year(number(0, 4)),
                                           std::chrono::month(number(5, 2)),
                                           std::chrono::day(number(8, 2))};
    const int hour = number(11, 2), minute = number(14, 2), second = number(17, 2);
    if (!date.ok() || hour > 23 || minute > 59 || second > 59) return std::nullopt;
    const std::int64_t days = std::chrono::sys_days(date).time_since_epoch().count();
    return days * 86400 + hour * 3600 + minute * 60 + second;
}

std::string Join(const std::vector<std::string>& parts) {
    std::string text;
    for (const std::string& part : parts) text += (text.empty() ? "" : ", ") + part;
    return text;
}

std::string FileName(const std::string& path) {
    return std::filesystem::path(path).filename().string();
}

// Two decimals at most: an f-number of 0.95 keeps both, a float's 24.2399998 reads 24.24.
std::string Number(double value) {
    return CStr(std::round(value * 100) / 100);
}

std::string Range(double from, double to) {
    const auto value = [](double v) { return v > 0 ? Number(v) : std::string("?"); };
    return from == to ? value(from) : value(from) + "-" + value(to);
}

std::optional<std::string> LensName(const CardExif& exif) {
    if (exif.lensModel) return exif.lensModel;
    if (!exif.lensMake || !exif.lensSpecification) return std::nullopt;
    const std::array<double, 4>& s = *exif.lensSpecification;
    return *exif.lensMake + " " + Range(s[0], s[1]) + " mm f/" + Range(s[2], s[3]);
}

// "Camera X, Macro 100mm, 100 mm, f/8"
std::string ShotText(const CardExif& exif) {
    return exif.model.value_or("unknown camera") + ", " + LensName(exif).value_or("unknown lens") +
           ", " + (exif.focalLength ? Number(*exif.focalLength) + " mm" : "unknown focal length") +
           ", " + (exif.fNumber ? "f/" + Number(*exif.fNumber) : "unknown aperture");
}

std::string Cards(std::size_t count) {
    return std::to_string(count) + (count == 1 ? " card" : " cards");
}

std::string NoMatch(const CardExif& subject, const std::array<std::size_t, kReasons>& dropped,
                    const std::string& folder) {
    std::vector<std::string> counts;
    for (int reason = 0; reason < kReasons; ++reason)
        if (dropped[reason]) counts.push_back(Cards(dropped[reason]) + " " + kReasonWords[reason]);
    return "no card in " + folder + " matches " + ShotText(subject) + " (" +
           (counts.empty() ? "no cards" : Join(counts)) + ")";
}

// A card left after the rules, and how far its time lies from the subject's.
struct Candidate {
    std::size_t index;
    std::optional<std::int64_t> shot, distance;

    // Nearer first; a card without a distance after every card with one.
    auto Rank() const { return std::tuple(!distance, distance.value_or(0)); }
};

std::string TieReason(const std::vector<Candidate>& tied, bool subjectHasTime) {
    if (!subjectHasTime) return "the subject has no time";
    if (!tied.front().distance) return "none of them has a time";
    const bool sameTime = std::all_of(
        tied.begin(), tied.end(), [&](const Candidate& c) { return c.shot == tied.front().shot; });
    return sameTime ? "shot at the same time" : "shot as long before the subject as after it";
}

CardChoice Nearest(const CardExif& subject, bool subjectHasTime, const std::vector<Candidate>& left,
                   const std::vector<LibraryCard>& cards, const std::string& folder) {
    const auto best = std::min_element(
        left.begin(), left.end(), [](const auto& a, const auto& b) { return a.Rank() < b.Rank(); });
    std::vector<Candidate> tied;
    std::copy_if(left.begin(), left.end(), std::back_inserter(tied),
                 [&](const Candidate& c) { return c.Rank() == best->Rank(); });
    if (tied.size() == 1) return {best->index, "", false};
    std::vector<std::string> names;
    for (const Candidate& c : tied) names.push_back(FileName(cards[c.index].path));
    return {std::nullopt,
            std::to_string(tied.size()) + " cards in " + folder + " match " + ShotText(subject) +
                " equally: " + Join(names) + " (" + TieReason(tied, subjectHasTime) + ")",
            true};
}
}  // namespace

CardChoice ChooseCard(const CardExif& subject, const std::vector<LibraryCard>& cards,
                      const std::string& folder) {
    if (!subject.hasExif) return {std::nullopt, "the subject has no EXIF to match a card by"};
    const std::optional<std::int64_t> subjectTime = ShotSeconds(subject.dateTimeOriginal);
    std::array<std::size_t, kReasons> dropped{};
    std::vector<Candidate> left;
    for (std::size_t i = 0; i < cards.size(); ++i) {
        if (const std::optional<Reason> reason = Mismatch(subject, cards[i].exif)) {
            ++dropped[*reason];
            continue;
        }
        const std::optional<std::int64_t> shot = ShotSeconds(cards[i].exif.dateTimeOriginal);
        std::optional<std::int64_t> distance;
        if (shot && subjectTime) distance = std::abs(*shot - *subjectTime);
        left.push_back({i, shot, distance});
    }
    if (left.empty()) return {std::nullopt, NoMatch(subject, dropped, folder)};
    return Nearest(subject, subjectTime.has_value(), left, cards, folder);
}

namespace {
// The fields the rules need that the EXIF lacks.
std::vector<std::string> MissingFields(const CardExif& exif) {
    std::vector<std::string> missing;
    if (!exif.make) missing.push_back("camera make");
    if (!exif.model) missing.push_back("camera model");
    if (!exif.lensModel && !(exif.lensMake && KnownSpecification(exif))) missing.push_back("lens");
    if (!exif.focalLength) missing.push_back("focal length");
    if (!exif.fNumber) missing.push_back("aperture");
    return missing;
}
}  // namespace

bool Matchable(const CardExif& exif) {
    return exif.hasExif && MissingFields(exif).empty();
}

std::string DescribeCard(const LibraryCard& card) {
    const CardExif& exif = card.exif;
    const std::string name = FileName(card.path) + ": ";
    if (!exif.hasExif) return name + "can't be matched: it has no EXIF";
    if (const std::vector<std::string> missing = MissingFields(exif); !missing.empty())
        return name + "can't be matched: its EXIF has no " + Join(missing);
    const std::string time = ShotSeconds(exif.dateTimeOriginal)
                                 ? "shot " + *exif.dateTimeOriginal
                                 : std::string("shot at an unknown time");
    return name + ShotText(exif) + ", " + time + " (" + std::to_string(exif.width) + " x " +
           std::to_string(exif.height) + ", " + std::to_string(exif.bitsPerSample) + "-bit)";
}

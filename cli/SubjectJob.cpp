#include "SubjectJob.h"

#include <filesystem>
#include <map>
#include <optional>
#include <system_error>

#include "HistoryRecord.h"
#include "SubjectEngine.h"
#include "Version.h"

namespace {
// A refusal of the reader is given in the reader's words; a file the system
// won't even open gets the system's.
SubjectResult Result(const std::string& path, const SubjectReport& report) {
    const std::string name = std::filesystem::path(path).filename().string();
    std::error_code ec;
    switch (report.end) {
        case SubjectEnd::Missing:
            return SubjectResult::Skipped(name, "no such file");
        case SubjectEnd::Unopenable:
            return SubjectResult::Skipped(name, std::filesystem::is_directory(path, ec)
                                                    ? "no such file"
                                                    : "the file can't be opened");
        case SubjectEnd::Refused:
        case SubjectEnd::Unusable:
            return SubjectResult::Skipped(name, report.text);
        case SubjectEnd::Unfit:
        case SubjectEnd::NoCard:
            return SubjectResult::Failed(name, report.text);
        case SubjectEnd::NoOutputName:
            return SubjectResult::Failed(name, "no output name can be made from this name");
        case SubjectEnd::OutputKept:
            return SubjectResult::Skipped(
                name, report.output->NativePath() + " exists (--overwrite replaces it)");
        case SubjectEnd::IsSubject:
            return SubjectResult::Skipped(
                name, "its output would replace the subject " + report.output->Name());
        case SubjectEnd::Written: {
            SubjectResult result = SubjectResult::Written(name, report.output->NativePath());
            result.notes = report.notes;
            return result;
        }
        case SubjectEnd::Appeared:
            return SubjectResult::Skipped(
                name,
                report.output->NativePath() + " appeared meanwhile (--overwrite replaces it)");
        default:
            return SubjectResult::Failed(
                name, report.text.empty() ? kWriteProblemText
                                          : std::string(kWriteProblemText) + " " + report.text);
    }
}

// The numbers a user checks a batch by, of a written subject.
std::map<std::string, double> Figures(const CardRun& run, const SubjectReport& report) {
    const auto [smallest, largest] = run.GainRange();
    std::map<std::string, double> figures{{"target_level", run.TargetLevel()},
                                          {"smallest_gain", smallest},
                                          {"largest_gain", largest}};
    if (run.Card().Modes().maxGain)
        figures["capped_percent"] = std::stod(CappedShare(report.figures.cappedPixels, run.Card()));
    return figures;
}

HistoryEntry Entry(const JobSettings& settings, std::size_t group) {
    const std::vector<std::string> shots = settings.cards.Shots(group);
    CorrectionModes modes = settings.cards.Modes();
    modes.cards = shots;
    return {HistoryTimeNow(), kBrisavaneVersion,
            HistoryParameters(settings.cards.CardName(group), settings.cards.Sha256(group),
                              settings.amountPercent, modes.Flags())};
}

SubjectResult Run(const std::string& path, const SubjectCard& card, const JobSettings& settings,
                  RowPassHost& host, std::size_t jobNumber) {
    std::shared_ptr<const CardRun> run;
    if (card.group) {
        CardProblem problem;
        run = settings.cards.Take(*card.group, problem);
        if (!run)
            return SubjectResult::Failed(std::filesystem::path(path).filename().string(),
                                         "the card " + settings.cards.Shots(*card.group)[0] +
                                             " can't serve: " + WithoutError(problem.text));
    }
    const std::optional<HistoryEntry> history =
        settings.record && run ? std::optional(Entry(settings, *card.group)) : std::nullopt;
    SubjectSettings engine{run.get(),
                           settings.outputFolder,
                           OutputPlacement::BesideThenRename,
                           settings.overwrite,
                           jobNumber,
                           nullptr,
                           settings.spareCore,
                           card.failure,
                           history ? &*history : nullptr};
    TiffFile subject;
    std::error_code ec;
    const SubjectReport report = EqualizeSubjectFile(
        subject, GetFolderItem(std::filesystem::absolute(path, ec).string()), engine, host);
    SubjectResult result = Result(path, report);
    if (result.outcome != SubjectOutcome::Written) return result;
    if (card.fromLibrary)
        result.notes.insert(result.notes.begin(), "card: " + settings.cards.CardName(*card.group));
    result.figures = Figures(*run, report);
    return result;
}
}  // namespace

SubjectResult EqualizeSubject(const std::string& path, const SubjectCard& card,
                              const JobSettings& settings, RowPassHost& host,
                              std::size_t jobNumber) {
    SubjectResult result;
    try {
        result = Run(path, card, settings, host, jobNumber);
    } catch (const std::exception& e) {
        host.EqualizeProgress().SetVisible(false);
        result = SubjectResult::Failed(std::filesystem::path(path).filename().string(), e.what());
    }
    if (card.group) {
        settings.cards.Done(*card.group);
        result.card = settings.cards.Shots(*card.group);
    }
    return result;
}

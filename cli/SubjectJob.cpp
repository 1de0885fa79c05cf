#include "SubjectJob.h"

#include <cstdio>
#include <filesystem>
#include <memory>
#include <optional>
#include <system_error>

#include "LibtiffSubjectJob.h"
#include "ModeCorrector.h"
#include "SubjectEngine.h"

namespace {
// "gain capped on 1.3 % of pixels", to one decimal.
std::string CappedNote(std::uint64_t capped, const TiffFile& white) {
    const double pixels =
        static_cast<double>(white.ImageWidth) * static_cast<double>(white.ImageHeight);
    char share[32];
    std::snprintf(share, sizeof share, "%.1f", 100.0 * static_cast<double>(capped) / pixels);
    return std::string("gain capped on ") + share + " % of pixels";
}

class Job {
  public:
    Job(const std::string& path, const JobSettings& settings, RowPassHost& host, std::size_t number)
        : path_(path), settings_(settings), host_(host), number_(number) {}

    SubjectResult Run();

  private:
    SubjectResult Written(const FolderItem& output) const {
        return SubjectResult::Written(Name(), output.NativePath());
    }
    SubjectResult Failed(const std::string& text) const {
        return SubjectResult::Failed(Name(), text);
    }
    SubjectResult Skipped(const std::string& reason) const {
        return SubjectResult::Skipped(Name(), reason);
    }
    std::string Name() const { return std::filesystem::path(path_).filename().string(); }
    SubjectResult Result(const SubjectReport& report) const;
    std::optional<SubjectResult> ThroughLibtiff(std::unique_ptr<ModeCorrector>& modes) const;
    std::string ModesFor(const LibtiffFile& image, std::unique_ptr<ModeCorrector>& modes) const;

    const std::string& path_;
    const JobSettings& settings_;
    RowPassHost& host_;
    std::size_t number_;
};

SubjectResult Job::Run() {
    SubjectSettings engine{settings_.white,
                           nullptr,
                           settings_.targetLevel,
                           settings_.outputFolder,
                           OutputPlacement::BesideThenRename,
                           settings_.overwrite,
                           number_,
                           nullptr};
    TiffFile subject;
    std::error_code ec;
    try {
        std::unique_ptr<ModeCorrector> modes;
        std::optional<SubjectResult> result = ThroughLibtiff(modes);
        if (!result) {
            engine.corrector = modes.get();
            result = Result(EqualizeSubjectFile(
                subject, GetFolderItem(std::filesystem::absolute(path_, ec).string()), engine,
                host_));
        }
        if (modes && result->outcome == SubjectOutcome::Written && modes->CappedPixels() > 0)
            result->notes.push_back(CappedNote(modes->CappedPixels(), settings_.white));
        return *result;
    } catch (const std::exception& e) {
        host_.EqualizeProgress().SetVisible(false);
        return Failed(e.what());
    }
}

// The kind of file is judged before the way of reading it is chosen. A file
// that libtiff can't open (a pipe is never tried) is left to our own reader
// for its words; one plain strip goes through the one-strip engine, unless
// the card itself is read through libtiff; the rest through libtiff.
// With a mode on, the subject is judged against the cards first and gets its
// corrector; a file libtiff can't read is refused, as the modes need libtiff.
std::optional<SubjectResult> Job::ThroughLibtiff(std::unique_ptr<ModeCorrector>& modes) const {
    std::error_code ec;
    if (!std::filesystem::is_regular_file(path_, ec)) return std::nullopt;
    const LibtiffFile image(path_, "rc");
    if (!image.Handle())
        return settings_.modes ? std::optional(Skipped("libtiff can't read it: " + image.Error()))
                               : std::nullopt;
    if (const std::string unusable = image.Unusable(); !unusable.empty())
        return Skipped("this is " + unusable);
    if (settings_.modes) {
        if (const std::string why = ModesFor(image, modes); !why.empty()) return Failed(why);
    }
    // The window compares only the sizes, and streams a subject of another
    // depth than the card's as if it had the card's: a damaged output. Here
    // it fails, in the words the libtiff road uses.
    if (image.bits != settings_.white.BitsPerSample)
        return Failed(SubjectMismatch(settings_.white, image));
    if (image.OneStripPlain() && settings_.cardThroughLibtiff.empty()) return std::nullopt;
    return EqualizeThroughLibtiff(path_, image, settings_, number_, modes.get());
}

// The subject's corrector in the run's modes, or why the subject can't have one.
std::string Job::ModesFor(const LibtiffFile& image, std::unique_ptr<ModeCorrector>& modes) const {
    std::string why = SubjectMismatch(settings_.white, image);
    std::shared_ptr<const ToneCurves> curves;
    if (why.empty() && settings_.modes->Modes().linear)
        curves = settings_.modes->CurvesOf(image, "the file", why);
    if (why.empty())
        modes =
            std::make_unique<ModeCorrector>(*settings_.modes, image.tiled ? image.BandRows() : 1,
                                            std::move(curves), settings_.spareCore);
    return why;
}

// A refusal of the reader is given in the reader's words; a file the system
// won't even open gets the system's.
SubjectResult Job::Result(const SubjectReport& report) const {
    std::error_code ec;
    switch (report.end) {
        case SubjectEnd::Missing:
            return Skipped("no such file");
        case SubjectEnd::Unopenable:
            return Skipped(std::filesystem::is_directory(path_, ec) ? "no such file"
                                                                    : "the file can't be opened");
        case SubjectEnd::Refused:
            return Skipped(report.text);
        case SubjectEnd::Unfit:
            return Failed(report.text);
        case SubjectEnd::NoOutputName:
            return Failed("no output name can be made from this name");
        case SubjectEnd::OutputKept:
            return Skipped(report.output->NativePath() + " exists (--overwrite replaces it)");
        case SubjectEnd::IsSubject:
            return Skipped("its output would replace the subject " + report.output->Name());
        case SubjectEnd::Written:
            return Written(*report.output);
        case SubjectEnd::Appeared:
            return Skipped(report.output->NativePath() +
                           " appeared meanwhile (--overwrite replaces it)");
        default:
            return Failed(kWriteProblemText);
    }
}
}  // namespace

SubjectResult EqualizeSubject(const std::string& path, const JobSettings& settings,
                              RowPassHost& host, std::size_t jobNumber) {
    return Job(path, settings, host, jobNumber).Run();
}

#include "SubjectJob.h"

#include <filesystem>
#include <optional>
#include <system_error>

#include "LibtiffSubjectJob.h"
#include "SubjectEngine.h"

namespace {
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
    std::optional<SubjectResult> ThroughLibtiff() const;

    const std::string& path_;
    const JobSettings& settings_;
    RowPassHost& host_;
    std::size_t number_;
};

SubjectResult Job::Run() {
    const SubjectSettings engine{settings_.white,
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
        if (auto routed = ThroughLibtiff()) return *routed;
        return Result(EqualizeSubjectFile(
            subject, GetFolderItem(std::filesystem::absolute(path_, ec).string()), engine, host_));
    } catch (const std::exception& e) {
        host_.EqualizeProgress().SetVisible(false);
        return Failed(e.what());
    }
}

// The kind of file is judged before the way of reading it is chosen. A file
// that libtiff can't open (a pipe is never tried) is left to our own reader
// for its words; one plain strip goes through the one-strip engine, unless
// the card itself is read through libtiff; the rest through libtiff.
std::optional<SubjectResult> Job::ThroughLibtiff() const {
    std::error_code ec;
    if (!std::filesystem::is_regular_file(path_, ec)) return std::nullopt;
    const LibtiffFile image(path_, "rc");
    if (!image.Handle()) return std::nullopt;
    if (const std::string unusable = image.Unusable(); !unusable.empty())
        return Skipped("this is " + unusable);
    if (image.OneStripPlain() && settings_.cardThroughLibtiff.empty()) return std::nullopt;
    return EqualizeThroughLibtiff(path_, image, settings_, number_);
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

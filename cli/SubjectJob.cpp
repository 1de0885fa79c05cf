#include "SubjectJob.h"

#include <filesystem>
#include <system_error>

#include "SubjectEngine.h"

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
            return SubjectResult::Failed(name, report.text);
        case SubjectEnd::NoOutputName:
            return SubjectResult::Failed(name, "no output name can be made from this name");
        case SubjectEnd::OutputKept:
            return SubjectResult::Skipped(name, report.output->NativePath() +
                                                    " exists (--overwrite replaces it)");
        case SubjectEnd::IsSubject:
            return SubjectResult::Skipped(name, "its output would replace the subject " +
                                                    report.output->Name());
        case SubjectEnd::Written: {
            SubjectResult result = SubjectResult::Written(name, report.output->NativePath());
            result.notes = report.notes;
            return result;
        }
        case SubjectEnd::Appeared:
            return SubjectResult::Skipped(name, report.output->NativePath() +
                                                    " appeared meanwhile (--overwrite replaces it)");
        default:
            return SubjectResult::Failed(
                name, report.text.empty() ? kWriteProblemText
                                          : std::string(kWriteProblemText) + " " + report.text);
    }
}
}  // namespace

SubjectResult EqualizeSubject(const std::string& path, const JobSettings& settings,
                              RowPassHost& host, std::size_t jobNumber) {
    const SubjectSettings engine{settings.card,
                                 settings.outputFolder,
                                 OutputPlacement::BesideThenRename,
                                 settings.overwrite,
                                 jobNumber,
                                 nullptr,
                                 settings.spareCore};
    TiffFile subject;
    std::error_code ec;
    try {
        return Result(path, EqualizeSubjectFile(
                                subject, GetFolderItem(std::filesystem::absolute(path, ec).string()),
                                engine, host));
    } catch (const std::exception& e) {
        host.EqualizeProgress().SetVisible(false);
        return SubjectResult::Failed(std::filesystem::path(path).filename().string(), e.what());
    }
}

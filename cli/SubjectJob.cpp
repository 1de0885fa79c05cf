#include "SubjectJob.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <optional>
#include <system_error>

#include "Batch.h"
#include "Exceptions.h"
#include "OutputFileName.h"
#include "RowPass.h"
#include "SubjectTest.h"

namespace {
// Removes a temporary copy that won't become an output.
void Discard(const FolderItem& temporary) {
    std::error_code ec;
    std::filesystem::remove(temporary.Path(), ec);
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

    std::optional<SubjectResult> Open(TiffFile& subject);
    SubjectResult Rewrite(TiffFile& subject, const FolderItem& output);
    bool Publish(const FolderItem& temporary, const FolderItem& output) const;

    const std::string& path_;
    const JobSettings& settings_;
    RowPassHost& host_;
    std::size_t number_;
};

// A refusal of the reader is given in the reader's words; a file the system
// won't even open gets the system's.
std::optional<SubjectResult> Job::Open(TiffFile& subject) {
    std::error_code ec;
    subject.fi = GetFolderItem(std::filesystem::absolute(path_, ec).string());
    if (!subject.fi || !subject.fi->Exists() || subject.fi->Directory())
        return Skipped("no such file");
    try {
        if (subject.OpenTIFF()) return Skipped(subject.errstr);
    } catch (const NilObjectException&) {
        return Skipped("the file can't be opened");
    }
    return std::nullopt;
}

SubjectResult Job::Run() {
    TiffFile subject;
    if (const auto refused = Open(subject)) return *refused;
    const std::string refusal = SubjectRefusalText(settings_.white, subject);
    if (!refusal.empty()) return Failed(refusal);
    const auto output = settings_.outputFolder.Child(CreateOutputFileName(subject.fi->Name()));
    if (!output) return Failed("no output name can be made from this name");
    if (output->Exists() && !settings_.overwrite)
        return Skipped(output->NativePath() + " exists (--overwrite replaces it)");
    return Rewrite(subject, *output);
}

// The batch's shape: a byte copy of the subject, its pixel rows rewritten in
// place. The copy lives under a hidden temporary name until it is complete.
SubjectResult Job::Rewrite(TiffFile& subject, const FolderItem& output) {
    std::string hidden = ".";
    hidden.append(output.Name()).append(".").append(std::to_string(::getpid()));
    hidden.append("-").append(std::to_string(number_)).append(".part");
    const auto temporary = settings_.outputFolder.Child(hidden);
    if (!temporary) return Failed(Batch::kWriteProblem);
    if (!subject.fi->CopyFileTo(*temporary)) {
        // What a failed copy left (on a full disk, all the room there was) goes.
        Discard(*temporary);
        return Failed(Batch::kWriteProblem);
    }
    RowPassEnd end = RowPassEnd::WriteFailed;
    try {
        const auto stream = BinaryStream::Open(*temporary, true);
        const auto white = BinaryStream::Open(Deref(settings_.white.fi));
        if (stream && white) {
            white->LittleEndian = settings_.white.LittleEndian;
            std::shared_ptr<Picture> preview;
            const RowPassFiles files{subject, *white, settings_.white.ImageOffset, *stream,
                                     output.Name()};
            end = RunRowPass(files, settings_.targetLevel, host_, preview);
        }
    } catch (const std::exception& e) {
        Discard(*temporary);
        host_.EqualizeProgress().SetVisible(false);
        return Failed(e.what());
    }
    host_.EqualizeProgress().SetVisible(false);
    if (end == RowPassEnd::Written && Publish(*temporary, output)) return Written(output);
    Discard(*temporary);
    if (end != RowPassEnd::Written) return Failed(Batch::kWriteProblem);
    return Skipped(output.NativePath() + " appeared meanwhile (--overwrite replaces it)");
}

// Gives the finished copy its name in one step. Without --overwrite an output
// that appeared in the meantime is left alone, where the file system can
// promise that; elsewhere the earlier test for an existing file has to do.
bool Job::Publish(const FolderItem& temporary, const FolderItem& output) const {
    const char* from = temporary.Path().c_str();
    const char* to = output.Path().c_str();
    if (settings_.overwrite) return std::rename(from, to) == 0;
    if (::renameat2(AT_FDCWD, from, AT_FDCWD, to, RENAME_NOREPLACE) == 0) return true;
    if (errno != EINVAL && errno != ENOSYS) return false;
    return !output.Exists() && std::rename(from, to) == 0;
}
}  // namespace

SubjectResult EqualizeSubject(const std::string& path, const JobSettings& settings,
                              RowPassHost& host, std::size_t jobNumber) {
    return Job(path, settings, host, jobNumber).Run();
}

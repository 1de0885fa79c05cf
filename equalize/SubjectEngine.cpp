#include "SubjectEngine.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <optional>

#include "Exceptions.h"
#include "HistoryRecord.h"
#include "LeftOutCopy.h"
#include "LibtiffRoad.h"
#include "OutputFileName.h"
#include "RowPass.h"
#include "SubjectJudge.h"

namespace {
using Verdict = SubjectJudgement::Verdict;

std::string CappedNote(std::uint64_t capped, const CardSource& card) {
    return "gain capped on " + CappedShare(capped, card) + " % of pixels";
}

// A descriptor closed with its owner.
struct OpenFile {
    explicit OpenFile(int fd) : fd(fd) {}
    ~OpenFile() {
        if (fd >= 0) ::close(fd);
    }
    int fd;
};

class SubjectRoad {
  public:
    SubjectRoad(TiffFile& tiff, const SubjectSettings& settings, RowPassHost& host)
        : tiff_(tiff), settings_(settings), host_(host) {}

    SubjectReport Run(std::shared_ptr<FolderItem> subject);

  private:
    std::shared_ptr<FolderItem> OutputFor(const FolderItem& subject, SubjectEnd& end);
    SubjectEnd Write(const FolderItem& output);
    SubjectEnd WriteUnderFinalName(const FolderItem& output);
    SubjectEnd WriteBeside(const FolderItem& output);
    std::vector<ByteRange> Ranges() const {
        return judged_.image && judged_.verdict == Verdict::Libtiff
                   ? RewrittenRanges(*judged_.image)
                   : std::vector{RowsOf(tiff_)};
    }
    // The road itself, into a copy made around the pixels, then its record.
    SubjectEnd Rewrite(int fd, const FolderItem& copy, const std::string& outputName,
                       LeftOutCopy* leftOut);
    SubjectEnd RewritePixels(int fd, const FolderItem& copy, const std::string& outputName,
                             LeftOutCopy* leftOut);
    SubjectEnd ThroughLibtiff(int fd, const std::string& outputName, LeftOutCopy* leftOut);
    void EndRow();

    TiffFile& tiff_;
    const SubjectSettings& settings_;
    RowPassHost& host_;
    SubjectJudgement judged_;
    std::unique_ptr<SubjectCorrection> correction_;
    std::string problem_;
    bool droppedLayers_ = false;
    std::optional<RecordEnd> recorded_;
};

SubjectReport SubjectRoad::Run(std::shared_ptr<FolderItem> subjectFile) {
    judged_ = JudgeSubject(tiff_, std::move(subjectFile),
                           settings_.card ? &settings_.card->Card() : nullptr);
    switch (judged_.verdict) {
        case Verdict::Missing:
            return SubjectReport(SubjectEnd::Missing);
        case Verdict::Unopenable:
            return SubjectReport(SubjectEnd::Unopenable);
        case Verdict::Refused:
            return SubjectReport(SubjectEnd::Refused, judged_.text);
        default:
            break;
    }
    SubjectWindow* window = settings_.window;
    if (window) window->SubjectOpened();
    if (judged_.verdict == Verdict::Unusable)
        return SubjectReport(SubjectEnd::Unusable, judged_.text);
    if (!settings_.card) return SubjectReport(SubjectEnd::NoCard, settings_.noCard);
    if (judged_.verdict == Verdict::Unfit) return SubjectReport(SubjectEnd::Unfit, judged_.text);
    if (window && judged_.verdict == Verdict::OneStrip) window->SubjectAccepted(tiff_);

    const FolderItem& subject = *tiff_.fi;
    SubjectReport report(SubjectEnd::Written);
    report.output = OutputFor(subject, report.end);
    if (report.end != SubjectEnd::Written) return report;
    const FolderItem& output = *report.output;
    host_.SetSubjectStatus("Preparing file: " + output.Name());
    // A save dialog may have pointed at the subject itself, which is never
    // written to: it is passed over like an output that can't be written.
    if (SameFile(subject, output))
        report.end = SubjectEnd::IsSubject;
    else if (SpecialFile(output))
        report.end = SubjectEnd::NotWriteable;
    else
        report.end = Write(output);
    report.text = problem_;
    if (correction_) report.figures = correction_->Figures();
    if (report.end == SubjectEnd::Written) {
        if (droppedLayers_) report.notes.push_back("Photoshop layer data removed");
        if (report.figures.cappedPixels > 0)
            report.notes.push_back(CappedNote(report.figures.cappedPixels, settings_.card->Card()));
        if (recorded_) report.notes.push_back(RecordNote(*recorded_));
    }
    return report;
}

// The output's file inside the output folder (a name that would lead out of it
// gives none). Under the final name, one that exists is replaced by the user's
// choice in a save dialog, whose cancel gives nil and so ends the batch at its
// first use; beside it, one that exists is kept unless replacing was asked for.
std::shared_ptr<FolderItem> SubjectRoad::OutputFor(const FolderItem& subject, SubjectEnd& end) {
    const std::string name = CreateOutputFileName(subject.Name());
    auto output = settings_.outputFolder.Child(name);
    if (!output) {
        end = SubjectEnd::NoOutputName;
        return nullptr;
    }
    if (!output->Exists()) return output;
    if (settings_.placement == OutputPlacement::UnderFinalName) {
        SubjectWindow* window = settings_.window;
        output = window ? window->InsteadOfExisting(name) : nullptr;
        if (!output) throw NilObjectException();
    } else if (!settings_.overwrite) {
        end = SubjectEnd::OutputKept;
    }
    return output;
}

SubjectEnd SubjectRoad::Write(const FolderItem& output) {
    const CardRun& card = *settings_.card;
    const bool tiled = judged_.image && judged_.image->tiled;
    correction_ = std::make_unique<SubjectCorrection>(card, tiled ? judged_.image->BandRows() : 1,
                                                      judged_.curves, settings_.spareCore);
    if (settings_.placement == OutputPlacement::UnderFinalName) return WriteUnderFinalName(output);
    return WriteBeside(output);
}

// The output ends up as a copy of the subject with its pixels rewritten in
// place, as the window has always left it, also when the pass stops short.
// Where the copy can be made around the pixels, they are written once; else
// the whole file is copied first, and a copy cut short (a full disk, a file
// size limit, a place that takes no file) stays as it was left.
SubjectEnd SubjectRoad::WriteUnderFinalName(const FolderItem& output) {
    const std::string subject = tiff_.fi->NativePath();
    const std::unique_ptr<LeftOutCopy> leftOut = LeftOutCopy::Make(subject, output, Ranges());
    if (!leftOut && !tiff_.fi->CopyFileTo(output)) {
        EndRow();
        return SubjectEnd::CopyFailed;
    }
    if (!output.IsWriteable()) return SubjectEnd::NotWriteable;
    const OpenFile file(::open(output.Path().c_str(), O_RDWR | O_CLOEXEC));
    return Rewrite(file.fd, output, output.Name(), leftOut.get());
}

// The output is made without a name beside its final one (or under a hidden
// one), around the pixels, and named only when complete.
SubjectEnd SubjectRoad::WriteBeside(const FolderItem& output) {
    struct stat subject {};
    if (::stat(tiff_.fi->Path().c_str(), &subject) != 0) return SubjectEnd::CopyFailed;
    const auto copy = OutputBeside(settings_.outputFolder, output.Name(), settings_.jobNumber,
                                   subject.st_mode & 07777);
    if (!copy || !CopyAround(tiff_.fi->NativePath(), copy->Descriptor(), Ranges())) {
        EndRow();
        return SubjectEnd::CopyFailed;
    }
    const SubjectEnd end = Rewrite(copy->Descriptor(), output, output.Name(), nullptr);
    if (end != SubjectEnd::Written || copy->Publish(output.Path(), settings_.overwrite)) return end;
    return output.Exists() ? SubjectEnd::Appeared : SubjectEnd::WriteFailed;
}

SubjectEnd SubjectRoad::Rewrite(int fd, const FolderItem& copy, const std::string& outputName,
                                LeftOutCopy* leftOut) {
    const SubjectEnd end = RewritePixels(fd, copy, outputName, leftOut);
    if (end == SubjectEnd::Written && settings_.history)
        recorded_ = RecordHistory(fd, *settings_.history);
    return end;
}

SubjectEnd SubjectRoad::RewritePixels(int fd, const FolderItem& copy, const std::string& outputName,
                                      LeftOutCopy* leftOut) {
    if (judged_.verdict == Verdict::Libtiff) return ThroughLibtiff(fd, outputName, leftOut);
    const auto stream = fd < 0 ? nullptr : BinaryStream::OnDescriptor(fd, copy.Path());
    if (!stream) {
        EndRow();
        return SubjectEnd::NoStream;
    }
    std::shared_ptr<Picture> unseen;
    std::shared_ptr<Picture>& preview =
        settings_.window ? settings_.window->ResultPicture() : unseen;
    const RowPassFiles files{tiff_, *stream, outputName, *correction_, leftOut};
    const RowPassEnd end = RunRowPass(files, host_, preview);
    if (end == RowPassEnd::Cancelled) return SubjectEnd::Cancelled;
    EndRow();
    return end == RowPassEnd::Written ? SubjectEnd::Written : SubjectEnd::WriteFailed;
}

SubjectEnd SubjectRoad::ThroughLibtiff(int fd, const std::string& outputName,
                                       LeftOutCopy* leftOut) {
    if (fd < 0) {
        EndRow();
        return SubjectEnd::NoStream;
    }
    std::shared_ptr<Picture> unseen;
    SubjectWindow* window = settings_.window;
    PassPictures pictures{window ? window->ResultPicture() : unseen,
                          window ? &window->SubjectPicture() : nullptr,
                          window ? window->SubjectRoom() : CanvasSize{0, 0}};
    const LibtiffRoadEnd end =
        RunLibtiffRoad({*judged_.image, fd, outputName, *correction_, leftOut}, host_, pictures);
    if (end.end == RowPassEnd::Cancelled) return SubjectEnd::Cancelled;
    EndRow();
    droppedLayers_ = end.droppedLayers;
    if (end.end == RowPassEnd::Written) return SubjectEnd::Written;
    problem_ = end.problem;
    return SubjectEnd::WriteFailed;
}

void SubjectRoad::EndRow() {
    host_.EqualizeProgress().SetVisible(false);
    host_.SetSubjectStatus("");
}
}  // namespace

std::string CappedShare(std::uint64_t capped, const CardSource& card) {
    const double pixels = static_cast<double>(card.Width()) * static_cast<double>(card.Height());
    char share[32];
    std::snprintf(share, sizeof share, "%.1f", 100.0 * static_cast<double>(capped) / pixels);
    return share;
}

SubjectReport EqualizeSubjectFile(TiffFile& tiff, std::shared_ptr<FolderItem> subject,
                                  const SubjectSettings& settings, RowPassHost& host) {
    return SubjectRoad(tiff, settings, host).Run(std::move(subject));
}

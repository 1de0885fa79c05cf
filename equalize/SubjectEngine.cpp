#include "SubjectEngine.h"

#include <filesystem>
#include <system_error>

#include "CopyAroundRows.h"
#include "Exceptions.h"
#include "HiddenCopy.h"
#include "OutputFileName.h"
#include "RowPass.h"
#include "SubjectTest.h"
#include "TiffOpening.h"

namespace {
bool SameFile(const FolderItem& a, const FolderItem& b) {
    std::error_code ec;
    return std::filesystem::equivalent(a.Path(), b.Path(), ec) && !ec;
}

// A pipe, socket or device where the output goes is never opened: writing
// would wait for a reader, or send the bytes nowhere.
bool SpecialFile(const FolderItem& item) {
    using std::filesystem::file_type;
    std::error_code ec;
    const file_type type = std::filesystem::status(item.Path(), ec).type();
    return type == file_type::fifo || type == file_type::socket || type == file_type::character ||
           type == file_type::block;
}

// Removes a hidden copy that won't become an output.
void Discard(const FolderItem& copy) {
    std::error_code ec;
    std::filesystem::remove(copy.Path(), ec);
}

class SubjectRoad {
  public:
    SubjectRoad(TiffFile& tiff, const SubjectSettings& settings, RowPassHost& host)
        : tiff_(tiff), settings_(settings), host_(host) {}

    SubjectReport Run(std::shared_ptr<FolderItem> subject);

  private:
    std::shared_ptr<FolderItem> OutputFor(const FolderItem& subject, SubjectEnd& end);
    SubjectEnd WriteUnderFinalName(const FolderItem& subject, const FolderItem& output);
    SubjectEnd WriteBeside(const FolderItem& output);
    SubjectEnd Rewrite(const FolderItem& copy, const std::string& outputName,
                       RowsLeftOutCopy* leftOut);
    BinaryStream* WhiteRows(std::shared_ptr<BinaryStream>& own) const;
    void EndRow();

    TiffFile& tiff_;
    const SubjectSettings& settings_;
    RowPassHost& host_;
};

SubjectReport SubjectRoad::Run(std::shared_ptr<FolderItem> subjectFile) {
    switch (OpenTiffFile(tiff_, std::move(subjectFile))) {
        case TiffOpening::Missing:
            return SubjectReport(SubjectEnd::Missing);
        case TiffOpening::Unopenable:
            return SubjectReport(SubjectEnd::Unopenable);
        case TiffOpening::Refused:
            return SubjectReport(SubjectEnd::Refused, tiff_.errstr);
        default:
            break;
    }
    SubjectWindow* window = settings_.window;
    if (window) window->SubjectOpened();
    const std::string refusal = SubjectRefusalText(settings_.white, tiff_);
    if (!refusal.empty()) return SubjectReport(SubjectEnd::Unfit, refusal);
    if (window) window->SubjectAccepted(tiff_);

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
    else if (settings_.placement == OutputPlacement::UnderFinalName)
        report.end = WriteUnderFinalName(subject, output);
    else
        report.end = WriteBeside(output);
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

// The output ends up as a copy of the subject with the rows rewritten in
// place, as the window has always left it, also when the pass stops short.
// Where the copy can be made around the rows, they are written once; else
// the whole file is copied first, and a copy cut short (a full disk, a file
// size limit, a place that takes no file) stays as it was left.
SubjectEnd SubjectRoad::WriteUnderFinalName(const FolderItem& subject, const FolderItem& output) {
    const std::unique_ptr<RowsLeftOutCopy> leftOut = RowsLeftOutCopy::Make(tiff_, output);
    if (!leftOut && !subject.CopyFileTo(output)) {
        EndRow();
        return SubjectEnd::CopyFailed;
    }
    if (!output.IsWriteable()) return SubjectEnd::NotWriteable;
    return Rewrite(output, output.Name(), leftOut.get());
}

// The copy under the hidden name leaves the pixel rows out, for the pass to
// write them once; a copy that isn't finished is thrown away, whatever it holds.
SubjectEnd SubjectRoad::WriteBeside(const FolderItem& output) {
    const auto copy =
        settings_.outputFolder.Child(HiddenCopyName(output.Name(), settings_.jobNumber));
    if (!copy) return SubjectEnd::CopyFailed;
    SubjectEnd end = SubjectEnd::CopyFailed;
    try {
        if (CopyAroundRows(tiff_, *copy))
            end = Rewrite(*copy, output.Name(), nullptr);
        else
            EndRow();
    } catch (...) {
        Discard(*copy);
        throw;
    }
    if (end == SubjectEnd::Written && !PublishCopy(*copy, output, settings_.overwrite))
        end = SubjectEnd::Appeared;
    if (end != SubjectEnd::Written) Discard(*copy);
    return end;
}

SubjectEnd SubjectRoad::Rewrite(const FolderItem& copy, const std::string& outputName,
                                RowsLeftOutCopy* leftOut) {
    const auto stream = BinaryStream::Open(copy, true);
    std::shared_ptr<BinaryStream> ownWhite;
    BinaryStream* white = WhiteRows(ownWhite);
    if (!stream || !white) {
        EndRow();
        return SubjectEnd::NoStream;
    }
    std::shared_ptr<Picture> unseen;
    std::shared_ptr<Picture>& preview =
        settings_.window ? settings_.window->ResultPicture() : unseen;
    const RowPassFiles files{tiff_,   *white,     settings_.white.ImageOffset,
                             *stream, outputName, settings_.corrector,
                             leftOut};
    const RowPassEnd end = RunRowPass(files, settings_.targetLevel, host_, preview);
    if (end == RowPassEnd::Cancelled) return SubjectEnd::Cancelled;
    EndRow();
    return end == RowPassEnd::Written ? SubjectEnd::Written : SubjectEnd::WriteFailed;
}

// The white card's rows: the stream the run shares, or one of this subject's own.
BinaryStream* SubjectRoad::WhiteRows(std::shared_ptr<BinaryStream>& own) const {
    if (settings_.whiteRows) return settings_.whiteRows;
    own = BinaryStream::Open(Deref(settings_.white.fi));
    if (own) own->LittleEndian = settings_.white.LittleEndian;
    return own.get();
}

void SubjectRoad::EndRow() {
    host_.EqualizeProgress().SetVisible(false);
    host_.SetSubjectStatus("");
}
}  // namespace

SubjectReport EqualizeSubjectFile(TiffFile& tiff, std::shared_ptr<FolderItem> subject,
                                  const SubjectSettings& settings, RowPassHost& host) {
    return SubjectRoad(tiff, settings, host).Run(std::move(subject));
}

#include "Batch.h"

#include <filesystem>
#include <system_error>

#include "Correction.h"
#include "Exceptions.h"
#include "OutputFileName.h"
#include "RowPass.h"
#include "SubjectTest.h"

namespace {
bool SameFile(const FolderItem& a, const FolderItem& b) {
    std::error_code ec;
    return std::filesystem::equivalent(a.Path(), b.Path(), ec) && !ec;
}
}  // namespace

// Only the two named failures are answered here; anything else goes on to the
// caller. Either one ends the batch where it arose, leaving every mark, the
// progress bar and the status line as they were.
void Batch::BtnProcess_Action() {
    try {
        Run();
    } catch (const NilObjectException&) {
        host_.UserDialogs().MsgBox("Nil Object: " + ErrorText());
    } catch (const IOException&) {
        host_.UserDialogs().MsgBox("IOException: " + ErrorText());
    }
}

void Batch::Run() {
    state_.fequal = host_.UserDialogs().SelectFolder("Select the folder for the equalized images");
    if (!state_.fequal) return;
    white_ = state_.Tiffb;
    const TiffFile& white = Deref(white_);
    const double targetLevel =
        TargetLevel(white.MaxLuminance, white.MinLuminance, state_.AmountToApply);
    host_.DisableProcess();
    tiff_ = std::make_shared<TiffFile>();
    for (std::int64_t row = 0; row <= host_.ListCount() - 1; ++row)
        if (ProcessRow(row, targetLevel) == Next::Stop) break;
    state_.EqualizationCompleted = true;
}

Batch::Next Batch::ProcessRow(std::int64_t row, double targetLevel) {
    if (!host_.Ticked(row)) return Next::Row;
    TiffFile& tiff = *tiff_;
    tiff.fi = GetFolderItem(Deref(state_.fsubject).NativePath() + "/" + host_.FileName(row));
    const FolderItem& subject = Deref(tiff.fi);
    if (!subject.Exists() || tiff.OpenTIFF()) return Next::Row;
    state_.Tiffi = tiff_;

    const std::string refusal = SubjectRefusalText(*white_, tiff);
    if (!refusal.empty()) {
        host_.SetRowPicture(row, RowMark::Cross);
        state_.SetErrorMessage(row, refusal);
        return Next::Row;
    }
    if (host_.ShowPreviews()) {
        host_.SetSubjectStatus("Creating subject preview: " + subject.Name());
        const CanvasSize canvas = host_.SubjectCanvas();
        state_.psubject = tiff.MakeScaledPictureDisk(canvas.width, canvas.height);
    }
    const auto output = OutputFor(subject);
    if (!output) return Next::Row;
    host_.SetSubjectStatus("Preparing file: " + Deref(output).Name());
    // A save dialog may have pointed at the subject itself, which is never
    // written to: that row is passed over like an output that can't be written.
    if (SameFile(subject, *output)) return Next::Row;
    // The rows are rewritten in place, so everything else in the output is what
    // the copy put there: a copy cut short (a full disk, a file size limit, a
    // place that takes no file) would pass its loss on under a Check mark.
    if (!subject.CopyFileTo(*output)) {
        MarkWriteProblem(row);
        EndRow();
        return Next::Row;
    }
    if (!output->IsWriteable()) return Next::Row;
    return Equalize(row, *output, targetLevel);
}

// The output's file inside the output folder (a name that would lead out of it
// gives none). One that exists is replaced by the user's choice in a save
// dialog, whose cancel gives nil and so ends the batch at its first use.
std::shared_ptr<FolderItem> Batch::OutputFor(const FolderItem& subject) {
    const std::string name = CreateOutputFileName(subject.Name());
    auto output = Deref(state_.fequal).Child(name);
    if (!output) return nullptr;
    if (output->Exists()) {
        output = host_.UserDialogs().GetSaveFolderItem(kImageTiffType, name);
        if (!output) throw NilObjectException();
    }
    return output;
}

Batch::Next Batch::Equalize(std::int64_t row, const FolderItem& output, double targetLevel) {
    const auto stream = BinaryStream::Open(output, true);
    if (stream) {
        const RowPassFiles files{*tiff_, Deref(white_->imagefile), white_->ImageOffset, *stream,
                                 output.Name()};
        const RowPassEnd end = RunRowPass(files, targetLevel, host_, state_.presult);
        if (end == RowPassEnd::Cancelled) return Next::Stop;
        if (end == RowPassEnd::WriteFailed)
            MarkWriteProblem(row);
        else
            host_.SetRowPicture(row, RowMark::Check);
        if (host_.ShowPreviews()) host_.RefreshResult();
    }
    EndRow();
    return Next::Row;
}

void Batch::MarkWriteProblem(std::int64_t row) {
    host_.SetRowPicture(row, RowMark::Cross);
    state_.SetErrorMessage(row, kWriteProblem);
}

void Batch::EndRow() {
    host_.EqualizeProgress().SetVisible(false);
    host_.SetSubjectStatus("");
}

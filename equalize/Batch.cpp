#include "Batch.h"

#include <cctype>

#include "Exceptions.h"

namespace {
// "this is a JPEG" as a sentence of its own: "This is a JPEG."
std::string Sentence(std::string text) {
    if (text.empty()) return text;
    text[0] = static_cast<char>(std::toupper(static_cast<unsigned char>(text[0])));
    return text.back() == '.' ? text : text + ".";
}

std::string Joined(const std::vector<std::string>& notes) {
    std::string all;
    for (const std::string& note : notes) all += (all.empty() ? "" : "; ") + note;
    return all;
}
}  // namespace

// The options a file was equalized with and what its correction came to;
// empty for the window's own correction, which says nothing of a success.
std::string Batch::SuccessNote(const SubjectReport& report) const {
    std::vector<std::string> notes;
    if (const std::string options = state_.modes.Described(); !options.empty())
        notes.push_back("equalized with " + options);
    notes.insert(notes.end(), report.notes.begin(), report.notes.end());
    return notes.empty() ? "" : Sentence(Joined(notes));
}

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
    const std::shared_ptr<FolderItem> folder = state_.fequal;
    if (!folder) return;
    if (!state_.card) throw NilObjectException();
    card_ = std::make_unique<CardRun>(state_.card, state_.AmountToApply);
    host_.DisableProcess();
    const SubjectSettings settings{card_.get(), *folder, OutputPlacement::UnderFinalName, false, 0,
                                   this,        false};
    for (std::int64_t row = 0; row <= host_.ListCount() - 1; ++row)
        if (ProcessRow(row, settings) == Next::Stop) break;
    state_.EqualizationCompleted = true;
}

Batch::Next Batch::ProcessRow(std::int64_t row, const SubjectSettings& settings) {
    if (!host_.Ticked(row)) return Next::Row;
    // Each subject is judged on its own tags.
    tiff_ = std::make_shared<TiffFile>();
    TiffFile& tiff = *tiff_;
    tiff.fi = GetFolderItem(Deref(state_.fsubject).NativePath() + "/" + host_.FileName(row));
    if (!tiff.fi) throw NilObjectException();
    const SubjectReport report = EqualizeSubjectFile(tiff, tiff.fi, settings, host_);
    // A file that is there but gives no stream ends the batch as a missing object.
    if (report.end == SubjectEnd::Unopenable) throw NilObjectException();
    if (report.end == SubjectEnd::Cancelled) return Next::Stop;
    Mark(row, report);
    return Next::Row;
}

// Files that are missing, not TIFFs, or whose output can't be had or written
// are passed over without a mark. A note on a written file is its message.
void Batch::Mark(std::int64_t row, const SubjectReport& report) {
    switch (report.end) {
        case SubjectEnd::Unusable:
            host_.SetRowPicture(row, RowMark::Cross);
            state_.SetErrorMessage(row, Sentence(report.text));
            return;
        case SubjectEnd::Unfit:
            host_.SetRowPicture(row, RowMark::Cross);
            state_.SetErrorMessage(row, report.text);
            return;
        case SubjectEnd::CopyFailed:
            MarkWriteProblem(row);
            return;
        case SubjectEnd::Written:
            host_.SetRowPicture(row, RowMark::Check);
            if (const std::string note = SuccessNote(report); !note.empty())
                state_.SetErrorMessage(row, note);
            break;
        case SubjectEnd::WriteFailed:
            MarkWriteProblem(row);
            break;
        default:
            return;
    }
    if (host_.ShowPreviews()) host_.RefreshResult();
}

void Batch::MarkWriteProblem(std::int64_t row) {
    host_.SetRowPicture(row, RowMark::Cross);
    state_.SetErrorMessage(row, kWriteProblemText);
}

void Batch::SubjectAccepted(TiffFile& subject) {
    if (!host_.ShowPreviews()) return;
    host_.SetSubjectStatus("Creating subject preview: " + Deref(subject.fi).Name());
    const CanvasSize canvas = host_.SubjectCanvas();
    state_.psubject = subject.MakeScaledPictureDisk(canvas.width, canvas.height);
}

std::shared_ptr<FolderItem> Batch::InsteadOfExisting(const std::string& outputName) {
    return host_.UserDialogs().GetSaveFolderItem(kImageTiffType, outputName);
}

#include "Batch.h"

#include <algorithm>
#include <cctype>

#include "Exceptions.h"

namespace {
std::string Joined(const std::vector<std::string>& notes) {
    std::string all;
    for (const std::string& note : notes) all += (all.empty() ? "" : "; ") + note;
    return all;
}
}  // namespace

std::string Sentence(std::string text) {
    if (text.empty()) return text;
    text[0] = static_cast<char>(std::toupper(static_cast<unsigned char>(text[0])));
    return text.back() == '.' ? text : text + ".";
}

std::string CardMessage(const RunCards& library, const std::string& path) {
    const SubjectCard card = library.Choose(path);
    if (!card.group) return Sentence(card.failure);
    return card.fromLibrary ? Sentence("card: " + library.CardName(*card.group)) : "";
}

// The card a file was equalized by when it came from a library, the options
// and what its correction came to; empty for the window's own correction,
// which says nothing of a success.
std::string Batch::SuccessNote(const SubjectReport& report, const SubjectCard& card) const {
    std::vector<std::string> notes;
    if (card.fromLibrary) notes.push_back("card: " + cards_->CardName(*card.group));
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
    if (!state_.card && !state_.library) throw NilObjectException();
    if (!ChooseCards()) return;
    host_.DisableProcess();
    const SubjectSettings settings{nullptr, *folder, OutputPlacement::UnderFinalName, false, 0,
                                   this,    false};
    for (std::int64_t row = 0; row <= host_.ListCount() - 1; ++row)
        if (ProcessRow(row, settings) == Next::Stop) break;
    state_.EqualizationCompleted = true;
}

// The cards at this press's amount, and each ticked row's, chosen before the
// first is equalized so that each card is read once and let go after its last.
bool Batch::ChooseCards() {
    CardProblem problem;
    cards_ = state_.library ? RunCards::Open(state_.modes.Options(), state_.library->Library(),
                                             state_.AmountToApply, problem)
                            : RunCards::Of(state_.card, state_.AmountToApply);
    if (!cards_) {
        host_.UserDialogs().MsgBox("Error: " + problem.text);
        return false;
    }
    chosen_.assign(static_cast<std::size_t>(std::max<std::int64_t>(host_.ListCount(), 0)), {});
    for (std::int64_t row = 0; row < host_.ListCount(); ++row) {
        if (!host_.Ticked(row)) continue;
        SubjectCard& card = chosen_[static_cast<std::size_t>(row)];
        card = cards_->Choose(SubjectPath(row));
        if (card.group) cards_->Expect(*card.group);
    }
    return true;
}

std::string Batch::SubjectPath(std::int64_t row) {
    return Deref(state_.fsubject).NativePath() + "/" + host_.FileName(row);
}

Batch::Next Batch::ProcessRow(std::int64_t row, SubjectSettings settings) {
    if (!host_.Ticked(row)) return Next::Row;
    const SubjectCard& card = chosen_[static_cast<std::size_t>(row)];
    std::shared_ptr<const CardRun> run;
    if (card.group) {
        CardProblem problem;
        run = cards_->Take(*card.group, problem);
        if (!run) {
            host_.SetRowPicture(row, RowMark::Cross);
            state_.SetErrorMessage(row, "The card " + cards_->CardName(*card.group) +
                                            " can't serve: " + WithoutError(problem.text));
            return Next::Row;
        }
    }
    settings.card = run.get();
    settings.noCard = card.failure;
    // Each subject is judged on its own tags.
    tiff_ = std::make_shared<TiffFile>();
    TiffFile& tiff = *tiff_;
    tiff.fi = GetFolderItem(SubjectPath(row));
    if (!tiff.fi) throw NilObjectException();
    const SubjectReport report = EqualizeSubjectFile(tiff, tiff.fi, settings, host_);
    if (card.group) cards_->Done(*card.group);
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
        case SubjectEnd::NoCard:
            host_.SetRowPicture(row, RowMark::Cross);
            state_.SetErrorMessage(row, Sentence(report.text));
            return;
        case SubjectEnd::CopyFailed:
            MarkWriteProblem(row);
            return;
        case SubjectEnd::Written:
            host_.SetRowPicture(row, RowMark::Check);
            if (const std::string note =
                    SuccessNote(report, chosen_[static_cast<std::size_t>(row)]);
                !note.empty())
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

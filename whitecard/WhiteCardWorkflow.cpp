#include "WhiteCardWorkflow.h"

#include "Exceptions.h"
#include "ToneMap.h"
#include "WhiteCard.h"

namespace {
void ClearPicture(const std::shared_ptr<Picture>& picture) {
    if (picture) picture->ClearRect(0, 0, picture->Width(), picture->Height());
}

void SetStatus(WhiteCardHost& host, const std::string& text) {
    host.SetLabel(WhiteLabel::TxtStatusWhite, text);
    host.RefreshLabel(WhiteLabel::TxtStatusWhite);
}

void ShowFigures(WindowState& state, WhiteCardHost& host) {
    const TiffFile& white = *state.Tiffb;
    host.SetLabel(WhiteLabel::TxtWhite, Deref(white.fi).Name());
    host.RefreshLabel(WhiteLabel::TxtWhite);
    host.SetLabel(WhiteLabel::TxtMaxVal, MaxValText(white));
    host.SetLabel(WhiteLabel::TxtMaxLoc, MaxLocText(white));
}

void MakePreviews(WindowState& state, WhiteCardHost& host) {
    SetStatus(host, "Creating the white card image preview");
    const CanvasSize room = host.WhiteCanvas();
    state.pwhite = Deref(state.card).Preview(room.width, room.height);
    state.ptone = std::make_shared<Picture>(state.pwhite->Width(), state.pwhite->Height(), 32);
    CreateToneMap(*state.pwhite, *state.ptone);
    host.RefreshWhiteCanvas();
}

// Says why a card can't serve: a file the system won't open ends the press as
// a missing object; one neither reader takes ends it silently; the rest with
// their words (those of the modes' files after "Error: ").
void Refuse(const CardProblem& problem, WhiteCardHost& host) {
    if (problem.verdict == CardVerdict::Missing) throw NilObjectException();
    if (problem.verdict == CardVerdict::NotOpened) return;
    const bool modes =
        problem.verdict == CardVerdict::Mismatched || problem.verdict == CardVerdict::NoCurves;
    host.UserDialogs().MsgBox((modes ? "Error: " : "") + problem.text);
}

// Opens, judges and reads the card in the window's modes; nil when the press
// ends on the way.
std::shared_ptr<const CardSource> ReadCard(const CorrectionModes& modes, WhiteCardHost& host) {
    CardProblem problem;
    const auto opening = CardSource::Judge(modes, host.WhiteServices(), problem);
    if (!opening) {
        Refuse(problem, host);
        return nullptr;
    }
    host.SetLabel(WhiteLabel::TxtInfoWhite, InfoText(opening->Record()));
    SetStatus(host, "Analyzing the white card image");
    auto card = opening->Read(problem);
    if (!card) Refuse(problem, host);
    return card;
}

// The card now read: it serves every batch from here, with its figures shown.
void ShowCard(WindowState& state, WhiteCardHost& host,
              const std::shared_ptr<const CardSource>& card) {
    state.card = card;
    state.Tiffb = card->SharedRecord();
    ShowFigures(state, host);
}
// The first part of every press, also of one whose dialog is cancelled.
void ResetWindow(WindowState& state, WhiteCardHost& host) {
    state.EqualizationCompleted = false;
    for (std::string& message : state.ErrorMessages) message.clear();
    for (WhiteLabel label :
         {WhiteLabel::TxtWhite, WhiteLabel::TxtInfoWhite, WhiteLabel::TxtStatusWhite,
          WhiteLabel::TxtResult, WhiteLabel::TxtMaxVal})
        host.SetLabel(label, "");
    host.SetScaleText("100.0");
    host.RefreshLabel(WhiteLabel::TxtMaxVal);
    state.AmountToApply = 1.0;
    state.WhiteOpened = false;
    state.library.reset();
    state.SubjectSelected = false;
    host.DeleteAllRows();
    for (const auto& picture : {state.pwhite, state.psubject, state.presult, state.ptone})
        ClearPicture(picture);
    host.RefreshCanvases();
}
}  // namespace

void OpenWhiteCard(WindowState& state, WhiteCardHost& host, std::shared_ptr<FolderItem> file) {
    std::shared_ptr<TiffFile> candidate;
    try {
        ResetWindow(state, host);
        candidate = std::make_shared<TiffFile>(host.WhiteServices());
        if (file)
            candidate->fi = std::move(file);
        else
            candidate->AskOpen();
        if (!candidate->fi) return;  // the dialog was cancelled
        // Every Open starts from the chosen file alone; the options stay.
        CorrectionModes modes = state.modes.Options();
        modes.cards = {candidate->fi->NativePath()};
        auto card = ReadCard(modes, host);
        if (!card) return;
        state.modes = modes;
        ShowCard(state, host, card);
        state.WhiteOpened = true;
        host.SetProcessEnabled(state.ProcessAllowed());
        if (host.ShowPreviews()) MakePreviews(state, host);
        SetStatus(host, "");
    } catch (const NilObjectException&) {
        host.UserDialogs().MsgBox("Error: " + (candidate ? candidate->errstr : std::string()));
    }
}

std::string LibraryText(const RunCards& library) {
    const std::size_t usable = library.MatchableCards();
    return "Card library: " + (usable == 0   ? std::string("no usable card")
                               : usable == 1 ? std::string("1 usable card")
                                             : std::to_string(usable) + " usable cards");
}

void OpenCardFolder(WindowState& state, WhiteCardHost& host, std::shared_ptr<FolderItem> folder) {
    ResetWindow(state, host);
    if (!folder) folder = host.UserDialogs().SelectFolder("Select the folder of white cards");
    if (!folder) return;
    CardProblem problem;
    const CorrectionModes modes = state.modes.Options();
    auto library = RunCards::Open(modes, folder->NativePath(), state.AmountToApply, problem);
    if (!library) {
        host.UserDialogs().MsgBox("Error: " + problem.text);
        return;
    }
    state.modes = modes;
    state.card.reset();
    state.Tiffb.reset();
    host.SetLabel(WhiteLabel::TxtWhite, folder->Name());
    host.SetLabel(WhiteLabel::TxtInfoWhite, LibraryText(*library));
    state.WhiteOpened = library->MatchableCards() > 0;
    state.library = std::move(library);
    host.SetProcessEnabled(state.ProcessAllowed());
}

bool TakeModes(WindowState& state, WhiteCardHost& host, const CorrectionModes& modes) {
    // With a library, or no card yet, only the options are kept: every card
    // is read with them when it is.
    if (state.library || !state.WhiteOpened || !state.card) {
        state.modes = modes.Options();
        return true;
    }
    try {
        const auto card = ReadCard(modes, host);
        SetStatus(host, "");
        if (!card) {
            host.SetLabel(WhiteLabel::TxtInfoWhite, InfoText(*state.Tiffb));
            return false;
        }
        state.modes = modes;
        ShowCard(state, host, card);
        if (host.ShowPreviews()) MakePreviews(state, host);
        SetStatus(host, "");
        return true;
    } catch (const NilObjectException&) {
        host.UserDialogs().MsgBox("Error: ");
        return false;
    }
}

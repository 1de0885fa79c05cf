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
    state.pwhite = Deref(state.Tiffb).MakeScaledPictureDisk(room.width, room.height);
    state.ptone = std::make_shared<Picture>(state.pwhite->Width(), state.pwhite->Height(), 32);
    CreateToneMap(*state.pwhite, *state.ptone);
    host.RefreshWhiteCanvas();
}

// Opens, judges and scans the candidate; false when the press ends on the way.
bool AcceptCandidate(TiffFile& candidate, WhiteCardHost& host) {
    candidate.AskOpen();
    if (!candidate.fi) return false;  // the dialog was cancelled
    const TiffOpening opening = OpenTiffFile(candidate, candidate.fi);
    // No stream on it: the press ends as for any file the system won't open.
    if (opening == TiffOpening::Missing || opening == TiffOpening::Unopenable)
        throw NilObjectException();
    const WhiteCardVerdict verdict = JudgeWhiteCard(candidate, opening);
    if (verdict == WhiteCardVerdict::NotOpened) return false;  // cancelled or refused: silent
    if (verdict != WhiteCardVerdict::Accepted) {
        host.UserDialogs().MsgBox(RefusalText(verdict, candidate));
        return false;
    }
    host.SetLabel(WhiteLabel::TxtInfoWhite, InfoText(candidate));
    SetStatus(host, "Analyzing the white card image");
    candidate.FindMaxLuminanceDisk();
    return true;
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
    state.SubjectSelected = false;
    host.DeleteAllRows();
    for (const auto& picture : {state.pwhite, state.psubject, state.presult, state.ptone})
        ClearPicture(picture);
    host.RefreshCanvases();
}
}  // namespace

void OpenWhiteCard(WindowState& state, WhiteCardHost& host) {
    std::shared_ptr<TiffFile> candidate;
    try {
        ResetWindow(state, host);
        candidate = std::make_shared<TiffFile>(host.WhiteServices());
        if (!AcceptCandidate(*candidate, host)) return;
        state.Tiffb = candidate;
        ShowFigures(state, host);
        state.WhiteOpened = true;
        host.SetProcessEnabled(state.ProcessAllowed());
        if (host.ShowPreviews()) MakePreviews(state, host);
        SetStatus(host, "");
    } catch (const NilObjectException&) {
        host.UserDialogs().MsgBox("Error: " + (candidate ? candidate->errstr : std::string()));
    }
}

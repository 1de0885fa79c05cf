#pragma once

#include <string>

#include "BatchHost.h"
#include "TiffFile.h"
#include "WindowState.h"

// The labels of the window that opening a white card writes.
enum class WhiteLabel { TxtWhite, TxtInfoWhite, TxtStatusWhite, TxtResult, TxtMaxVal, TxtMaxLoc };

// What opening a white card needs of the main window's controls. The window
// implements it with its widgets; tests with a fake that records the calls.
class WhiteCardHost {
  public:
    virtual ~WhiteCardHost() = default;

    virtual void SetLabel(WhiteLabel label, const std::string& text) = 0;
    // Redraws the label at once, ahead of the slow step that follows.
    virtual void RefreshLabel(WhiteLabel label) = 0;
    // Sets the correction amount field's text and redraws it at once.
    virtual void SetScaleText(const std::string& text) = 0;
    virtual void DeleteAllRows() = 0;
    // Redraws the white, subject and result canvases at once.
    virtual void RefreshCanvases() = 0;
    virtual void RefreshWhiteCanvas() = 0;
    virtual void SetProcessEnabled(bool enabled) = 0;
    // The "Show previews" box, read at its use.
    virtual bool ShowPreviews() = 0;
    virtual CanvasSize WhiteCanvas() = 0;
    // The dialogs and the analysis progress bar that the white card reports to.
    virtual TiffServices WhiteServices() = 0;
    virtual Dialogs& UserDialogs() = 0;
};

// The press of the white card's Open button: throws away the work shown,
// asks for a file, accepts it only as one strip whose pixel rows all lie in the
// file, scans it for its brightest green sample, shows the figures and, with
// previews on, the preview and its tone map. The former white card is kept
// until the new one has been scanned. A missing object on the way ends it with
// "Error: " and the candidate's words; any other exception goes on to the caller.
// With a file given (one dropped on the window), no dialog is shown.
void OpenWhiteCard(WindowState& state, WhiteCardHost& host,
                   std::shared_ptr<FolderItem> file = nullptr);

// The "Open Card Folder…" item: resets the window as Open does, asks for a
// folder (unless one is given) and opens it as a card library in the
// window's options. The white card area then names the folder and says how
// many cards a subject can be matched to; at least one counts as a card
// opened. A folder that can't serve is refused with "Error: " and its words.
void OpenCardFolder(WindowState& state, WhiteCardHost& host,
                    std::shared_ptr<FolderItem> folder = nullptr);

// What the white card area says of a library: "Card library: 4 usable cards".
std::string LibraryText(const RunCards& library);

// Takes new modes for the window: with a card open, the card is read again
// with them (its further shots averaged, the dark frame taken off, ...) and
// its figures, preview and tone map shown anew. False, with the modes and
// the card as they were and the reason shown, when the card can't serve so.
bool TakeModes(WindowState& state, WhiteCardHost& host, const CorrectionModes& modes);

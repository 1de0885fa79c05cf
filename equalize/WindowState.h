#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "CardSource.h"
#include "FolderItem.h"
#include "Picture.h"
#include "RunCards.h"
#include "TiffFile.h"

// The program's whole working state, as the main window holds it. Kept apart
// from the widgets so that the handlers' logic runs, and is tested, without a
// display. Replacing a member releases what it held.
struct WindowState {
    std::shared_ptr<FolderItem> fsubject;  // the chosen subject folder
    std::shared_ptr<TiffFile> Tiffb;  // the white card as our reader knows it, with its figures
    std::shared_ptr<const CardSource> card;  // the white card, read once for every batch
    // A card library opened instead of one white card: its folder and its
    // cards, from which each subject gets its own.
    std::shared_ptr<const RunCards> library;
    // How the window equalizes: the options the user keeps between sessions,
    // and the open card's files (its further shots and dark frame, chosen
    // after Open and cleared by every Open).
    CorrectionModes modes;
    bool WhiteOpened = false;            // a white card has been accepted
    bool SubjectSelected = false;        // at least one subject row is ticked
    std::shared_ptr<TiffFile> Tiffi;     // the subject in work
    std::shared_ptr<FolderItem> fequal;  // the chosen output folder
    // One message a subject row; its upper bound is size() - 1, and it holds one
    // entry more than the list has rows once a folder is chosen.
    std::vector<std::string> ErrorMessages;
    bool EqualizationCompleted = false;  // a batch has ended and its messages stand
    std::shared_ptr<Picture> psubject;
    std::shared_ptr<Picture> presult;
    std::shared_ptr<Picture> pwhite;
    double AmountToApply = 1.0;  // 1.0 is 100 %
    std::shared_ptr<Picture> ptone;

    // Process is possible exactly when both flags hold; the window applies this
    // at its fixed points, it is not a live binding.
    bool ProcessAllowed() const { return WhiteOpened && SubjectSelected; }

    void SetErrorMessage(std::int64_t row, const std::string& text) {
        if (row < 0) return;
        if (static_cast<std::size_t>(row) >= ErrorMessages.size())
            ErrorMessages.resize(static_cast<std::size_t>(row) + 1);
        ErrorMessages[static_cast<std::size_t>(row)] = text;
    }
};

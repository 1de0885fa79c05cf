#pragma once

#include <cstdint>
#include <string>

#include "Dialogs.h"
#include "Progress.h"

enum class RowMark { Check, Cross };

struct CanvasSize {
    std::int64_t width;
    std::int64_t height;
};

// What the batch needs of the main window's controls. The window implements it
// with its widgets; tests implement it with a fake that records what happened.
class BatchHost {
  public:
    virtual ~BatchHost() = default;

    // The subject list: column 1 the tick, column 2 the file name, the row
    // picture the result mark. The count is asked anew at every row.
    virtual std::int64_t ListCount() = 0;
    virtual bool Ticked(std::int64_t row) = 0;
    virtual std::string FileName(std::int64_t row) = 0;
    virtual void SetRowPicture(std::int64_t row, RowMark mark) = 0;

    // Disables the Process button and repaints it at once.
    virtual void DisableProcess() = 0;
    // Sets the subject status line and repaints it at once.
    virtual void SetSubjectStatus(const std::string& text) = 0;
    virtual Progress& EqualizeProgress() = 0;
    // The "Show previews" box, read at each use: a change mid-file counts at once.
    virtual bool ShowPreviews() = 0;
    virtual CanvasSize SubjectCanvas() = 0;
    virtual CanvasSize ResultCanvas() = 0;
    // Repaints the result canvas at once; it shows the state's presult.
    virtual void RefreshResult() = 0;

    virtual Dialogs& UserDialogs() = 0;
    virtual EventPump& Events() = 0;
};

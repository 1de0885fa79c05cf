#pragma once

#include <cstdint>
#include <string>

#include "Dialogs.h"
#include "RowPassHost.h"

enum class RowMark { Check, Cross };

// What the batch needs of the main window's controls, beyond what each file's
// row pass needs. The window implements it with its widgets; tests implement
// it with a fake that records what happened.
class BatchHost : public RowPassHost {
  public:
    // The subject list: column 1 the tick, column 2 the file name, the row
    // picture the result mark. The count is asked anew at every row.
    virtual std::int64_t ListCount() = 0;
    virtual bool Ticked(std::int64_t row) = 0;
    virtual std::string FileName(std::int64_t row) = 0;
    virtual void SetRowPicture(std::int64_t row, RowMark mark) = 0;

    // Disables the Process button and repaints it at once.
    virtual void DisableProcess() = 0;
    virtual CanvasSize SubjectCanvas() = 0;
    // Repaints the result canvas at once; it shows the state's presult.
    virtual void RefreshResult() = 0;

    virtual Dialogs& UserDialogs() = 0;
};

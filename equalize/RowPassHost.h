#pragma once

#include <cstdint>
#include <string>

#include "Dialogs.h"
#include "Progress.h"

struct CanvasSize {
    std::int64_t width;
    std::int64_t height;
};

// What rewriting one file needs of its surroundings: the status line, the
// progress bar, the result preview's canvas and switch, and the event pump
// that keeps the window alive and lets a cancel arrive. The window gives its
// controls; the command-line tool a terminal line and no previews.
class RowPassHost {
  public:
    virtual ~RowPassHost() = default;

    // Sets the subject status line and repaints it at once.
    virtual void SetSubjectStatus(const std::string& text) = 0;
    virtual Progress& EqualizeProgress() = 0;
    // The "Show previews" box, read at each use: a change mid-file counts at once.
    virtual bool ShowPreviews() = 0;
    virtual CanvasSize ResultCanvas() = 0;
    virtual EventPump& Events() = 0;
};

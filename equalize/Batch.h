#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "BatchHost.h"
#include "TiffFile.h"
#include "WindowState.h"

// The press of Process: asks for the output folder, then treats every ticked
// row of the subject list: opens the subject, tests it, copies it to its
// output name and rewrites the copy's pixel rows. Knows the window only
// through its state and the host, so it runs without a display.
class Batch {
  public:
    Batch(WindowState& state, BatchHost& host) : state_(state), host_(host) {}

    void BtnProcess_Action();

    static constexpr const char* kWriteProblem = "Problem writing equalized TIFF file.";

  private:
    enum class Next { Row, Stop };

    void Run();
    Next ProcessRow(std::int64_t row, double targetLevel);
    std::shared_ptr<FolderItem> OutputFor(const FolderItem& subject);
    Next Equalize(std::int64_t row, const FolderItem& output, double targetLevel);
    void MarkWriteProblem(std::int64_t row);
    void EndRow();
    std::string ErrorText() const { return tiff_ ? tiff_->errstr : std::string(); }

    WindowState& state_;
    BatchHost& host_;
    std::shared_ptr<TiffFile> tiff_;  // the one TiffFile of this press
    // The white card the target level came from. The window stays live while
    // the batch runs, and a white card opened meanwhile must not take this
    // one's open stream away from the file in work, nor change the card the
    // later files are measured against.
    std::shared_ptr<TiffFile> white_;
};

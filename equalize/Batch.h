#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "BatchHost.h"
#include "SubjectEngine.h"
#include "TiffFile.h"
#include "WindowState.h"

// The press of Process: asks for the output folder, then equalizes every
// ticked row of the subject list, each copied under its final name, and marks
// the rows. Knows the window only through its state and the host, so it runs
// without a display.
class Batch : private SubjectWindow {
  public:
    Batch(WindowState& state, BatchHost& host) : state_(state), host_(host) {}

    void BtnProcess_Action();

  private:
    enum class Next { Row, Stop };

    void Run();
    bool ChooseCards();
    Next ProcessRow(std::int64_t row, SubjectSettings settings);
    std::string SubjectPath(std::int64_t row);
    void Mark(std::int64_t row, const SubjectReport& report);
    void MarkWriteProblem(std::int64_t row);
    std::string SuccessNote(const SubjectReport& report, const SubjectCard& card) const;
    std::string ErrorText() const { return tiff_ ? tiff_->errstr : std::string(); }

    void SubjectOpened() override { state_.Tiffi = tiff_; }
    void SubjectAccepted(TiffFile& subject) override;
    std::shared_ptr<FolderItem> InsteadOfExisting(const std::string& outputName) override;
    std::shared_ptr<Picture>& ResultPicture() override { return state_.presult; }
    std::shared_ptr<Picture>& SubjectPicture() override { return state_.psubject; }
    CanvasSize SubjectRoom() override { return host_.SubjectCanvas(); }

    WindowState& state_;
    BatchHost& host_;
    std::shared_ptr<TiffFile> tiff_;  // the subject in work
    // The cards of this press, at its amount. The window stays live while the
    // batch runs, and a white card opened meanwhile must not change the card
    // the later files are measured against.
    std::unique_ptr<RunCards> cards_;
    std::vector<SubjectCard> chosen_;  // a row's card
};

// "this is a JPEG" as a sentence of its own: "This is a JPEG."
std::string Sentence(std::string text);

// A row's message before a batch, with a card library: "Card: f8.tif", or
// why no card serves the subject at path, as a sentence.
std::string CardMessage(const RunCards& library, const std::string& path);

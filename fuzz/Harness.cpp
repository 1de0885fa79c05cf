#include "Harness.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <vector>

#include <unistd.h>

#include "Batch.h"
#include "CardSource.h"
#include "TiffFile.h"
#include "WindowState.h"

namespace {
std::shared_ptr<const CardSource> OpenCard(const std::string& path) {
    CorrectionModes modes;
    modes.cards = {path};
    CardProblem problem;
    return CardSource::Open(modes, {}, problem);
}
}  // namespace

void ExerciseWhiteCard(const std::string& path) {
    if (const auto card = OpenCard(path)) card->Preview(230, 230);
}

namespace {
// A window that shows nothing: one ticked row, previews on, no cancel, the
// output folder chosen at once and every other question answered with a cancel.
class QuietWindow final : public BatchHost, Dialogs, EventPump {
  public:
    QuietWindow(std::string name, std::shared_ptr<FolderItem> output)
        : name_(std::move(name)), output_(std::move(output)) {}

    std::int64_t ListCount() override { return 1; }
    bool Ticked(std::int64_t) override { return true; }
    std::string FileName(std::int64_t) override { return name_; }
    void SetRowPicture(std::int64_t, RowMark) override {}
    void DisableProcess() override {}
    CanvasSize SubjectCanvas() override { return {230, 230}; }
    void RefreshResult() override {}
    Dialogs& UserDialogs() override { return *this; }

    void SetSubjectStatus(const std::string&) override {}
    Progress& EqualizeProgress() override { return NoProgress::Instance(); }
    bool ShowPreviews() override { return true; }
    CanvasSize ResultCanvas() override { return {230, 230}; }
    EventPump& Events() override { return *this; }

    std::shared_ptr<FolderItem> GetOpenFolderItem(const std::string&) override { return nullptr; }
    std::shared_ptr<FolderItem> GetSaveFolderItem(const std::string&, const std::string&) override {
        return nullptr;
    }
    std::shared_ptr<FolderItem> SelectFolder(const std::string&) override { return output_; }
    void MsgBox(const std::string&) override {}
    std::optional<std::string> ChooseItem(const std::string&, const std::vector<std::string>&,
                                          const std::string&) override {
        return std::nullopt;
    }
    void OpenDocument(const std::string&) override {}

    bool UserCancelled() override { return false; }
    void DoEvents() override {}

  private:
    std::string name_;
    std::shared_ptr<FolderItem> output_;
};

// The white cards, read once for the whole process, as the window keeps its
// white card from one batch to the next.
const std::vector<std::shared_ptr<const CardSource>>& WhiteCards() {
    static const std::vector<std::shared_ptr<const CardSource>> cards = [] {
        std::vector<std::shared_ptr<const CardSource>> loaded;
        for (const char* name : {"8bit_le.tif", "16bit_be.tif"}) {
            auto card = OpenCard(std::string(BRISAVANE_FUZZ_DIR "/white/") + name);
            if (!card) std::abort();  // the harness itself is broken
            loaded.push_back(card);
        }
        return loaded;
    }();
    return cards;
}

std::string Contents(const std::filesystem::path& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), {});
}
}  // namespace

void ExerciseEqualize(const std::string& path) {
    const std::filesystem::path subject(path);
    const std::string before = Contents(subject);
    const std::filesystem::path output = std::filesystem::temp_directory_path() /
                                         ("brisavane-fuzz-out-" + std::to_string(::getpid()));
    for (const auto& white : WhiteCards()) {
        std::filesystem::remove_all(output);
        std::filesystem::create_directories(output);
        WindowState state;
        state.card = white;
        state.Tiffb = white->SharedRecord();
        state.WhiteOpened = true;
        state.fsubject = GetFolderItem(subject.parent_path().string());
        QuietWindow window(subject.filename().string(), GetFolderItem(output.string()));
        Batch(state, window).BtnProcess_Action();
        if (Contents(subject) != before) std::abort();  // a subject is never written
    }
    std::filesystem::remove_all(output);
}

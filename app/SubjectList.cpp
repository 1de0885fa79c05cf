#include "SubjectList.h"

#include "Batch.h"
#include "FileTypes.h"
#include "FolderItem.h"

void SubjectList::ChooseFolder(std::shared_ptr<FolderItem> folder) {
    state_.fsubject =
        folder ? std::move(folder) : host_.UserDialogs().SelectFolder("Select the image folder");
    if (!state_.fsubject) return;
    // Cleared ahead of any change to the list, so no row shows a former message.
    state_.EqualizationCompleted = false;
    host_.SetResultText("");
    for (std::string& message : state_.ErrorMessages) message.clear();
    host_.SetFolderText(state_.fsubject->Name());
    host_.DeleteAllRows();
    std::size_t count = 0;
    const FileTypes& types = FileTypes::Instance();
    for (const FolderItem& item : state_.fsubject->Children()) {
        if (item.Directory() || types.TypeOf(item.Name()) != types.ImageTiff().Name) continue;
        host_.AddRow(item.Name());
        ++count;
    }
    // One entry more than the list has rows.
    state_.ErrorMessages.resize(count + 1);
    if (state_.library) NameCards();
}

// With a card library, each row's message says which card the subject gets,
// or why none.
void SubjectList::NameCards() {
    for (std::int64_t row = 0; row < host_.ListCount(); ++row) {
        const std::string path = state_.fsubject->NativePath() + "/" + host_.FileName(row);
        state_.SetErrorMessage(row, CardMessage(*state_.library, path));
    }
}

void SubjectList::UpdateSelectedAndProcess() {
    bool any = false;
    for (std::int64_t row = 0; row < host_.ListCount() && !any; ++row) any = host_.Ticked(row);
    state_.SubjectSelected = any;
    host_.SetProcessEnabled(state_.ProcessAllowed());
}

void SubjectList::TickOnly(const std::set<std::string>& names) {
    for (std::int64_t row = 0; row < host_.ListCount(); ++row)
        host_.SetTicked(row, names.count(host_.FileName(row)) > 0);
    UpdateSelectedAndProcess();
}

void SubjectList::TickChanged() {
    UpdateSelectedAndProcess();
}

void SubjectList::SelectAll(bool ticked) {
    for (std::int64_t row = 0; row < host_.ListCount(); ++row) host_.SetTicked(row, ticked);
    host_.SetSelectAllCaption(ticked ? "Unselect All" : "Select All");
    UpdateSelectedAndProcess();
}

// With no row selected there is no message to show.
void SubjectList::RowSelected(std::int64_t row) {
    if (!state_.EqualizationCompleted && !state_.library) return;
    const bool known = row >= 0 && static_cast<std::size_t>(row) < state_.ErrorMessages.size();
    host_.SetResultText(known ? state_.ErrorMessages[static_cast<std::size_t>(row)] : "");
}

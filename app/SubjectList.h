#pragma once

#include <cstdint>
#include <memory>
#include <set>
#include <string>

#include "Dialogs.h"
#include "WindowState.h"

// What the subject list's handlers need of the main window's controls.
class SubjectListHost {
  public:
    virtual ~SubjectListHost() = default;

    virtual std::int64_t ListCount() = 0;
    virtual bool Ticked(std::int64_t row) = 0;
    virtual void SetTicked(std::int64_t row, bool ticked) = 0;
    virtual void DeleteAllRows() = 0;
    // A new unticked row with the file's name.
    virtual void AddRow(const std::string& name) = 0;
    virtual void SetFolderText(const std::string& text) = 0;
    virtual void SetResultText(const std::string& text) = 0;
    // Sets the "Select All" box's caption and redraws it at once.
    virtual void SetSelectAllCaption(const std::string& caption) = 0;
    virtual void SetProcessEnabled(bool enabled) = 0;
    virtual std::string FileName(std::int64_t row) = 0;
    virtual Dialogs& UserDialogs() = 0;
};

// The subject folder's TIFFs, one list row each, their ticks and, after a
// batch, each row's message.
class SubjectList {
  public:
    SubjectList(WindowState& state, SubjectListHost& host) : state_(state), host_(host) {}

    // Asks for a folder, unless one is given (dropped on the window), and
    // lists its TIFFs, in the folder's order. A cancel forgets the folder but
    // leaves the list as it was.
    void ChooseFolder(std::shared_ptr<FolderItem> folder = nullptr);
    // Ticks exactly the rows of these names, as the user's ticks would.
    void TickOnly(const std::set<std::string>& names);
    // A tick changed by the user.
    void TickChanged();
    // The "Select All" box, now ticked or not, sets every row alike.
    void SelectAll(bool ticked);
    // The selected row changed; -1 for none.
    void RowSelected(std::int64_t row);

  private:
    void UpdateSelectedAndProcess();
    void NameCards();

    WindowState& state_;
    SubjectListHost& host_;
};

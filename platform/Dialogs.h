#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

class FolderItem;

// The modal questions the program asks. The window answers them with real
// dialogs; tests answer them with prepared files.
class Dialogs {
  public:
    virtual ~Dialogs() = default;
    // Each gives nil when the user cancels.
    virtual std::shared_ptr<FolderItem> GetOpenFolderItem(const std::string& fileType) = 0;
    virtual std::shared_ptr<FolderItem> GetSaveFolderItem(const std::string& fileType,
                                                          const std::string& suggestedName) = 0;
    virtual std::shared_ptr<FolderItem> SelectFolder(const std::string& prompt) = 0;
    virtual void MsgBox(const std::string& text) = 0;
    // One of the items, `current` offered first; nullopt when the user cancels.
    virtual std::optional<std::string> ChooseItem(const std::string& prompt,
                                                  const std::vector<std::string>& items,
                                                  const std::string& current) = 0;
    // Shows a document in the desktop's viewer for its kind (a page in the browser).
    virtual void OpenDocument(const std::string& path) = 0;
};

// The user's request to stop, and the event pump that lets it arrive.
class EventPump {
  public:
    virtual ~EventPump() = default;
    // True once the user has asked to stop since the running operation began.
    virtual bool UserCancelled() = 0;
    // Runs the pending interface events, then returns.
    virtual void DoEvents() = 0;
};

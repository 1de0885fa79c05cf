#pragma once

#include <QPointer>
#include <QWidget>

#include "Dialogs.h"

// The program's questions as the desktop's own dialogs, over the given window.
class WindowDialogs final : public Dialogs {
  public:
    explicit WindowDialogs(QWidget* parent) : parent_(parent) {}

    std::shared_ptr<FolderItem> GetOpenFolderItem(const std::string& fileType) override;
    std::shared_ptr<FolderItem> GetSaveFolderItem(const std::string& fileType,
                                                  const std::string& suggestedName) override;
    std::shared_ptr<FolderItem> SelectFolder(const std::string& prompt) override;
    void MsgBox(const std::string& text) override;
    std::optional<std::string> ChooseItem(const std::string& prompt,
                                          const std::vector<std::string>& items,
                                          const std::string& current) override;
    void OpenDocument(const std::string& path) override;

  private:
    QPointer<QWidget> parent_;
};

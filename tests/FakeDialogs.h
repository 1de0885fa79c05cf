#pragma once

#include <deque>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "Dialogs.h"
#include "FolderItem.h"

// Answers the program's questions with prepared paths (an empty path is a
// cancel) and records the messages it was given.
class FakeDialogs final : public Dialogs {
  public:
    std::deque<std::filesystem::path> openAnswers;
    std::deque<std::filesystem::path> folderAnswers;
    std::deque<std::filesystem::path> saveAnswers;
    std::vector<std::string> messages;
    std::vector<std::string> openTypes;
    std::vector<std::string> folderPrompts;
    std::vector<std::string> saveProposals;
    std::deque<std::string> itemAnswers;  // an empty answer is a cancel
    std::vector<std::string> documents;

    std::shared_ptr<FolderItem> GetOpenFolderItem(const std::string& fileType) override {
        openTypes.push_back(fileType);
        return Next(openAnswers);
    }
    std::shared_ptr<FolderItem> GetSaveFolderItem(const std::string&,
                                                  const std::string& suggestedName) override {
        saveProposals.push_back(suggestedName);
        return Next(saveAnswers);
    }
    std::shared_ptr<FolderItem> SelectFolder(const std::string& prompt) override {
        folderPrompts.push_back(prompt);
        return Next(folderAnswers);
    }
    void MsgBox(const std::string& text) override { messages.push_back(text); }
    std::optional<std::string> ChooseItem(const std::string&, const std::vector<std::string>&,
                                          const std::string&) override {
        if (itemAnswers.empty() || itemAnswers.front().empty()) return std::nullopt;
        std::string answer = itemAnswers.front();
        itemAnswers.pop_front();
        return answer;
    }
    void OpenDocument(const std::string& path) override { documents.push_back(path); }

  private:
    static std::shared_ptr<FolderItem> Next(std::deque<std::filesystem::path>& answers) {
        if (answers.empty()) return nullptr;
        const std::filesystem::path path = answers.front();
        answers.pop_front();
        return path.empty() ? nullptr : std::make_shared<FolderItem>(path);
    }
};

#include "WindowDialogs.h"

#include <QDesktopServices>
#include <QFileDialog>
#include <QFileInfo>
#include <QInputDialog>
#include <QMessageBox>
#include <QStringList>
#include <QUrl>
#include <algorithm>

#include "FileTypes.h"
#include "FolderItem.h"
#include "WindowSettings.h"

namespace {
// "image/tiff (*.jfx *.tif *.tiff)": the file type's extensions as a filter.
QString FilterFor(const std::string& fileType) {
    const FileType* type = FileTypes::Instance().Find(fileType);
    if (!type) return QString();
    QStringList patterns;
    for (const std::string& extension : type->ExtensionList())
        patterns << "*" + QString::fromStdString(extension);
    return QString::fromStdString(type->Name) + " (" + patterns.join(' ') + ")";
}

// The chosen file or folder; where it lies is kept as the place the question
// starts in next time.
std::shared_ptr<FolderItem> ItemFor(const QString& path, const std::string& question, bool folder) {
    if (path.isEmpty()) return nullptr;
    window_settings::KeepPlace(question, folder ? path : QFileInfo(path).absolutePath());
    return GetFolderItem(path.toStdString());
}

// Which of the kept places a folder question starts in.
std::string QuestionOf(const std::string& prompt) {
    if (prompt == "Select the image folder") return "subjects";
    if (prompt == "Select the folder for the equalized images") return "output";
    if (prompt == "Select the folder of white cards") return "library";
    return "report";
}
}  // namespace

std::shared_ptr<FolderItem> WindowDialogs::GetOpenFolderItem(const std::string& fileType) {
    return ItemFor(QFileDialog::getOpenFileName(parent_, QString(), window_settings::Place("card"),
                                                FilterFor(fileType)),
                   "card", false);
}

std::shared_ptr<FolderItem> WindowDialogs::GetSaveFolderItem(const std::string& fileType,
                                                             const std::string& suggestedName) {
    const QString start = window_settings::Place("output");
    const QString proposed = QString::fromStdString(suggestedName);
    return ItemFor(QFileDialog::getSaveFileName(parent_, QString(),
                                                start.isEmpty() ? proposed : start + "/" + proposed,
                                                FilterFor(fileType)),
                   "output", false);
}

std::shared_ptr<FolderItem> WindowDialogs::SelectFolder(const std::string& prompt) {
    const std::string question = QuestionOf(prompt);
    return ItemFor(QFileDialog::getExistingDirectory(parent_, QString::fromStdString(prompt),
                                                     window_settings::Place(question)),
                   question, true);
}

void WindowDialogs::MsgBox(const std::string& text) {
    QMessageBox::information(parent_, QString(), QString::fromStdString(text));
}

std::optional<std::string> WindowDialogs::ChooseItem(const std::string& prompt,
                                                     const std::vector<std::string>& items,
                                                     const std::string& current) {
    QStringList choices;
    for (const std::string& item : items) choices << QString::fromStdString(item);
    bool chosen = false;
    const QString answer = QInputDialog::getItem(
        parent_, QString(), QString::fromStdString(prompt), choices,
        std::max<int>(0, static_cast<int>(choices.indexOf(QString::fromStdString(current)))), false,
        &chosen);
    if (!chosen) return std::nullopt;
    return answer.toStdString();
}

void WindowDialogs::OpenDocument(const std::string& path) {
    QDesktopServices::openUrl(QUrl::fromLocalFile(QString::fromStdString(path)));
}

#include "WindowDialogs.h"

#include <QFileDialog>
#include <QMessageBox>
#include <QStringList>

#include "FileTypes.h"
#include "FolderItem.h"

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

std::shared_ptr<FolderItem> ItemFor(const QString& path) {
    if (path.isEmpty()) return nullptr;
    return GetFolderItem(path.toStdString());
}
}  // namespace

std::shared_ptr<FolderItem> WindowDialogs::GetOpenFolderItem(const std::string& fileType) {
    return ItemFor(
        QFileDialog::getOpenFileName(parent_, QString(), QString(), FilterFor(fileType)));
}

std::shared_ptr<FolderItem> WindowDialogs::GetSaveFolderItem(const std::string& fileType,
                                                             const std::string& suggestedName) {
    return ItemFor(QFileDialog::getSaveFileName(
        parent_, QString(), QString::fromStdString(suggestedName), FilterFor(fileType)));
}

std::shared_ptr<FolderItem> WindowDialogs::SelectFolder(const std::string& prompt) {
    return ItemFor(QFileDialog::getExistingDirectory(parent_, QString::fromStdString(prompt)));
}

void WindowDialogs::MsgBox(const std::string& text) {
    QMessageBox::information(parent_, QString(), QString::fromStdString(text));
}

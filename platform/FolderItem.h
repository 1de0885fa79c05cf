#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

// A handle on a file or folder, present or not.
class FolderItem {
  public:
    explicit FolderItem(std::filesystem::path path) : path_(std::move(path)) {}

    const std::filesystem::path& Path() const { return path_; }
    std::string Name() const { return path_.filename().string(); }
    std::string NativePath() const { return path_.string(); }

    bool Exists() const;
    bool Directory() const;
    bool IsWriteable() const;
    std::int64_t Length() const;

    // The item of that name directly inside this folder. nil for a name that
    // would lead anywhere else ("", ".", "..", or one holding a separator), so
    // a joined path can never leave the folder.
    std::shared_ptr<FolderItem> Child(const std::string& name) const;
    // The folder's entries, sorted by name so that every run lists them alike.
    std::vector<FolderItem> Children() const;
    // Makes dest a byte-for-byte copy of this file, replacing what was there.
    bool CopyFileTo(const FolderItem& dest) const;

  private:
    std::filesystem::path path_;
};

// The item for an absolute path, existing or not; nil when the path is empty
// or relative.
std::shared_ptr<FolderItem> GetFolderItem(const std::string& path);

#include "FolderItem.h"

#include <algorithm>
#include <cstdio>
#include <system_error>

namespace fs = std::filesystem;

bool FolderItem::Exists() const {
    std::error_code ec;
    return fs::exists(path_, ec);
}

bool FolderItem::Directory() const {
    std::error_code ec;
    return fs::is_directory(path_, ec);
}

// Asking the system to open the file for update is the only test that agrees
// with every permission scheme (and with root); nothing is written.
bool FolderItem::IsWriteable() const {
    if (Directory()) return false;
    std::FILE* f = std::fopen(path_.c_str(), "r+b");
    if (!f) return false;
    std::fclose(f);
    return true;
}

std::int64_t FolderItem::Length() const {
    std::error_code ec;
    const auto size = fs::file_size(path_, ec);
    return ec ? 0 : static_cast<std::int64_t>(size);
}

std::shared_ptr<FolderItem> FolderItem::Child(const std::string& name) const {
    if (name.empty() || name == "." || name == ".." ||
        name.find_first_of("/\\") != std::string::npos || name.find('\0') != std::string::npos)
        return nullptr;
    return std::make_shared<FolderItem>(path_ / name);
}

std::vector<FolderItem> FolderItem::Children() const {
    std::vector<FolderItem> items;
    std::error_code ec;
    for (fs::directory_iterator it(path_, ec), end; !ec && it != end; it.increment(ec))
        items.emplace_back(it->path());
    std::sort(items.begin(), items.end(),
              [](const FolderItem& a, const FolderItem& b) { return a.Name() < b.Name(); });
    return items;
}

bool FolderItem::CopyFileTo(const FolderItem& dest) const {
    std::error_code ec;
    fs::copy_file(path_, dest.path_, fs::copy_options::overwrite_existing, ec);
    return !ec;
}

std::shared_ptr<FolderItem> GetFolderItem(const std::string& path) {
    if (path.empty() || path.find('\0') != std::string::npos) return nullptr;
    const fs::path p(path);
    if (!p.is_absolute()) return nullptr;
    return std::make_shared<FolderItem>(p.lexically_normal());
}

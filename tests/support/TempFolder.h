#pragma once

#include <cstdlib>
#include <filesystem>
#include <string>

// A fresh folder under /tmp for one test, removed with everything in it.
class TempFolder {
  public:
    TempFolder() {
        std::string pattern =
            (std::filesystem::temp_directory_path() / "brisavane-XXXXXX").string();
        path_ = ::mkdtemp(pattern.data());
    }
    ~TempFolder() {
        std::error_code ec;
        std::filesystem::remove_all(path_, ec);
    }
    TempFolder(const TempFolder&) = delete;
    TempFolder& operator=(const TempFolder&) = delete;

    const std::filesystem::path& Path() const { return path_; }
    std::filesystem::path operator/(const std::string& name) const { return path_ / name; }

  private:
    std::filesystem::path path_;
};

#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <string>

#include <unistd.h>

// The fuzz input as a real file, since everything under test reads files.
class FuzzFile {
  public:
    FuzzFile(const std::uint8_t* data, std::size_t size, const std::string& name = "input.tif")
        : path_(std::filesystem::temp_directory_path() /
                ("brisavane-fuzz-" + std::to_string(::getpid()) + "-" + name)) {
        std::FILE* f = std::fopen(path_.c_str(), "wb");
        if (size) std::fwrite(data, 1, size, f);
        std::fclose(f);
    }
    ~FuzzFile() { std::filesystem::remove(path_); }
    std::string Path() const { return path_.string(); }

  private:
    std::filesystem::path path_;
};

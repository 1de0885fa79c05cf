#pragma once

#include <sys/mount.h>
#include <unistd.h>

#include <filesystem>
#include <string>

// A small file system in memory mounted over a folder for one test: one that
// runs out of room, or one that takes no writes at all. Needs root; a test
// asks Mounted() and skips without it.
class TmpfsMount {
  public:
    TmpfsMount(const std::filesystem::path& at, const std::string& options, bool readOnly = false)
        : at_(at) {
        if (::geteuid() != 0) return;
        mounted_ =
            ::mount("tmpfs", at.c_str(), "tmpfs", readOnly ? MS_RDONLY : 0, options.c_str()) == 0;
    }
    ~TmpfsMount() {
        if (mounted_) ::umount2(at_.c_str(), MNT_DETACH);
    }
    TmpfsMount(const TmpfsMount&) = delete;
    TmpfsMount& operator=(const TmpfsMount&) = delete;

    bool Mounted() const { return mounted_; }

  private:
    std::filesystem::path at_;
    bool mounted_ = false;
};

#pragma once

#include <sys/types.h>

#include <filesystem>
#include <memory>
#include <string>

// A file that appears under its name whole or not at all. Where the file
// system can (O_TMPFILE: ext4, XFS, Btrfs, tmpfs), it is made without a name
// and given one only when complete, so even a process killed with SIGKILL
// leaves nothing behind. Elsewhere it is made under a hidden name, renamed
// when complete, and removed when it isn't: by its owner, and on SIGINT or
// SIGTERM by the signal's handler before the process ends.
class UnnamedFile {
  public:
    // A new file in folder with the given permissions; hiddenName is its name
    // where the file system can't do without one. nil when it can't be made.
    static std::unique_ptr<UnnamedFile> Make(const std::filesystem::path& folder,
                                             const std::string& hiddenName, mode_t mode);
    ~UnnamedFile();
    UnnamedFile(const UnnamedFile&) = delete;
    UnnamedFile& operator=(const UnnamedFile&) = delete;

    int Descriptor() const { return fd_; }
    // Gives the complete file its name. Without replace, a file that has the
    // name already (one that appeared meanwhile) is left alone and the call
    // fails; with replace, it is replaced in one step. The file is closed.
    bool Publish(const std::filesystem::path& target, bool replace);

  private:
    UnnamedFile(int fd, std::filesystem::path hidden) : fd_(fd), hidden_(std::move(hidden)) {}
    bool LinkUnnamed(const std::filesystem::path& target) const;

    int fd_;
    std::filesystem::path hidden_;  // empty for a file without a name
    int slot_ = -1;                 // its place among the files a signal removes
};

// A file for the program's own use that never has a name, so that nothing
// is left of it however the process ends: O_TMPFILE in folder, or made under
// a name there and unlinked at once. -1 when it can't be made.
int OpenScratchFile(const std::filesystem::path& folder);

// The folder for scratch files: $TMPDIR, or /tmp.
std::filesystem::path ScratchFolder();

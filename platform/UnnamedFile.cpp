#include "UnnamedFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <mutex>

namespace fs = std::filesystem;

namespace {
// The hidden files alive now, for the signal handler to remove. A slot is
// claimed, filled and then marked; the handler only reads marked slots and
// calls unlink, which may be called from a handler.
class HiddenFiles {
  public:
    static HiddenFiles& Instance() {
        static HiddenFiles files;
        return files;
    }
    int Add(const fs::path& path) {
        InstallHandlers();
        const std::string text = path.string();
        if (text.size() >= kPathBytes) return -1;
        for (int k = 0; k < kSlots; ++k) {
            bool free = false;
            if (!claimed_[k].compare_exchange_strong(free, true)) continue;
            std::memcpy(paths_[k].data(), text.c_str(), text.size() + 1);
            live_[k].store(true);
            return k;
        }
        return -1;
    }
    void Remove(int slot) {
        if (slot < 0) return;
        live_[slot].store(false);
        claimed_[slot].store(false);
    }

  private:
    static constexpr int kSlots = 64;
    static constexpr std::size_t kPathBytes = 4096;

    static void OnSignal(int signal) {
        HiddenFiles& files = Instance();
        for (int k = 0; k < kSlots; ++k)
            if (files.live_[k].load()) ::unlink(files.paths_[k].data());
        std::signal(signal, SIG_DFL);
        std::raise(signal);
    }
    // Only where the program hasn't chosen a handler of its own.
    void InstallHandlers() {
        std::call_once(installed_, [] {
            for (int signal : {SIGINT, SIGTERM}) {
                struct sigaction old {};
                if (::sigaction(signal, nullptr, &old) != 0 || old.sa_handler != SIG_DFL) continue;
                struct sigaction ours {};
                ours.sa_handler = OnSignal;
                ::sigemptyset(&ours.sa_mask);
                ::sigaction(signal, &ours, nullptr);
            }
        });
    }

    std::array<std::atomic<bool>, kSlots> claimed_{}, live_{};
    std::array<std::array<char, kPathBytes>, kSlots> paths_{};
    std::once_flag installed_;
};

// The file systems that can't make a file without a name say so in one of these.
bool NoUnnamedFiles(int error) {
    return error == EOPNOTSUPP || error == EISDIR || error == EINVAL || error == ENOENT;
}

int OpenUnnamed(const fs::path& folder, mode_t mode) {
    return ::open(folder.c_str(), O_TMPFILE | O_RDWR | O_CLOEXEC, mode);
}
}  // namespace

std::unique_ptr<UnnamedFile> UnnamedFile::Make(const fs::path& folder,
                                               const std::string& hiddenName, mode_t mode) {
    int fd = OpenUnnamed(folder, S_IRUSR | S_IWUSR);
    if (fd >= 0) {
        if (::fchmod(fd, mode) == 0) return std::unique_ptr<UnnamedFile>(new UnnamedFile(fd, {}));
        ::close(fd);
        return nullptr;
    }
    if (!NoUnnamedFiles(errno)) return nullptr;
    const fs::path hidden = folder / hiddenName;
    // Known to the signal handler before it exists, so that a signal that
    // comes while it is being made still finds it.
    const int slot = HiddenFiles::Instance().Add(hidden);
    fd = ::open(hidden.c_str(), O_RDWR | O_CREAT | O_TRUNC | O_CLOEXEC, S_IRUSR | S_IWUSR);
    if (fd < 0) {
        HiddenFiles::Instance().Remove(slot);
        return nullptr;
    }
    std::unique_ptr<UnnamedFile> file(new UnnamedFile(fd, hidden));
    file->slot_ = slot;
    if (::fchmod(fd, mode) != 0) return nullptr;
    return file;
}

UnnamedFile::~UnnamedFile() {
    if (fd_ >= 0) ::close(fd_);
    if (!hidden_.empty()) ::unlink(hidden_.c_str());
    HiddenFiles::Instance().Remove(slot_);
}

// Through the descriptor's entry in /proc, which any process may link; a
// system without /proc lets a privileged process link the descriptor itself.
bool UnnamedFile::LinkUnnamed(const fs::path& target) const {
    char self[64];
    std::snprintf(self, sizeof self, "/proc/self/fd/%d", fd_);
    if (::linkat(AT_FDCWD, self, AT_FDCWD, target.c_str(), AT_SYMLINK_FOLLOW) == 0) return true;
    if (errno != ENOENT) return false;
    return ::linkat(fd_, "", AT_FDCWD, target.c_str(), AT_EMPTY_PATH) == 0;
}

bool UnnamedFile::Publish(const fs::path& target, bool replace) {
    bool published = false;
    if (hidden_.empty()) {
        // A name can't be linked over another; replacing goes through a
        // hidden link and a rename.
        if (!replace) {
            published = LinkUnnamed(target);
        } else {
            std::string name = ".";
            name.append(target.filename().string()).append(".");
            name.append(std::to_string(::getpid())).append("-").append(std::to_string(fd_));
            const fs::path link = target.parent_path() / name.append(".link");
            published = LinkUnnamed(link) && std::rename(link.c_str(), target.c_str()) == 0;
            if (!published) ::unlink(link.c_str());
        }
    } else if (replace) {
        published = std::rename(hidden_.c_str(), target.c_str()) == 0;
    } else if (::renameat2(AT_FDCWD, hidden_.c_str(), AT_FDCWD, target.c_str(), RENAME_NOREPLACE) ==
               0) {
        published = true;
    } else if (errno == EINVAL || errno == ENOSYS) {
        // Where the file system can't promise it, the test beforehand has to do.
        std::error_code ec;
        published = !fs::exists(target, ec) && std::rename(hidden_.c_str(), target.c_str()) == 0;
    }
    if (published) {
        hidden_.clear();
        HiddenFiles::Instance().Remove(slot_);
        slot_ = -1;
    }
    ::close(fd_);
    fd_ = -1;
    return published;
}

int OpenScratchFile(const fs::path& folder) {
    const int fd = OpenUnnamed(folder, S_IRUSR | S_IWUSR);
    if (fd >= 0 || !NoUnnamedFiles(errno)) return fd;
    std::string name = (folder / "brisavane-scratch-XXXXXX").string();
    const int named = ::mkostemp(name.data(), O_CLOEXEC);
    if (named >= 0) ::unlink(name.c_str());
    return named;
}

fs::path ScratchFolder() {
    const char* tmp = std::getenv("TMPDIR");
    return tmp && *tmp ? fs::path(tmp) : fs::path("/tmp");
}

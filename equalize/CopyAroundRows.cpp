#include "CopyAroundRows.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <limits>
#include <vector>

#include "Exceptions.h"

namespace {
// A file descriptor closed with its owner.
class Descriptor {
  public:
    explicit Descriptor(int fd) : fd_(fd) {}
    ~Descriptor() {
        if (fd_ >= 0) ::close(fd_);
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    int Get() const { return fd_; }

  private:
    int fd_;
};

// Copies [from, to) through memory, where the kernel can't copy by itself.
bool CopyThroughMemory(int in, int out, off_t from, off_t to) {
    std::vector<char> chunk(1 << 20);
    while (from < to) {
        const auto want = static_cast<std::size_t>(std::min<off_t>(to - from, 1 << 20));
        const ssize_t got = ::pread(in, chunk.data(), want, from);
        if (got < 0 && errno == EINTR) continue;
        if (got <= 0) return false;
        for (ssize_t put = 0; put < got;) {
            const ssize_t n = ::pwrite(out, chunk.data() + put, got - put, from + put);
            if (n < 0 && errno == EINTR) continue;
            if (n <= 0) return false;
            put += n;
        }
        from += got;
    }
    return true;
}

// Copies [from, to) of one file to the same place in the other, in the kernel
// where it can: other file systems and older kernels go through memory.
bool CopyRange(int in, int out, off_t from, off_t to) {
    off_t inAt = from, outAt = from;
    while (inAt < to) {
        const ssize_t n =
            ::copy_file_range(in, &inAt, out, &outAt, static_cast<std::size_t>(to - inAt), 0);
        if (n > 0 || (n < 0 && errno == EINTR)) continue;
        if (n == 0) return false;
        if (errno == EXDEV || errno == ENOSYS || errno == EINVAL || errno == EOPNOTSUPP)
            return CopyThroughMemory(in, out, inAt, to);
        return false;
    }
    return true;
}

// Where the pass's rows begin and end, within a file of `size` bytes.
std::pair<off_t, off_t> RowsWithin(const TiffFile& subject, off_t size) {
    const off_t start = std::clamp<std::int64_t>(subject.ImageOffset, 0, size);
    if (subject.ImageHeight <= 0 || subject.BytesPerRow <= 0) return {start, start};
    std::int64_t length = 0;
    if (__builtin_mul_overflow(subject.ImageHeight, subject.BytesPerRow, &length) ||
        length > size - start)
        return {start, size};
    return {start, start + length};
}
}  // namespace

bool CopyAroundRows(const TiffFile& subject, const FolderItem& copy) {
    const Descriptor in(::open(Deref(subject.fi).Path().c_str(), O_RDONLY | O_CLOEXEC));
    struct stat from {};
    if (in.Get() < 0 || ::fstat(in.Get(), &from) != 0 || !S_ISREG(from.st_mode)) return false;
    const Descriptor out(
        ::open(copy.Path().c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, S_IWUSR));
    struct stat to {};
    if (out.Get() < 0 || ::fstat(out.Get(), &to) != 0 || !S_ISREG(to.st_mode) ||
        ::fchmod(out.Get(), from.st_mode) != 0 || ::ftruncate(out.Get(), from.st_size) != 0)
        return false;
    const auto [rowsStart, rowsEnd] = RowsWithin(subject, from.st_size);
    return CopyRange(in.Get(), out.Get(), 0, rowsStart) &&
           CopyRange(in.Get(), out.Get(), rowsEnd, from.st_size);
}

#include "LeftOutCopy.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <limits>
#include <vector>

#include "Exceptions.h"
#include "PositionedIO.h"
#include "TiffFile.h"

namespace {
// A file descriptor closed with its owner.
class Descriptor {
  public:
    explicit Descriptor(int fd) : fd_(fd) {}
    ~Descriptor() {
        if (fd_ >= 0) ::close(fd_);
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(Descriptor&& other) noexcept {
        std::swap(fd_, other.fd_);
        return *this;
    }
    int Get() const { return fd_; }
    int Release() {
        const int fd = fd_;
        fd_ = -1;
        return fd;
    }

  private:
    int fd_;
};

// Copies [from, to) through memory, where the kernel can't copy by itself.
bool CopyThroughMemory(int in, int out, off_t from, off_t to) {
    std::vector<std::uint8_t> chunk(1 << 20);
    while (from < to) {
        const auto want = static_cast<std::size_t>(std::min<off_t>(to - from, 1 << 20));
        const std::size_t got = ReadAtPlace(in, chunk.data(), want, from);
        if (got == 0 || !WriteAtPlace(out, chunk.data(), got, from)) return false;
        from += static_cast<off_t>(got);
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

// The subject open for reading and the copy given the subject's permissions
// and length, its bytes not yet copied.
struct OpenCopy {
    Descriptor in{-1};
    int out = -1;
    off_t length = 0;
};

bool Open(const std::string& subject, int out, OpenCopy& files) {
    files.in = Descriptor(::open(subject.c_str(), O_RDONLY | O_CLOEXEC));
    struct stat from {};
    if (files.in.Get() < 0 || ::fstat(files.in.Get(), &from) != 0 || !S_ISREG(from.st_mode))
        return false;
    files.length = from.st_size;
    files.out = out;
    struct stat to {};
    return out >= 0 && ::fstat(out, &to) == 0 && S_ISREG(to.st_mode) && ::ftruncate(out, 0) == 0 &&
           ::fchmod(out, from.st_mode) == 0 && ::ftruncate(out, from.st_size) == 0;
}

// Copies every byte of the open files but the skipped ranges.
bool CopyAround(const OpenCopy& files, std::vector<ByteRange> skipped) {
    std::sort(skipped.begin(), skipped.end());
    off_t at = 0;
    for (const auto& [start, end] : skipped) {
        const off_t first = std::clamp<off_t>(start, 0, files.length);
        if (first > at && !CopyRange(files.in.Get(), files.out, at, first)) return false;
        at = std::max(at, std::clamp<off_t>(end, first, files.length));
    }
    return CopyRange(files.in.Get(), files.out, at, files.length);
}
}  // namespace

ByteRange RowsOf(const TiffFile& subject) {
    const off_t start = std::max<std::int64_t>(subject.ImageOffset, 0);
    if (subject.ImageHeight <= 0 || subject.BytesPerRow <= 0) return {start, start};
    std::int64_t length = 0, end = 0;
    if (__builtin_mul_overflow(subject.ImageHeight, subject.BytesPerRow, &length) ||
        __builtin_add_overflow(start, length, &end))
        return {start, std::numeric_limits<off_t>::max()};
    return {start, end};
}

bool CopyAround(const std::string& subject, int out, std::vector<ByteRange> skipped) {
    OpenCopy files;
    return Open(subject, out, files) && CopyAround(files, std::move(skipped));
}

std::unique_ptr<LeftOutCopy> LeftOutCopy::Make(const std::string& subject, const FolderItem& output,
                                               std::vector<ByteRange> ranges) {
    Descriptor out(
        ::open(output.Path().c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, S_IWUSR));
    OpenCopy files;
    if (!Open(subject, out.Get(), files) ||
        (files.length > 0 && ::fallocate(out.Get(), 0, 0, files.length) != 0) ||
        !CopyAround(files, ranges))
        return nullptr;
    return std::unique_ptr<LeftOutCopy>(
        new LeftOutCopy(files.in.Release(), out.Release(), files.length, std::move(ranges)));
}

LeftOutCopy::LeftOutCopy(int in, int out, off_t length, std::vector<ByteRange> ranges)
    : in_(in), out_(out), length_(length), ranges_(std::move(ranges)) {
    for (const ByteRange& range : ranges_) written_.push_back(range.first);
}

// What wasn't written is the subject's: the file is then what a whole copy
// rewritten in place up to there would be.
LeftOutCopy::~LeftOutCopy() {
    for (std::size_t k = 0; k < ranges_.size(); ++k) {
        const off_t from = std::max<off_t>(written_[k], 0);
        const off_t to = std::min(ranges_[k].second, length_);
        if (from < to) CopyRange(in_, out_, from, to);
    }
    ::close(in_);
    ::close(out_);
}

#include "MappedWindow.h"

#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>

namespace {
// Small enough that two inputs in work stay well inside the memory a run may
// use, large enough that moving the window costs nothing next to its bytes.
constexpr std::int64_t kWindowBytes = 1 << 20;
}  // namespace

MappedWindow::~MappedWindow() {
    Unmap();
}

void MappedWindow::Unmap() {
    if (base_) ::munmap(base_, length_);
    base_ = nullptr;
    length_ = 0;
}

bool MappedWindow::Holds(std::int64_t position, std::size_t count) const {
    if (!base_ || position < start_) return false;
    const auto offset = static_cast<std::uint64_t>(position - start_);
    return offset <= length_ && count <= length_ - offset;
}

// The file's length is asked anew for every window, so a file cut short since
// the last one is read through the caller's own way instead. The window's
// pages are mapped in at once, which costs one call where touching them would
// cost a fault every few pages.
const std::uint8_t* MappedWindow::At(std::int64_t position, std::size_t count) {
    if (Holds(position, count)) return base_ + (position - start_);
    struct stat file {};
    if (fd_ < 0 || position < 0 || ::fstat(fd_, &file) != 0 || !S_ISREG(file.st_mode) ||
        position > file.st_size || count > static_cast<std::size_t>(file.st_size - position))
        return nullptr;
    const std::int64_t page = ::sysconf(_SC_PAGESIZE);
    const std::int64_t start = position / page * page;
    const std::int64_t end = std::min<std::int64_t>(
        file.st_size, std::max<std::int64_t>(position + count, start + kWindowBytes));
    void* base =
        ::mmap(nullptr, static_cast<std::size_t>(end - start), PROT_READ, MAP_SHARED, fd_, start);
    if (base == MAP_FAILED) return nullptr;
    Unmap();
    base_ = static_cast<std::uint8_t*>(base);
    start_ = start;
    length_ = static_cast<std::size_t>(end - start);
    return base_ + (position - start_);
}

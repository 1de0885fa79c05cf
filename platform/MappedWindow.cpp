#include "MappedWindow.h"

#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <csignal>
#include <mutex>

// The windows mapped now, for the bus error handler to tell its faults from
// others; a window that finds no free place isn't mapped.
struct MappedWindow::Place {
    std::atomic<bool> taken{false};
    std::atomic<std::uintptr_t> base{0};
    std::atomic<std::size_t> length{0};
};

namespace {
using Place = MappedWindow::Place;

// Small enough that two inputs in work stay well inside the memory a run may
// use, large enough that moving the window costs nothing next to its bytes.
constexpr std::int64_t kWindowBytes = 1 << 20;

std::array<Place, 64> places;
struct sigaction previousHandler {};
std::uintptr_t pageBytes = 4096;

bool InAWindow(std::uintptr_t address) {
    for (const Place& place : places) {
        const std::uintptr_t base = place.base.load();
        if (base && address >= base && address - base < place.length.load()) return true;
    }
    return false;
}

// A file cut short by another program while a window of it is mapped makes
// the window's pages past its new end fault. They read as zeros instead: rows
// from them are wrong, as rows read from a file that changes under the read
// always are, but the program goes on. Other faults go where they went before.
void OnBusError(int signal, siginfo_t* info, void* context) {
    const auto address = reinterpret_cast<std::uintptr_t>(info->si_addr);
    if (InAWindow(address) &&
        ::mmap(reinterpret_cast<void*>(address / pageBytes * pageBytes), pageBytes, PROT_READ,
               MAP_PRIVATE | MAP_ANONYMOUS | MAP_FIXED, -1, 0) != MAP_FAILED)
        return;
    if (previousHandler.sa_flags & SA_SIGINFO)
        previousHandler.sa_sigaction(signal, info, context);
    else if (previousHandler.sa_handler != SIG_DFL && previousHandler.sa_handler != SIG_IGN)
        previousHandler.sa_handler(signal);
    else
        std::signal(SIGBUS, SIG_DFL);  // the fault comes again and ends the program
}

void HandleBusErrors() {
    static std::once_flag once;
    std::call_once(once, [] {
        pageBytes = static_cast<std::uintptr_t>(::sysconf(_SC_PAGESIZE));
        struct sigaction action {};
        action.sa_sigaction = OnBusError;
        action.sa_flags = SA_SIGINFO;
        sigemptyset(&action.sa_mask);
        ::sigaction(SIGBUS, &action, &previousHandler);
    });
}

Place* FreePlace() {
    for (Place& place : places) {
        bool taken = false;
        if (place.taken.compare_exchange_strong(taken, true)) return &place;
    }
    return nullptr;
}
}  // namespace

MappedWindow::~MappedWindow() {
    Unmap();
    if (place_) place_->taken = false;
}

void MappedWindow::Unmap() {
    if (!base_) return;
    place_->base = 0;
    ::munmap(base_, length_);
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
    if (!place_ && !(place_ = FreePlace())) return nullptr;
    HandleBusErrors();
    const auto page = static_cast<std::int64_t>(pageBytes);
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
    place_->length = length_;
    place_->base = reinterpret_cast<std::uintptr_t>(base_);
    return base_ + (position - start_);
}

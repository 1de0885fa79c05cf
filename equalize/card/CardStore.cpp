#include "CardStore.h"

#include <unistd.h>

#include <algorithm>
#include <cstring>

#include "PositionedIO.h"
#include "UnnamedFile.h"

namespace {
// Rows are written a band of about this many bytes a plane at a time.
constexpr std::size_t kBandBytes = 256 * 1024;
}  // namespace

CardStore::CardStore(int fd, std::uint32_t width, std::uint32_t height)
    : fd_(fd), width_(width), height_(height) {}

CardStore::~CardStore() {
    if (fd_ >= 0) ::close(fd_);
}

std::shared_ptr<CardStore> CardStore::Direct(int fd, std::vector<std::uint64_t> strips,
                                             std::uint32_t rowsPerStrip, std::uint32_t width,
                                             std::uint32_t height, SampleKind kind) {
    std::shared_ptr<CardStore> store(new CardStore(fd, width, height));
    store->direct_ = true;
    store->strips_ = std::move(strips);
    store->rowsPerStrip_ = std::max<std::uint32_t>(rowsPerStrip, 1);
    store->kind_ = kind;
    store->written_ = store->pendingFrom_ = height;
    return store;
}

std::shared_ptr<CardStore> CardStore::Scratch(std::uint32_t width, std::uint32_t height,
                                              Plane plane, bool dark, bool greenOnly) {
    const int fd = OpenScratchFile(ScratchFolder());
    if (fd < 0) return nullptr;
    std::shared_ptr<CardStore> store(new CardStore(fd, width, height));
    store->plane_ = plane;
    store->dark_ = dark;
    store->kept_[0] = store->kept_[2] = !greenOnly;
    store->kept_[3] = dark;
    return store;
}

std::size_t CardStore::RowBytes(int plane) const {
    const std::size_t samples = direct_ ? 3 : plane == 3 ? 3 : 1;
    const std::size_t width = direct_ ? (kind_ == SampleKind::U8 ? 1 : 2)
                              : plane == 3 || plane_ == Plane::Samples ? 2
                                                                       : 4;
    return std::size_t{width_} * samples * width;
}

// A scratch file's planes kept one after the other, each row after row; the
// dark frame's rows after the colours'.
std::uint64_t CardStore::PlaceOf(int plane, std::uint32_t y) const {
    if (direct_) return strips_[y / rowsPerStrip_] + std::uint64_t{y % rowsPerStrip_} * RowBytes(0);
    std::uint64_t at = 0;
    for (int before = 0; before < plane; ++before)
        if (kept_[before]) at += std::uint64_t{height_} * RowBytes(before);
    return at + std::uint64_t{y} * RowBytes(plane);
}

bool CardStore::Read(int plane, std::uint32_t y, std::uint32_t rows, std::uint8_t* dest) const {
    // Only rows already in the file, and a direct card has one plane.
    if (y + std::uint64_t{rows} > pendingFrom_ || (direct_ ? plane != 0 : !kept_[plane]))
        return false;
    const std::size_t rowBytes = RowBytes(plane);
    // A direct card's band may run over into the next strip, which lies elsewhere.
    for (std::uint32_t done = 0; done < rows;) {
        const std::uint32_t r = y + done;
        // A file may name fewer strips than its rows need.
        if (direct_ && r / rowsPerStrip_ >= strips_.size()) return false;
        const std::uint32_t run =
            direct_ ? std::min(rows - done, rowsPerStrip_ - r % rowsPerStrip_) : rows - done;
        const std::uint64_t at = PlaceOf(plane, r);
        const std::size_t length = std::size_t{run} * rowBytes;
        if (at > std::uint64_t{INT64_MAX} - length ||
            ReadAtPlace(fd_, dest + std::size_t{done} * rowBytes, length,
                        static_cast<std::int64_t>(at)) != length)
            return false;
        done += run;
    }
    return true;
}

bool CardStore::Append(const std::uint32_t* colours, const std::uint16_t* dark) {
    const std::size_t pixels = width_;
    for (int c = 0; c < 3; ++c) {
        if (!kept_[c]) continue;
        std::vector<std::uint8_t>& band = pending_[c];
        const std::size_t at = band.size();
        band.resize(at + RowBytes(c));
        for (std::size_t p = 0; p < pixels; ++p) {
            const std::uint32_t value = colours[p * 3 + c];
            if (plane_ == Plane::Samples) {
                const auto sample = static_cast<std::uint16_t>(value);
                std::memcpy(&band[at + p * 2], &sample, 2);
            } else {
                std::memcpy(&band[at + p * 4], &value, 4);
            }
        }
    }
    if (dark_) {
        std::vector<std::uint8_t>& band = pending_[3];
        const auto* bytes = reinterpret_cast<const std::uint8_t*>(dark);
        band.insert(band.end(), bytes, bytes + RowBytes(3));
    }
    ++written_;
    if (pending_[1].size() < kBandBytes && written_ < height_) return true;
    for (int plane = 0; plane < (dark_ ? 4 : 3); ++plane)
        if (!Flush(plane)) return false;
    pendingFrom_ = written_;
    return true;
}

bool CardStore::Flush(int plane) {
    std::vector<std::uint8_t>& band = pending_[plane];
    const bool ok =
        band.empty() || WriteAtPlace(fd_, band.data(), band.size(),
                                     static_cast<std::int64_t>(PlaceOf(plane, pendingFrom_)));
    band.clear();
    return ok;
}

bool CardStore::Finish() {
    for (int plane = 0; plane < (dark_ ? 4 : 3); ++plane)
        if (!Flush(plane)) return false;
    pendingFrom_ = written_;
    return written_ == height_;
}

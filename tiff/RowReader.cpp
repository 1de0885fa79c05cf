#include "RowReader.h"

#include <algorithm>
#include <cstring>

#include "MemoryBlock.h"
#include "WrappingMath.h"

RowReader::RowReader(BinaryStream& stream, std::int64_t firstRow, std::size_t rowBytes)
    : stream_(stream), rowBytes_(rowBytes), next_(std::max<std::int64_t>(firstRow, 0)) {
    stream_.SetPosition(next_);
}

// A stream closed before the walk ended has no position left to set.
RowReader::~RowReader() {
    if (stream_.IsOpen()) Settle();
}

// A short read leaves the walk at the end of the file, as a stream's read would.
std::size_t RowReader::ReadInto(std::uint8_t* dest, std::size_t count) {
    at_ = end_ = 0;
    const std::size_t got = stream_.ReadAt(next_, dest, count);
    next_ = WrappingAdd(next_, static_cast<std::int64_t>(got));
    return got;
}

std::size_t RowReader::Read(std::uint8_t* dest) {
    return ReadInto(dest, rowBytes_);
}

std::size_t RowReader::Read(MemoryBlock& dest) {
    return ReadInto(dest.Data(), std::min(rowBytes_, dest.Size()));
}

// A row cut short by the end of the file keeps the rest of the row before it,
// as a read into the same buffer would have, also when that row came from a band.
const std::uint8_t* RowReader::Next(MemoryBlock& fallback) {
    if ((rowBytes_ > 0 && end_ - at_ >= rowBytes_) || Refill()) {
        const std::uint8_t* row = bands_[band_].data() + at_;
        at_ += rowBytes_;
        next_ += static_cast<std::int64_t>(rowBytes_);
        lastFromBand_ = row;
        return row;
    }
    if (lastFromBand_)
        std::memcpy(fallback.Data(), lastFromBand_, std::min(rowBytes_, fallback.Size()));
    lastFromBand_ = nullptr;
    Read(fallback);
    return fallback.Data();
}

// Bands of about 256 KiB: large enough that the calls cost little, small
// enough to stay in the processor's cache while their rows are worked on. A
// row longer than that is read on its own into the caller's buffer.
bool RowReader::Refill() {
    constexpr std::size_t kBandBytes = 256 * 1024;
    if (rowBytes_ == 0 || rowBytes_ > kBandBytes) return false;
    std::vector<std::uint8_t>& band = bands_[1 - band_];
    band.resize(kBandBytes / rowBytes_ * rowBytes_);
    const std::size_t got = stream_.ReadAt(next_, band.data(), band.size());
    if (got < rowBytes_) return false;
    band_ = 1 - band_;
    at_ = 0;
    end_ = got - got % rowBytes_;
    return true;
}

void RowReader::Skip() {
    at_ = end_ = 0;
    next_ = std::max<std::int64_t>(WrappingAdd(next_, static_cast<std::int64_t>(rowBytes_)), 0);
}

void RowReader::Settle() {
    stream_.SetPosition(next_);
}

#include "RowReader.h"

#include <algorithm>

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

void RowReader::Skip() {
    next_ = std::max<std::int64_t>(WrappingAdd(next_, static_cast<std::int64_t>(rowBytes_)), 0);
}

void RowReader::Settle() {
    stream_.SetPosition(next_);
}

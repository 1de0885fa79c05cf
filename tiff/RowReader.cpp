#include "RowReader.h"

#include <algorithm>

#include "MemoryBlock.h"
#include "WrappingMath.h"

RowReader::RowReader(BinaryStream& stream, std::int64_t firstRow, std::size_t rowBytes)
    : stream_(stream), rowBytes_(rowBytes) {
    stream_.SetPosition(firstRow);
}

std::size_t RowReader::Read(std::uint8_t* dest) {
    Settle();
    return stream_.Read(dest, rowBytes_);
}

std::size_t RowReader::Read(MemoryBlock& dest) {
    Settle();
    return stream_.Read(dest, rowBytes_);
}

void RowReader::Skip() {
    const std::int64_t from = owed_ ? *owed_ : stream_.Position();
    owed_ = std::max<std::int64_t>(WrappingAdd(from, static_cast<std::int64_t>(rowBytes_)), 0);
}

void RowReader::Settle() {
    if (owed_) stream_.SetPosition(*owed_);
    owed_.reset();
}

#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "BinaryStream.h"

class MemoryBlock;

// Walks the pixel rows of a file from the first one down, reading a row or
// stepping over it. Each row read goes from the file straight into the
// caller's buffer in one read at its own place, with no copy through the
// stream's buffer, and a row stepped over costs nothing, so a preview of a
// large image reads a few hundred rows instead of the whole file. A walk over
// every row (Next) reads a band of rows at a time, in one read each: fewer
// calls than a read a row, and cheaper than mapping the file's pages. The
// stream is put where a row-by-row walk would have left it when asked, and
// when the walk ends.
class RowReader {
  public:
    // Puts the stream at the first row.
    RowReader(BinaryStream& stream, std::int64_t firstRow, std::size_t rowBytes);
    ~RowReader();
    RowReader(const RowReader&) = delete;
    RowReader& operator=(const RowReader&) = delete;

    // Reads the next row; a row cut short by the end of the file leaves the rest
    // of dest as it was, and a block never takes more than it holds. Returns
    // the bytes that arrived.
    std::size_t Read(std::uint8_t* dest);
    std::size_t Read(MemoryBlock& dest);
    // The next row from the band read last (valid until the next call), when
    // the whole row is in the file; else the row read into fallback as Read
    // does, and fallback's bytes.
    const std::uint8_t* Next(MemoryBlock& fallback);
    void Skip();
    // Puts the stream behind the last row walked.
    void Settle();

    std::size_t RowBytes() const { return rowBytes_; }

  private:
    std::size_t ReadInto(std::uint8_t* dest, std::size_t count);
    // Reads the rows from the next one on into the band not in use, as many
    // whole ones as a read brings, and hands rows out from it; false, leaving
    // the band in use as it was, when not one whole row is left in the file
    // or a row is longer than a band.
    bool Refill();

    BinaryStream& stream_;
    std::size_t rowBytes_;
    std::int64_t next_;  // where the next row starts
    // Two bands in turn, so that the row handed out last stays whole while
    // the next band is read.
    std::vector<std::uint8_t> bands_[2];
    int band_ = 0;                                // the band rows are handed out from
    std::size_t at_ = 0, end_ = 0;                // its next row and the end of its whole rows
    const std::uint8_t* lastFromBand_ = nullptr;  // the last row Next gave from a band
};

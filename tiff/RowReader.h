#pragma once

#include <cstddef>
#include <cstdint>

#include "BinaryStream.h"
#include "MappedWindow.h"

class MemoryBlock;

// Walks the pixel rows of a file from the first one down, reading a row or
// stepping over it. Each row goes from the file straight into the caller's
// buffer in one read at its own place, with no copy through the stream's
// buffer, and a row stepped over costs nothing, so a preview of a large image
// reads a few hundred rows instead of the whole file. The stream is put where
// a row-by-row walk would have left it when asked, and when the walk ends.
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
    // The next row where it lies, in the file's own bytes in memory (valid
    // until the next call), when the whole row is in the file; else the row
    // read into fallback as Read does, and fallback's bytes.
    const std::uint8_t* Next(MemoryBlock& fallback);
    void Skip();
    // Puts the stream behind the last row walked.
    void Settle();

    std::size_t RowBytes() const { return rowBytes_; }

  private:
    std::size_t ReadInto(std::uint8_t* dest, std::size_t count);

    BinaryStream& stream_;
    std::size_t rowBytes_;
    std::int64_t next_;  // where the next row starts
    MappedWindow window_;
    const std::uint8_t* lastInPlace_ = nullptr;  // the last row Next gave from the file
};

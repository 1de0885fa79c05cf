#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>

#include "BinaryStream.h"

class MemoryBlock;

// Walks the pixel rows of a file from the first one down, through the
// stream's own buffer, reading a row or stepping over it. Rows stepped over
// cost no read: a run of them is one jump, made at the next read, so a preview
// of a large image reads a few hundred rows instead of the whole file. The
// stream ends where a row-by-row walk would have left it.
class RowReader {
  public:
    // Puts the stream at the first row.
    RowReader(BinaryStream& stream, std::int64_t firstRow, std::size_t rowBytes);

    // Reads the next row; a row cut short by the end of the file leaves the rest
    // of dest as it was, and a block never takes more than it holds. Returns
    // the bytes that arrived.
    std::size_t Read(std::uint8_t* dest);
    std::size_t Read(MemoryBlock& dest);
    void Skip();
    // Makes the jump still owed, so the stream stands behind the last row walked.
    void Settle();

    std::size_t RowBytes() const { return rowBytes_; }

  private:
    BinaryStream& stream_;
    std::size_t rowBytes_;
    std::optional<std::int64_t> owed_;  // where the skipped rows end
};

#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <utility>
#include <vector>

// How numbers stand in a TIFF: its byte order, and the widths of a
// directory's count, offsets and entries (BigTIFF's or classic TIFF's).
struct FileShape {
    bool bigEndian = false;
    bool big = false;

    std::size_t HeaderBytes() const { return big ? 16 : 8; }
    std::size_t CountBytes() const { return big ? 8 : 2; }
    std::size_t OffsetBytes() const { return big ? 8 : 4; }
    std::size_t EntryBytes() const { return big ? 20 : 12; }
    // Where the header holds the first directory's offset.
    std::size_t FirstOffsetAt() const { return big ? 8 : 4; }

    std::uint64_t Load(const std::uint8_t* at, std::size_t bytes) const;
    void Store(std::uint8_t* at, std::size_t bytes, std::uint64_t value) const;
};

// A stretch of a file's bytes, [first, second).
using FileSpan = std::pair<std::uint64_t, std::uint64_t>;

// The first directory of a TIFF as it stands in the file, read by its own
// bytes: its entries and its next directory's offset, unparsed, for a
// writer that must keep them as they are.
struct DirectoryBytes {
    FileShape shape;
    std::uint64_t offset = 0;
    std::vector<std::uint8_t> entries;  // EntryBytes() each
    std::vector<std::uint8_t> next;     // OffsetBytes()

    std::size_t Count() const { return entries.size() / shape.EntryBytes(); }
    // Every byte the directory's tags stand on: the header, the directory
    // itself and each value too long to stand inside its entry (as far as
    // the file goes: fileSize bounds a count no file holds).
    std::vector<FileSpan> TagBytes(std::uint64_t fileSize) const;
};

// nullopt for a file that doesn't start as a TIFF or whose first directory
// runs past its end or claims more than 65536 entries.
std::optional<DirectoryBytes> ReadDirectoryBytes(int fd);

// Every byte the file's tags stand on as far as they can be told, for a
// writer that must not touch them: the directory's TagBytes, or, for a first
// directory that can't be read whole, the header and all from the
// directory's start to the end of the file.
std::vector<FileSpan> TagBytesOf(int fd, std::uint64_t fileSize);

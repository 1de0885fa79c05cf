#include "DirectoryBytes.h"

#include <algorithm>
#include <cstdint>

#include "PositionedIO.h"

namespace {
// A directory of more entries than this is no directory a writer made.
constexpr std::uint64_t kMostEntries = 1u << 16;

// Bytes of one value of a TIFF field type; 1 for a type no reader knows.
std::uint64_t TypeBytes(std::uint64_t type) {
    switch (type) {
        case 3:  // SHORT
        case 8:  // SSHORT
            return 2;
        case 4:   // LONG
        case 9:   // SLONG
        case 11:  // FLOAT
        case 13:  // IFD
            return 4;
        case 5:   // RATIONAL
        case 10:  // SRATIONAL
        case 12:  // DOUBLE
        case 16:  // LONG8
        case 17:  // SLONG8
        case 18:  // IFD8
            return 8;
        default:
            return 1;
    }
}

bool ReadAll(int fd, std::uint8_t* into, std::size_t count, std::uint64_t at) {
    return at <= INT64_MAX && ReadAtPlace(fd, into, count, static_cast<std::int64_t>(at)) == count;
}
}  // namespace

std::uint64_t FileShape::Load(const std::uint8_t* at, std::size_t bytes) const {
    std::uint64_t value = 0;
    for (std::size_t k = 0; k < bytes; ++k)
        value |= std::uint64_t{at[bigEndian ? bytes - 1 - k : k]} << (8 * k);
    return value;
}

void FileShape::Store(std::uint8_t* at, std::size_t bytes, std::uint64_t value) const {
    for (std::size_t k = 0; k < bytes; ++k)
        at[bigEndian ? bytes - 1 - k : k] = static_cast<std::uint8_t>(value >> (8 * k));
}

namespace {
// The header's byte order and width, and where the first directory stands.
bool ReadHeader(int fd, DirectoryBytes& d) {
    std::uint8_t header[16] = {};
    if (!ReadAll(fd, header, 8, 0)) return false;
    if (header[0] == 'M' && header[1] == 'M')
        d.shape.bigEndian = true;
    else if (header[0] != 'I' || header[1] != 'I')
        return false;
    const std::uint64_t version = d.shape.Load(header + 2, 2);
    if (version != 42 && version != 43) return false;
    d.shape.big = version == 43;
    if (d.shape.big && !ReadAll(fd, header + 8, 8, 8)) return false;
    d.offset = d.shape.Load(header + d.shape.FirstOffsetAt(), d.shape.OffsetBytes());
    return true;
}
}  // namespace

std::optional<DirectoryBytes> ReadDirectoryBytes(int fd) {
    DirectoryBytes d;
    if (!ReadHeader(fd, d)) return std::nullopt;
    std::uint8_t countBytes[8] = {};
    if (!ReadAll(fd, countBytes, d.shape.CountBytes(), d.offset)) return std::nullopt;
    const std::uint64_t count = d.shape.Load(countBytes, d.shape.CountBytes());
    if (count == 0 || count > kMostEntries) return std::nullopt;
    d.entries.resize(count * d.shape.EntryBytes());
    d.next.resize(d.shape.OffsetBytes());
    const std::uint64_t entriesAt = d.offset + d.shape.CountBytes();
    if (!ReadAll(fd, d.entries.data(), d.entries.size(), entriesAt) ||
        !ReadAll(fd, d.next.data(), d.next.size(), entriesAt + d.entries.size()))
        return std::nullopt;
    return d;
}

std::vector<FileSpan> DirectoryBytes::TagBytes(std::uint64_t fileSize) const {
    const std::size_t width = shape.OffsetBytes();
    std::vector<FileSpan> spans{{0, shape.HeaderBytes()},
                                {offset, offset + shape.CountBytes() + entries.size() + width}};
    for (std::size_t k = 0; k < entries.size(); k += shape.EntryBytes()) {
        const std::uint8_t* entry = entries.data() + k;
        const std::uint64_t type = shape.Load(entry + 2, 2);
        const std::uint64_t count = shape.Load(entry + 4, width);
        const std::uint64_t value = shape.Load(entry + 4 + width, width);
        // A count too large to multiply is no shorter than the file.
        const std::uint64_t bytes = count > fileSize ? fileSize : count * TypeBytes(type);
        if (bytes > width && value < fileSize)
            spans.emplace_back(value, value + std::min(bytes, fileSize - value));
    }
    return spans;
}

std::vector<FileSpan> TagBytesOf(int fd, std::uint64_t fileSize) {
    if (const std::optional<DirectoryBytes> directory = ReadDirectoryBytes(fd))
        return directory->TagBytes(fileSize);
    DirectoryBytes start;
    if (!ReadHeader(fd, start)) return {{0, fileSize}};
    std::vector<FileSpan> spans{{0, start.shape.HeaderBytes()}};
    if (start.offset < fileSize) spans.emplace_back(start.offset, fileSize);
    return spans;
}

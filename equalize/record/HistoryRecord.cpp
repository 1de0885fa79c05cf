#include "HistoryRecord.h"

#include <sys/stat.h>

#include <algorithm>
#include <cstdint>
#include <ctime>
#include <optional>
#include <vector>

#include "DirectoryBytes.h"
#include "LibtiffFile.h"
#include "PositionedIO.h"

namespace {
constexpr std::uint16_t kXmpTag = 700;
constexpr std::uint16_t kByteType = 1;  // what tag 700 is written as

// The subject's packet as libtiff reads it from the first directory.
std::optional<std::string> ReadPacket(int fd) {
    LibtiffFile file(fd, "the output", "rc");
    if (!file.Handle()) return std::nullopt;
    std::uint32_t count = 0;
    const char* data = nullptr;
    std::string packet;
    if (TIFFGetField(file.Handle(), TIFFTAG_XMLPACKET, &count, &data) && data)
        packet.assign(data, count);
    // Some writers end the packet with a NUL, which is no part of the XML.
    while (!packet.empty() && packet.back() == '\0') packet.pop_back();
    return packet;
}

// The new directory: the old one's entries with tag 700's replaced by (or,
// where it has none, joined by, in tag order) one for the packet at
// packetAt, and the old one's next offset.
std::vector<std::uint8_t> DirectoryWithPacket(const DirectoryBytes& old, std::uint64_t packetAt,
                                              std::uint64_t packetBytes) {
    const FileShape& shape = old.shape;
    const std::size_t size = shape.EntryBytes();
    std::vector<std::uint8_t> xmp(size, 0);
    shape.Store(xmp.data(), 2, kXmpTag);
    shape.Store(xmp.data() + 2, 2, kByteType);
    shape.Store(xmp.data() + 4, shape.OffsetBytes(), packetBytes);
    shape.Store(xmp.data() + 4 + shape.OffsetBytes(), shape.OffsetBytes(), packetAt);
    std::vector<std::uint8_t> entries;
    bool placed = false;
    for (std::size_t k = 0; k < old.entries.size(); k += size) {
        const std::uint8_t* entry = old.entries.data() + k;
        const auto tag = shape.Load(entry, 2);
        if (tag >= kXmpTag && !placed) {
            // A packet written as UNDEFINED stays so, as its writer chose.
            if (tag == kXmpTag) std::copy(entry + 2, entry + 4, xmp.begin() + 2);
            entries.insert(entries.end(), xmp.begin(), xmp.end());
            placed = true;
            if (tag == kXmpTag) continue;
        }
        entries.insert(entries.end(), entry, entry + size);
    }
    if (!placed) entries.insert(entries.end(), xmp.begin(), xmp.end());
    std::vector<std::uint8_t> directory(shape.CountBytes());
    shape.Store(directory.data(), shape.CountBytes(), entries.size() / size);
    directory.insert(directory.end(), entries.begin(), entries.end());
    directory.insert(directory.end(), old.next.begin(), old.next.end());
    return directory;
}

// Writes bytes at an even place at or after `at`, a zero byte filling the
// gap; gives where they start, or nullopt.
std::optional<std::uint64_t> WriteEven(int fd, std::uint64_t at, const std::uint8_t* bytes,
                                       std::size_t count) {
    const std::uint8_t pad = 0;
    if ((at & 1) && !WriteAtPlace(fd, &pad, 1, static_cast<std::int64_t>(at))) return std::nullopt;
    at += at & 1;
    if (!WriteAtPlace(fd, bytes, count, static_cast<std::int64_t>(at))) return std::nullopt;
    return at;
}
}  // namespace

std::string RecordNote(RecordEnd end) {
    switch (end) {
        case RecordEnd::Recorded:
            return "history recorded in XMP";
        case RecordEnd::PacketUnreadable:
            return "history not recorded: the XMP packet can't be read";
        case RecordEnd::NotWritten:
            break;
    }
    return "history not recorded: the file can't take it";
}

RecordEnd RecordHistory(int fd, const HistoryEntry& entry) {
    const std::optional<std::string> old = ReadPacket(fd);
    if (!old) return RecordEnd::NotWritten;
    const std::optional<std::string> packet = AddHistoryEntry(*old, entry);
    if (!packet) return RecordEnd::PacketUnreadable;
    const std::optional<DirectoryBytes> first = ReadDirectoryBytes(fd);
    struct stat file {};
    if (!first || ::fstat(fd, &file) != 0) return RecordEnd::NotWritten;
    const FileShape& shape = first->shape;
    // Values and directories start on a word boundary.
    const auto end = static_cast<std::uint64_t>(file.st_size);
    const std::uint64_t packetAt = end + (end & 1);
    const std::uint64_t packetEnd = packetAt + packet->size();
    const std::vector<std::uint8_t> directory =
        DirectoryWithPacket(*first, packetAt, packet->size());
    const std::uint64_t entries =
        (directory.size() - shape.CountBytes() - shape.OffsetBytes()) / shape.EntryBytes();
    if (!shape.big && (packetEnd + 1 + directory.size() > 0xFFFFFFFFu || entries > 0xFFFF))
        return RecordEnd::NotWritten;
    const auto text = reinterpret_cast<const std::uint8_t*>(packet->data());
    if (!WriteEven(fd, end, text, packet->size())) return RecordEnd::NotWritten;
    const auto directoryAt = WriteEven(fd, packetEnd, directory.data(), directory.size());
    if (!directoryAt) return RecordEnd::NotWritten;
    // The header's pointer goes last: until then the file is the finished
    // output without its record.
    std::uint8_t header[8] = {};
    shape.Store(header, shape.OffsetBytes(), *directoryAt);
    return WriteAtPlace(fd, header, shape.OffsetBytes(),
                        static_cast<std::int64_t>(shape.FirstOffsetAt()))
               ? RecordEnd::Recorded
               : RecordEnd::NotWritten;
}

std::string HistoryTimeNow() {
    const std::time_t now = std::time(nullptr);
    std::tm local{};
    ::localtime_r(&now, &local);
    char date[32], zone[8];
    std::strftime(date, sizeof date, "%Y-%m-%dT%H:%M:%S", &local);
    // strftime gives the offset as +0200; XMP's dates want +02:00.
    std::strftime(zone, sizeof zone, "%z", &local);
    const std::string offset = zone;
    return date + offset.substr(0, 3) + ":" + offset.substr(3);
}

#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <span>
#include <string>

class FolderItem;
class MemoryBlock;

// A positioned byte stream on one file or on bytes in memory, with a byte order flag for the typed
// reads and writes. Reads past the end come back short: typed reads give 0 for
// the bytes that are missing and raw reads fill only what was read.
class BinaryStream {
  public:
    // An existing file, read-only or for update in place (never truncated).
    // nil when the file can't be opened, or is a folder, a named pipe or a socket.
    static std::shared_ptr<BinaryStream> Open(const FolderItem& file, bool readWrite = false);
    // A file already open for reading and writing, by a descriptor of its own.
    static std::shared_ptr<BinaryStream> OnDescriptor(int fd, std::filesystem::path path);
    // A new empty file; nil when it exists and overwrite is false, or on failure.
    static std::shared_ptr<BinaryStream> Create(const FolderItem& file, bool overwrite);
    // Read-only bytes in memory, such as the pictures built into the program,
    // read as a file of that length. The bytes must outlive the stream.
    static std::shared_ptr<BinaryStream> OpenMemory(std::span<const std::uint8_t> bytes);

    ~BinaryStream();
    BinaryStream(const BinaryStream&) = delete;
    BinaryStream& operator=(const BinaryStream&) = delete;

    bool LittleEndian = true;

    std::int64_t Position() const;
    void SetPosition(std::int64_t position);
    std::int64_t Length() const;
    bool EndOfFile() const;

    std::uint8_t ReadUInt8();
    std::uint16_t ReadUInt16();
    std::uint32_t ReadUInt32();
    // Reads up to count bytes into dest and returns how many arrived.
    std::size_t Read(std::uint8_t* dest, std::size_t count);
    std::size_t Read(MemoryBlock& dest, std::size_t count);
    std::string Read(std::size_t count);

    void WriteUInt8(std::uint8_t value);
    void WriteUInt16(std::uint16_t value);
    void WriteUInt32(std::uint32_t value);
    void Write(const std::uint8_t* src, std::size_t count);
    void Write(const std::string& bytes);

    // Reads and writes at a given place straight between the file and the
    // caller's memory, one system call each and no copy through the stream's
    // buffer; the stream's own position is left where it was. Errors count as
    // for Write, and a read past the end comes back short. Bytes the stream
    // has already read ahead into its buffer aren't renewed by WriteAt: a
    // stream written this way is positioned anew before it is read again.
    // WriteAt gives whether every byte reached the file.
    std::size_t ReadAt(std::int64_t position, std::uint8_t* dest, std::size_t count);
    bool WriteAt(std::int64_t position, const std::uint8_t* src, std::size_t count);

    // The file's descriptor, for reading it by other means, with pending
    // output pushed to the file first; -1 for bytes in memory.
    int Descriptor();

    // 0 while every write so far reached the file. Pending output is pushed to
    // the file first, so a failure that buffering would hide still shows here.
    int LastErrorCode();
    void Flush();
    void Close();
    bool IsOpen() const { return file_ != nullptr; }

  private:
    BinaryStream(std::FILE* file, std::filesystem::path path, std::int64_t memoryLength = -1);
    std::FILE* Handle() const;
    void PrepareFor(bool writing);
    std::uint64_t ReadUnsigned(std::size_t width);
    void WriteUnsigned(std::size_t width, std::uint64_t value);
    void NoteError();

    // The C stream's buffer, ours rather than the library's: given no buffer,
    // the C library ignores the size asked for and reads 4 KiB at a time.
    std::unique_ptr<char[]> buffer_;
    std::FILE* file_;
    std::filesystem::path path_;
    std::int64_t memoryLength_;  // -1 for a file
    int lastError_ = 0;
    bool lastWasWrite_ = false;
};

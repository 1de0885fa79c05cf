#include "BinaryStream.h"

#include <unistd.h>

#include <cerrno>
#include <system_error>

#include "Exceptions.h"
#include "FolderItem.h"
#include "MemoryBlock.h"
#include "PositionedIO.h"

namespace {
// A few rows of a big image per system call. Larger buffers gain nothing on
// the row pass and cost the previews, since the C library fills the whole
// buffer at each jump over the rows they leave out.
constexpr std::size_t kBufferSize = 1 << 16;
}  // namespace

BinaryStream::BinaryStream(std::FILE* file, std::filesystem::path path, std::int64_t memoryLength)
    : buffer_(new char[kBufferSize]),
      file_(file),
      path_(std::move(path)),
      memoryLength_(memoryLength) {
    std::setvbuf(file_, buffer_.get(), _IOFBF, kBufferSize);
}

BinaryStream::~BinaryStream() {
    if (file_) std::fclose(file_);
}

// Opening a named pipe would wait, and hold the program, until something
// writes into it; a folder or a socket has no bytes to read. Neither is opened.
std::shared_ptr<BinaryStream> BinaryStream::Open(const FolderItem& item, bool readWrite) {
    using std::filesystem::file_type;
    std::error_code ec;
    const file_type type = std::filesystem::status(item.Path(), ec).type();
    if (ec || type == file_type::directory || type == file_type::fifo || type == file_type::socket)
        return nullptr;
    std::FILE* f = std::fopen(item.Path().c_str(), readWrite ? "r+b" : "rb");
    if (!f) return nullptr;
    return std::shared_ptr<BinaryStream>(new BinaryStream(f, item.Path()));
}

std::shared_ptr<BinaryStream> BinaryStream::OnDescriptor(int fd, std::filesystem::path path) {
    const int own = ::dup(fd);
    std::FILE* f = own < 0 ? nullptr : ::fdopen(own, "r+b");
    if (!f) {
        if (own >= 0) ::close(own);
        return nullptr;
    }
    return std::shared_ptr<BinaryStream>(new BinaryStream(f, std::move(path)));
}

std::shared_ptr<BinaryStream> BinaryStream::Create(const FolderItem& item, bool overwrite) {
    std::error_code ec;
    if (std::filesystem::is_directory(item.Path(), ec)) return nullptr;
    if (!overwrite && std::filesystem::exists(item.Path(), ec)) return nullptr;
    std::FILE* f = std::fopen(item.Path().c_str(), "w+b");
    if (!f) return nullptr;
    return std::shared_ptr<BinaryStream>(new BinaryStream(f, item.Path()));
}

// The C library's memory streams only read when opened "rb", so the bytes
// are never written through the pointer that loses its const here.
std::shared_ptr<BinaryStream> BinaryStream::OpenMemory(std::span<const std::uint8_t> bytes) {
    if (bytes.empty()) return nullptr;
    std::FILE* f = fmemopen(const_cast<std::uint8_t*>(bytes.data()), bytes.size(), "rb");
    if (!f) return nullptr;
    return std::shared_ptr<BinaryStream>(
        new BinaryStream(f, "memory", static_cast<std::int64_t>(bytes.size())));
}

std::FILE* BinaryStream::Handle() const {
    if (!file_) throw IOException("The stream on " + path_.string() + " is closed.");
    return file_;
}

// C streams opened for update need a positioning call between a write and a
// read; doing it here keeps callers free of that rule.
void BinaryStream::PrepareFor(bool writing) {
    std::FILE* f = Handle();
    if (writing != lastWasWrite_) std::fseek(f, 0, SEEK_CUR);
    lastWasWrite_ = writing;
}

void BinaryStream::NoteError() {
    if (lastError_ == 0) lastError_ = errno != 0 ? errno : EIO;
}

std::int64_t BinaryStream::Position() const {
    return std::ftell(Handle());
}

void BinaryStream::SetPosition(std::int64_t position) {
    std::FILE* f = Handle();
    if (position < 0) position = 0;
    // A memory stream refuses a place past its end and would stay where it
    // was; at the end, reads come back short as they do past a file's end.
    if (memoryLength_ >= 0 && position > memoryLength_) position = memoryLength_;
    std::fseek(f, static_cast<long>(position), SEEK_SET);
    lastWasWrite_ = false;
}

std::int64_t BinaryStream::Length() const {
    std::FILE* f = Handle();
    if (memoryLength_ >= 0) return memoryLength_;
    std::fflush(f);
    std::error_code ec;
    const auto size = std::filesystem::file_size(path_, ec);
    return ec ? 0 : static_cast<std::int64_t>(size);
}

bool BinaryStream::EndOfFile() const {
    return Position() >= Length();
}

std::size_t BinaryStream::Read(std::uint8_t* dest, std::size_t count) {
    PrepareFor(false);
    const std::size_t got = std::fread(dest, 1, count, file_);
    if (got < count) std::clearerr(file_);
    return got;
}

std::size_t BinaryStream::Read(MemoryBlock& dest, std::size_t count) {
    if (count > dest.Size()) count = dest.Size();
    return Read(dest.Data(), count);
}

std::string BinaryStream::Read(std::size_t count) {
    std::string bytes(count, '\0');
    bytes.resize(Read(reinterpret_cast<std::uint8_t*>(bytes.data()), count));
    return bytes;
}

std::uint64_t BinaryStream::ReadUnsigned(std::size_t width) {
    std::uint8_t raw[8] = {};
    Read(raw, width);
    std::uint64_t value = 0;
    for (std::size_t k = 0; k < width; ++k) {
        const std::size_t shift = LittleEndian ? k : width - 1 - k;
        value |= std::uint64_t{raw[k]} << (8 * shift);
    }
    return value;
}

std::uint8_t BinaryStream::ReadUInt8() {
    return static_cast<std::uint8_t>(ReadUnsigned(1));
}
std::uint16_t BinaryStream::ReadUInt16() {
    return static_cast<std::uint16_t>(ReadUnsigned(2));
}
std::uint32_t BinaryStream::ReadUInt32() {
    return static_cast<std::uint32_t>(ReadUnsigned(4));
}

void BinaryStream::Write(const std::uint8_t* src, std::size_t count) {
    PrepareFor(true);
    errno = 0;
    if (std::fwrite(src, 1, count, file_) != count) NoteError();
}

void BinaryStream::Write(const std::string& bytes) {
    Write(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
}

// Bytes still in the C stream's buffer are pushed to the file first, so that a
// positioned read sees them and a positioned write isn't overwritten by them.
std::size_t BinaryStream::ReadAt(std::int64_t position, std::uint8_t* dest, std::size_t count) {
    // Bytes in memory have no file to read at a place: go there and back.
    if (memoryLength_ >= 0) {
        const std::int64_t was = Position();
        SetPosition(position);
        const std::size_t got = Read(dest, count);
        SetPosition(was);
        return got;
    }
    if (lastWasWrite_) Flush();
    return ReadAtPlace(::fileno(Handle()), dest, count, position);
}

bool BinaryStream::WriteAt(std::int64_t position, const std::uint8_t* src, std::size_t count) {
    const int fd = ::fileno(Handle());
    if (lastWasWrite_) Flush();
    if (WriteAtPlace(fd, src, count, position)) return true;
    NoteError();
    return false;
}

void BinaryStream::WriteUnsigned(std::size_t width, std::uint64_t value) {
    std::uint8_t raw[8];
    for (std::size_t k = 0; k < width; ++k) {
        const std::size_t shift = LittleEndian ? k : width - 1 - k;
        raw[k] = static_cast<std::uint8_t>(value >> (8 * shift));
    }
    Write(raw, width);
}

void BinaryStream::WriteUInt8(std::uint8_t value) {
    WriteUnsigned(1, value);
}
void BinaryStream::WriteUInt16(std::uint16_t value) {
    WriteUnsigned(2, value);
}
void BinaryStream::WriteUInt32(std::uint32_t value) {
    WriteUnsigned(4, value);
}

int BinaryStream::Descriptor() {
    if (memoryLength_ >= 0) return -1;
    if (lastWasWrite_) Flush();
    return ::fileno(Handle());
}

int BinaryStream::LastErrorCode() {
    if (file_) Flush();
    return lastError_;
}

void BinaryStream::Flush() {
    errno = 0;
    if (std::fflush(Handle()) != 0) NoteError();
}

void BinaryStream::Close() {
    if (!file_) return;
    errno = 0;
    if (std::fclose(file_) != 0) NoteError();
    file_ = nullptr;
}

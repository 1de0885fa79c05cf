#include "TiffFile.h"

#include <algorithm>
#include <bit>
#include <limits>

#include "Exceptions.h"
#include "WrappingMath.h"

namespace {
constexpr std::uint16_t kIntelMark = 0x4949;
constexpr std::uint16_t kMagic = 42;
constexpr std::uint16_t kTypeShort = 3;
constexpr std::size_t kEntrySize = 12;
}  // namespace

Dialogs& TiffFile::FileDialogs() const {
    if (!services_.dialogs) throw NilObjectException("no dialogs to ask the user with");
    return *services_.dialogs;
}

void TiffFile::AskOpen() {
    fi = FileDialogs().GetOpenFolderItem(kImageTiffType);
}

void TiffFile::AskSave(const std::string& name) {
    fi = FileDialogs().GetSaveFolderItem(kImageTiffType, name);
}

bool TiffFile::Refuse(const std::string& words) {
    errstr = words;
    imagefile->Close();
    return true;
}

bool TiffFile::OpenTIFF() {
    if (fi) return OpenTIFFFrom(BinaryStream::Open(*fi));
    HostLittleEndian = std::endian::native == std::endian::little;
    errstr.clear();
    return false;
}

bool TiffFile::OpenTIFFFrom(std::shared_ptr<BinaryStream> source) {
    HostLittleEndian = std::endian::native == std::endian::little;
    errstr.clear();
    MemoryBlock entry(kEntrySize);
    imagefile = std::move(source);
    BinaryStream& stream = Deref(imagefile);
    // 0x4949 reads the same in either byte order; every other mark is taken
    // for big-endian, 0x4D4D or not.
    LittleEndian = stream.ReadUInt16() == kIntelMark;
    SwapBytes = LittleEndian != HostLittleEndian;
    stream.LittleEndian = LittleEndian;
    entry.LittleEndian = LittleEndian;
    if (stream.ReadUInt16() != kMagic) return Refuse("Not a valid TIFF file.");

    stream.SetPosition(stream.ReadUInt32());
    const std::uint16_t entries = stream.ReadUInt16();
    // Entries past the end of the file would read as zeros, tag 0, which no
    // one knows: stopping there gives the same record without the busy work.
    const std::int64_t length = stream.Length();
    for (std::uint32_t n = 0; n < entries && stream.Position() < length; ++n)
        if (!ReadEntry(entry)) return true;
    DeriveSizes();
    return false;
}

// Handles one directory entry; false when it made the file unusable.
bool TiffFile::ReadEntry(MemoryBlock& entry) {
    BinaryStream& stream = *imagefile;
    const std::size_t got = stream.Read(entry, kEntrySize);
    for (std::size_t k = got; k < kEntrySize; ++k) entry.SetUInt8Value(k, 0);

    const std::uint16_t tag = entry.UInt16Value(0);
    const std::uint16_t type = entry.UInt16Value(2);
    const std::uint32_t count = entry.UInt32Value(4);
    const std::int64_t value =
        type == kTypeShort ? entry.UInt16Value(8) : std::int64_t{entry.UInt32Value(8)};

    switch (tag) {
        case 256:
            ImageWidth = value;
            break;
        case 257:
            ImageHeight = value;
            break;
        case 258:
            ReadBitsPerSample(entry.UInt32Value(8), count);
            break;
        case 259:
            Compression = value;
            break;
        case 262:
            Interpretation = value;
            if (value != 2) {
                Refuse("The file must be RGB only.");
                return false;
            }
            break;
        case 273:
            ImageOffset = value;
            break;
        case 277:
            SamplesPerPixel = value;
            break;
        case 278:
            RowsPerStrip = value;
            break;
        case 279:
            StripByteCount = value;
            break;
        case 284:
            Configuration = value;
            if (value != 1) {
                Refuse("The data must be interleaved, not planar.");
                return false;
            }
            break;
        case 34675:
            ProfileLength = count;
            ProfileOffset = value;
            break;
        default:
            break;  // 254, 255, 274 and every unknown tag
    }
    return true;
}

// The values of tag 258 always stand away from the entry, at the offset in its
// value field. Each value read replaces the last, so only the final one of the
// list counts: it is read directly, which spares a walk over a huge count.
void TiffFile::ReadBitsPerSample(std::uint32_t offset, std::uint32_t count) {
    if (count == 0) return;
    BinaryStream& stream = *imagefile;
    const std::int64_t resume = stream.Position();
    stream.SetPosition(std::int64_t{offset} + 2 * (std::int64_t{count} - 1));
    BitsPerSample = stream.ReadUInt16();
    stream.SetPosition(resume);
}

void TiffFile::DeriveSizes() {
    BytesPerPixel =
        static_cast<std::int64_t>(static_cast<double>(BitsPerSample * SamplesPerPixel) / 8.0);
    BytesPerRow = WrappingMultiply(BytesPerPixel, ImageWidth);
    PixelCount = WrappingMultiply(ImageWidth, ImageHeight);
}

bool TiffFile::PixelDataWithinFile() const {
    if (ImageOffset < 0 || BytesPerPixel < 0 || ImageWidth < 0 || ImageHeight < 0) return false;
    std::int64_t rowBytes = 0, pixelBytes = 0, end = 0;
    // Row buffers are made even for an image without rows, so at least one row
    // must fit in the file too.
    const std::int64_t rows = std::max<std::int64_t>(ImageHeight, 1);
    if (!CheckedMultiply(BytesPerPixel, ImageWidth, rowBytes) || rowBytes != BytesPerRow ||
        !CheckedMultiply(rowBytes, rows, pixelBytes) || !CheckedAdd(ImageOffset, pixelBytes, end))
        return false;
    // Rows without bytes can't be streamed meaningfully, and billions of them
    // would keep a scan busy for nothing.
    if (rowBytes == 0 && ImageHeight > 0) return false;
    return end <= SourceLength();
}

// The file's length, or the stream's when the bytes come from memory; -1 with
// neither, which no pixel data fits.
std::int64_t TiffFile::SourceLength() const {
    if (fi) return fi->Length();
    return imagefile && imagefile->IsOpen() ? imagefile->Length() : -1;
}

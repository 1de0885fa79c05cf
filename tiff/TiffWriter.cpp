#include <algorithm>
#include <limits>
#include <vector>

#include "Exceptions.h"
#include "PixelLayout.h"
#include "TiffFile.h"
#include "WrappingMath.h"

namespace {
constexpr std::uint16_t kShort = 3;
constexpr std::uint16_t kLong = 4;
constexpr std::uint16_t kUndefined = 7;
constexpr std::size_t kEntrySize = 12;
constexpr std::int64_t kEntryCountOffset = 8;
constexpr std::int64_t kMaxSamplesPerPixel = 65535;  // tag 277 is a SHORT

struct Entry {
    std::uint16_t tag;
    std::uint16_t type;
    std::uint32_t count;
    std::uint32_t value;  // a SHORT fills the low half, the high half stays 0
};

// Truncation toward zero, held to the 64-bit range for sizes that the record's
// values push past it.
std::int64_t Truncate(double value) {
    constexpr double kLimit = 9.2e18;
    if (value >= kLimit) return std::numeric_limits<std::int64_t>::max();
    if (value <= -kLimit) return std::numeric_limits<std::int64_t>::min();
    return static_cast<std::int64_t>(value);
}

// The bytes in front of the pixels, put together in memory so that they reach
// the stream in one write. Each directory entry is made in a 12-byte
// little-endian work buffer; the entries whose values are known only after the
// pixels get a slot that the buffer's last content fills until it is patched.
// The entry count stays 0 until then, so an interrupted write leaves no file
// that passes for a whole TIFF.
class HeaderBytes {
  public:
    HeaderBytes() { entry_.LittleEndian = true; }

    void Append16(std::uint16_t value) {
        bytes_.resize(bytes_.size() + 2);
        StoreSample<std::uint16_t, !kHostLittleEndian>(bytes_.data() + bytes_.size() - 2, value);
    }
    void Append32(std::uint32_t value) {
        Append16(static_cast<std::uint16_t>(value));
        Append16(static_cast<std::uint16_t>(value >> 16));
    }
    void Append(const std::uint8_t* src, std::size_t count) {
        bytes_.insert(bytes_.end(), src, src + count);
    }
    void AddEntry(const Entry& entry) {
        Fill(entry);
        AppendEntry();
    }
    // Keeps 12 bytes for an entry and returns where they stand.
    std::int64_t Reserve() {
        const std::int64_t at = Position();
        AppendEntry();
        return at;
    }
    void Patch(BinaryStream& stream, std::int64_t at, const Entry& entry) {
        Fill(entry);
        stream.SetPosition(at);
        stream.Write(entry_.Data(), kEntrySize);
    }

    std::int64_t Position() const { return static_cast<std::int64_t>(bytes_.size()); }
    std::uint16_t EntryCount() const { return entries_; }
    void WriteTo(BinaryStream& stream) const { stream.Write(bytes_.data(), bytes_.size()); }

  private:
    void Fill(const Entry& entry) {
        entry_.SetUInt16Value(0, entry.tag);
        entry_.SetUInt16Value(2, entry.type);
        entry_.SetUInt32Value(4, entry.count);
        entry_.SetUInt32Value(8, entry.value);
    }
    void AppendEntry() {
        Append(entry_.Data(), kEntrySize);
        ++entries_;
    }

    MemoryBlock entry_{kEntrySize};
    std::vector<std::uint8_t> bytes_;
    std::uint16_t entries_ = 0;
};

// Where the reserved entries and the blocks behind the directory stand.
struct HeaderLayout {
    std::int64_t bitsPerSampleSlot = 0;
    std::int64_t stripOffsetsSlot = 0;
    std::int64_t profileSlot = 0;
    std::int64_t bitsPerSampleOffset = 0;
    std::int64_t profileOffset = 0;
};

std::uint32_t Long(std::int64_t value) {
    return static_cast<std::uint32_t>(value);
}
std::uint32_t Short(std::int64_t value) {
    return static_cast<std::uint16_t>(value);
}

// Three or more samples don't fit the entry's four value bytes.
bool BitsPerSampleOutside(std::int64_t samplesPerPixel) {
    return 2 * samplesPerPixel > 4;
}

// The pixels in blocks from one hundredth to the next, the bar set at each.
// A raster under 100 bytes has a step of 0 and sets the bar at every byte.
void WritePixels(BinaryStream& stream, const std::uint8_t* pixels, std::int64_t total,
                 Progress& bar) {
    bar.SetMaximum(100);
    const std::int64_t step = Truncate(static_cast<double>(total) / 100.0);
    const std::int64_t block = std::max<std::int64_t>(step, 1);
    for (std::int64_t i = 0; i < total; i += block) {
        stream.Write(pixels + i, static_cast<std::size_t>(std::min(block, total - i)));
        bar.SetValue(static_cast<double>(i) * 100.0 / static_cast<double>(total));
        bar.Refresh();
    }
}
// The record's values that describe the file about to be written.
void DeriveWrittenSizes(TiffFile& t) {
    t.BytesPerPixel = Truncate(static_cast<double>(t.SamplesPerPixel) * (t.BitsPerSample / 8.0));
    t.Compression = 1;
    const std::int64_t samples =
        WrappingMultiply(WrappingMultiply(t.ImageWidth, t.ImageHeight), t.SamplesPerPixel);
    t.StripByteCount = Truncate(static_cast<double>(samples) * (t.BitsPerSample / 8.0));
    t.RowsPerStrip = t.ImageHeight;
    t.Configuration = 1;
    if (t.profileBuffer) t.ProfileLength = static_cast<std::int64_t>(t.profileBuffer->Size());
}

// The file header, the directory with its reserved slots, the BitsPerSample
// array and the profile, packed with no padding.
HeaderLayout AssembleHeader(const TiffFile& t, bool withProfile, HeaderBytes& header) {
    header.Append16(0x4949);
    header.Append16(42);
    header.Append32(8);
    header.Append16(0);  // the entry count, patched last

    HeaderLayout layout;
    header.AddEntry({254, kLong, 1, 0});
    header.AddEntry({256, kLong, 1, Long(t.ImageWidth)});
    header.AddEntry({257, kLong, 1, Long(t.ImageHeight)});
    layout.bitsPerSampleSlot = header.Reserve();
    header.AddEntry({259, kShort, 1, Short(t.Compression)});
    header.AddEntry({262, kShort, 1, Short(t.Interpretation)});
    layout.stripOffsetsSlot = header.Reserve();
    header.AddEntry({277, kShort, 1, Short(t.SamplesPerPixel)});
    header.AddEntry({278, kLong, 1, Long(t.RowsPerStrip)});
    header.AddEntry({279, kLong, 1, Long(t.StripByteCount)});
    header.AddEntry({284, kShort, 1, Short(t.Configuration)});
    if (withProfile) layout.profileSlot = header.Reserve();
    header.Append32(0);  // no next directory

    layout.bitsPerSampleOffset = header.Position();
    if (BitsPerSampleOutside(t.SamplesPerPixel))
        for (std::int64_t k = 0; k < t.SamplesPerPixel; ++k)
            header.Append16(static_cast<std::uint16_t>(t.BitsPerSample));
    layout.profileOffset = header.Position();
    if (withProfile)
        header.Append(t.profileBuffer->Data(), static_cast<std::size_t>(t.ProfileLength));
    return layout;
}

// Completes the directory once the pixels are out: the entry count, then the
// reserved entries in their order.
void PatchHeader(const TiffFile& t, bool withProfile, const HeaderLayout& layout,
                 HeaderBytes& header, BinaryStream& stream) {
    stream.SetPosition(kEntryCountOffset);
    stream.WriteUInt16(header.EntryCount());
    const std::uint32_t bits = BitsPerSampleOutside(t.SamplesPerPixel)
                                   ? Long(layout.bitsPerSampleOffset)
                                   : Short(t.BitsPerSample);
    header.Patch(stream, layout.bitsPerSampleSlot, {258, kShort, Long(t.SamplesPerPixel), bits});
    header.Patch(stream, layout.stripOffsetsSlot, {273, kLong, 1, Long(t.ImageOffset)});
    if (withProfile)
        header.Patch(stream, layout.profileSlot,
                     {34675, kUndefined, Long(t.ProfileLength), Long(layout.profileOffset)});
}
}  // namespace

void TiffFile::WriteTIFF() {
    DeriveWrittenSizes(*this);
    errstr.clear();
    if (Interpretation != 2 && Interpretation != 8)
        errstr = "The file must contain RGB or CIE Lab data.";
    if (!fi) return;

    // What can't be written whole is refused before fi is touched, so that a
    // file already there is not lost to a doomed write.
    if (SamplesPerPixel < 0 || SamplesPerPixel > kMaxSamplesPerPixel)
        throw IOException("A TIFF file can't hold " + std::to_string(SamplesPerPixel) +
                          " samples a pixel.");
    const std::int64_t total =
        WrappingMultiply(WrappingMultiply(ImageWidth, ImageHeight), BytesPerPixel);
    if (total > 0 && static_cast<std::uint64_t>(total) > Deref(imageBuffer).Size())
        throw OutOfBoundsException("The image buffer holds fewer bytes than the image has.");

    // Made anew rather than opened for update: a longer file there before
    // leaves no tail behind the pixels, and the file is at every moment a
    // prefix of what is being written.
    imagefile = BinaryStream::Create(*fi, true);
    if (!imagefile) return;
    BinaryStream& stream = *imagefile;
    stream.LittleEndian = true;

    const bool withProfile = profileBuffer && ProfileLength != 0;
    HeaderBytes header;
    const HeaderLayout layout = AssembleHeader(*this, withProfile, header);
    header.WriteTo(stream);
    ImageOffset = stream.Position();
    WritePixels(stream, total > 0 ? imageBuffer->Data() : nullptr, total, EqualizeProgress());
    PatchHeader(*this, withProfile, layout, header, stream);

    if (stream.LastErrorCode() != 0)
        throw IOException("The file " + fi->NativePath() + " could not be written completely.");
    stream.Close();
    imagefile = nullptr;
}

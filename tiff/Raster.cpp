#include <algorithm>
#include <utility>

#include "Exceptions.h"
#include "PixelChannels.h"
#include "RowReader.h"
#include "TiffFile.h"
#include "WrappingMath.h"

namespace {
constexpr std::int64_t kRgb = 2;

// Puts every 16-bit sample of the buffer in the other byte order.
void SwapSampleBytes(MemoryBlock& buffer) {
    std::uint8_t* data = buffer.Data();
    for (std::size_t at = 0; at + 1 < buffer.Size(); at += 2) std::swap(data[at], data[at + 1]);
}
}  // namespace

void TiffFile::ReadImage() {
    const FolderItem& file = Deref(fi);
    // Rows that a header claims but the file doesn't hold would only read as
    // zeros, and an absurd claim would exhaust memory: refuse them before
    // allocating. Within the file, the raster is no larger than the file.
    if (!PixelDataWithinFile())
        throw IOException("The image data of " + file.NativePath() +
                          " is incomplete: the file ends before its last pixel row.");
    const auto rowBytes = static_cast<std::size_t>(BytesPerRow);
    auto buffer = std::make_shared<MemoryBlock>(rowBytes * static_cast<std::size_t>(ImageHeight));
    imageBuffer = buffer;

    imagefile = BinaryStream::Open(file);
    BinaryStream& stream = Deref(imagefile);
    stream.LittleEndian = LittleEndian;
    RowReader rows(stream, ImageOffset, rowBytes);
    Progress& bar = EqualizeProgress();
    // Rows of no bytes hold nothing to read, and a header may claim billions.
    const std::int64_t height = rowBytes == 0 ? 0 : ImageHeight;
    for (std::int64_t row = 0; row < height; ++row) {
        rows.Read(buffer->Data() + static_cast<std::size_t>(row) * rowBytes);
        bar.SetValue(static_cast<double>(row + 1));
        bar.Refresh();
    }
    // Only 16-bit RGB is turned round; the buffer's own flag tells readers such
    // as FindMaxLuminance the order its samples are in.
    buffer->LittleEndian = LittleEndian;
    if (BytesPerPixel == 6 && SwapBytes) {
        SwapSampleBytes(*buffer);
        buffer->LittleEndian = !LittleEndian;
    }
    stream.Close();
}

bool TiffFile::ReadProfile() {
    if (ProfileLength == 0 || ProfileOffset == 0) return false;
    const FolderItem& file = Deref(fi);
    std::int64_t end = 0;
    if (!CheckedAdd(ProfileOffset, ProfileLength, end) || end > file.Length()) return false;

    imagefile = BinaryStream::Open(file);
    BinaryStream& stream = Deref(imagefile);
    stream.SetPosition(ProfileOffset);
    auto profile = std::make_shared<MemoryBlock>(static_cast<std::size_t>(ProfileLength));
    stream.Read(*profile, profile->Size());
    stream.Close();
    profileBuffer = profile;
    return profileBuffer->Size() != 0;
}

void TiffFile::GetTIFFPixel(std::int64_t x, std::int64_t y, double& first, double& second,
                            double& third) {
    // Only the upper ends are clamped; callers pass no negative place.
    x = std::min(x, WrappingAdd(ImageWidth, -1));
    y = std::min(y, WrappingAdd(ImageHeight, -1));
    BinaryStream& stream = Deref(imagefile);
    stream.SetPosition(WrappingAdd(ImageOffset, WrappingAdd(WrappingMultiply(y, BytesPerRow),
                                                            WrappingMultiply(x, BytesPerPixel))));

    const PixelLayout layout = PixelLayout::Of(*this).InOrder(stream.LittleEndian);
    std::uint8_t pixel[6] = {};  // what lies past the end of the file reads as 0
    stream.Read(pixel, layout.pixelBytes);
    const Channels channels =
        Interpretation == kRgb ? RgbChannels(layout, pixel) : LabChannels(layout, pixel);
    first = channels[0];
    second = channels[1];
    third = channels[2];
}

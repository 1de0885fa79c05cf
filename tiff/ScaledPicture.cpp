#include <algorithm>
#include <optional>

#include "Exceptions.h"
#include "PreviewGeometry.h"
#include "Samples.h"
#include "TiffFile.h"
#include "WrappingMath.h"

namespace {
// Writes the chosen pixels of one image row into picture row y.
void DecimateRow(const MemoryBlock& row, bool eightBit, const PreviewGeometry& g, Picture& picture,
                 std::int64_t y) {
    const std::uint8_t* data = row.Data();
    const std::int64_t size = static_cast<std::int64_t>(row.Size());
    const std::int64_t pixelBytes = eightBit ? 3 : 6;
    std::int64_t x = 0;
    for (std::int64_t o = 0; o + pixelBytes <= size; o += pixelBytes) {
        if (!g.ChosenOffset(o)) continue;
        if (eightBit) {
            picture.SetPixel(x, y, RGB(data[o], data[o + 1], data[o + 2]));
        } else {
            const auto channel = [&](std::int64_t at) {
                return static_cast<std::uint32_t>(LoadSample(data + at, 2, row.LittleEndian) /
                                                  257.0);
            };
            picture.SetPixel(x, y, RGB(channel(o), channel(o + 2), channel(o + 4)));
        }
        ++x;
    }
}
}  // namespace

std::shared_ptr<Picture> TiffFile::MakeScaledPictureDisk(std::int64_t width, std::int64_t height) {
    if (BytesPerRow < 0) throw IOException("The row length of the image is not valid.");
    MemoryBlock row(static_cast<std::size_t>(BytesPerRow));
    BinaryStream& stream = Deref(imagefile);
    stream.SetPosition(ImageOffset);

    const PreviewGeometry g =
        PreviewGeometry::For(ImageWidth, ImageHeight, BytesPerPixel, width, height);
    auto picture = std::make_shared<Picture>(g.width, g.height, 32);
    // 8-bit rows count from 1 and 16-bit rows from 0, so an 8-bit preview starts
    // one row step minus one row down the image.
    const bool eightBit = BytesPerPixel == 3;
    row.LittleEndian = stream.LittleEndian;
    const std::int64_t first = eightBit ? 1 : 0;
    std::int64_t y = 0;
    // Rows that aren't chosen are stepped over rather than read, and a run of
    // them costs one jump, not one per row: a preview of a large image then
    // costs a few hundred row reads and as many jumps instead of a pass over
    // the whole file. Each step is the one a row-by-row walk would take, so the
    // rows read and where the stream ends are the same.
    std::optional<std::int64_t> owed;
    const auto step = [&](std::int64_t from) {
        return std::max<std::int64_t>(WrappingAdd(from, BytesPerRow), 0);
    };
    for (std::int64_t counter = first; counter < ImageHeight + first; ++counter) {
        if (counter % g.rowStep != 0) {
            owed = step(owed ? *owed : stream.Position());
            continue;
        }
        if (owed) stream.SetPosition(*owed);
        owed.reset();
        stream.Read(row, row.Size());
        DecimateRow(row, eightBit, g, *picture, y);
        ++y;
    }
    if (owed) stream.SetPosition(*owed);
    return picture;
}

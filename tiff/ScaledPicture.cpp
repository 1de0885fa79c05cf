#include "Exceptions.h"
#include "PreviewGeometry.h"
#include "RowReader.h"
#include "TiffFile.h"

// Rows the preview doesn't show are stepped over, never read.
std::shared_ptr<Picture> TiffFile::MakeScaledPictureDisk(std::int64_t width, std::int64_t height) {
    if (BytesPerRow < 0) throw IOException("The row length of the image is not valid.");
    const PixelLayout layout = PixelLayout::Of(*this).InOrder(Deref(imagefile).LittleEndian);
    MemoryBlock row(layout.rowBytes);
    RowReader rows(*imagefile, ImageOffset, layout.rowBytes);
    std::int64_t next = 0;
    const auto pixels = static_cast<std::int64_t>(layout.pixels);
    auto picture = DecimatedPicture(ImageWidth, ImageHeight, pixels, layout.EightBit(), width,
                                    height, [&](std::int64_t y) {
                                        for (; next < y; ++next) rows.Skip();
                                        rows.Read(row);
                                        ++next;
                                        return SampleRow::Of(row.Data(), layout);
                                    });
    // The stream ends behind the last row, read or not.
    for (; next < ImageHeight; ++next) rows.Skip();
    rows.Settle();
    return picture;
}

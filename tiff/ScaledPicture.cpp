#include "Exceptions.h"
#include "PreviewGeometry.h"
#include "RowReader.h"
#include "TiffFile.h"

std::shared_ptr<Picture> TiffFile::MakeScaledPictureDisk(std::int64_t width, std::int64_t height) {
    if (BytesPerRow < 0) throw IOException("The row length of the image is not valid.");
    const PixelLayout layout = PixelLayout::Of(*this).InOrder(Deref(imagefile).LittleEndian);
    MemoryBlock row(layout.rowBytes);
    RowReader rows(*imagefile, ImageOffset, layout.rowBytes);

    const PreviewGeometry g =
        PreviewGeometry::For(ImageWidth, ImageHeight, BytesPerPixel, width, height);
    auto picture = std::make_shared<Picture>(g.width, g.height, 32);
    // 8-bit rows count from 1 and 16-bit rows from 0, so an 8-bit preview starts
    // one row step minus one row down the image.
    const std::int64_t first = layout.EightBit() ? 1 : 0;
    std::int64_t y = 0;
    for (std::int64_t counter = first; counter < ImageHeight + first; ++counter) {
        if (counter % g.rowStep != 0) {
            rows.Skip();
            continue;
        }
        rows.Read(row);
        SamplePreviewRow(g, layout, row.Data(), *picture, y++);
    }
    rows.Settle();
    return picture;
}

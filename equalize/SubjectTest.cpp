#include "SubjectTest.h"

std::string SubjectRefusalText(const TiffFile& white, const TiffFile& subject) {
    if (subject.ImageHeight != subject.RowsPerStrip)
        return "Image file is not in one single strip. Height: " +
               std::to_string(subject.ImageHeight) +
               "Rows per strip: " + std::to_string(subject.RowsPerStrip);
    if (subject.ImageWidth != white.ImageWidth || subject.ImageHeight != white.ImageHeight)
        return SizeMismatchText(white, subject.ImageWidth, subject.ImageHeight);
    // Streaming rows that aren't there would write invented pixels.
    if (!subject.PixelDataWithinFile())
        return "Image data is incomplete: the file ends before its last pixel row.";
    return "";
}

std::string SizeMismatchText(const TiffFile& white, std::int64_t width, std::int64_t height) {
    return "White and image files have different pixel dimensions. White: " +
           std::to_string(white.ImageWidth) + "x" + std::to_string(white.ImageHeight) +
           "  Image: " + std::to_string(width) + "x" + std::to_string(height);
}

#include "PictureImage.h"

QImage ToQImage(const Picture& picture) {
    const int width = static_cast<int>(picture.Width());
    const int height = static_cast<int>(picture.Height());
    QImage image(width, height, QImage::Format_ARGB32);
    const std::uint32_t* source = picture.Data();
    for (int y = 0; y < height; ++y) {
        auto* line = reinterpret_cast<QRgb*>(image.scanLine(y));
        for (int x = 0; x < width; ++x) {
            const std::uint32_t colour = *source++;
            line[x] = (colour & 0x00FFFFFFu) | (0xFF000000u - (colour & 0xFF000000u));
        }
    }
    return image;
}

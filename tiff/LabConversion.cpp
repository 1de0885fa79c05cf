#include <algorithm>
#include <cmath>

#include "Exceptions.h"
#include "NumberText.h"
#include "PixelChannels.h"
#include "TiffFile.h"
#include "WrappingMath.h"

namespace {
// The white point; its Y is 100.
constexpr double kWhiteX = 95.04;
constexpr double kWhiteZ = 108.89;
constexpr double kOffset = 0.13793103448275862;  // 16 / 116
constexpr double kSlope = 7.787;
// The break points of the piecewise curves. A value equal to one takes the
// linear piece.
constexpr double kLinearL = 7.9996248;
constexpr double kLinearY = 0.008856;
constexpr double kLinearF = 0.206893;

// X or Z from its f value.
double FromF(double f, double white) {
    if (f > kLinearF) return f * white * f * f;
    return (f - kOffset) * white / kSlope;
}

// A linear value to a display level. A negative value has no real power 0.45
// and is out of gamut below black, so it shows as 0; so does a NaN that only
// a NaN input can bring.
std::int64_t DisplayLevel(double linear) {
    const double v = linear > 0.0 ? std::pow(linear, 0.45) : 0.0;
    double level = Round(v * 255.0);
    level = std::max(level, 0.0);
    level = std::min(level, 255.0);
    return static_cast<std::int64_t>(level);
}
}  // namespace

void TiffFile::LabToRGB(double L, double a, double b, std::int64_t& red, std::int64_t& green,
                        std::int64_t& blue) {
    double y = L > kLinearL ? std::pow((L + 16.0) / 116.0, 3.0) : L / 903.3;
    y = std::min(y, 1.0);
    const double Y = y * 100.0;
    const double fy = y > kLinearY ? std::pow(y, 0.3333333333333333) : kSlope * y + kOffset;
    const double X = FromF(a / 500.0 + fy, kWhiteX);
    const double Z = FromF(fy - b / 200.0, kWhiteZ);

    red = DisplayLevel(X * 0.0204148 - Y * 0.00564977 - Z * 0.00344713);
    green = DisplayLevel(Y * 0.0187599 - X * 0.00969258 + Z * 0.000415557);
    blue = DisplayLevel(X * 0.000134455 - Y * 0.00118373 + Z * 0.0101527);
}

void TiffFile::LabIntToFloatArray() {
    const MemoryBlock& buffer = Deref(imageBuffer);
    const PixelLayout layout = PixelLayout::For(BytesPerPixel, buffer.LittleEndian, 0);
    const std::size_t step = layout.pixelBytes;
    std::int64_t pixels = 0, needed = 0;
    if (!CheckedMultiply(ImageWidth, ImageHeight, pixels) ||
        !CheckedMultiply(pixels, static_cast<std::int64_t>(step), needed) ||
        static_cast<std::uint64_t>(needed) > buffer.Size())
        throw OutOfBoundsException("The image buffer holds fewer pixels than the image has.");

    img.Redim(ImageWidth - 1, ImageHeight - 1, 2);
    if (pixels == 0) return;  // a header may claim billions of empty rows
    std::size_t at = 0;
    for (std::int64_t y = 0; y < ImageHeight; ++y) {
        for (std::int64_t x = 0; x < ImageWidth; ++x) {
            const Channels lab = LabChannels(layout, buffer.Data() + at);
            for (int c = 0; c < 3; ++c) img(x, y, c) = static_cast<float>(lab[c]);
            at += step;
        }
    }
}

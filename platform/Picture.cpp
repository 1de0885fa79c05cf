#include "Picture.h"

#include <algorithm>

#include "Exceptions.h"

namespace {
// Previews are at most the size of a canvas; anything much larger is a caller's
// mistake, and refusing it keeps a bad size from exhausting memory.
constexpr std::int64_t kMaxSide = 1 << 15;
}  // namespace

Picture::Picture(std::int64_t width, std::int64_t height, int /*depth*/)
    : width_(width), height_(height) {
    if (width < 0 || height < 0 || width > kMaxSide || height > kMaxSide)
        throw OutOfBoundsException("Picture size " + std::to_string(width) + " x " +
                                   std::to_string(height) + " is out of range");
    pixels_.assign(static_cast<std::size_t>(width * height), RGB(0, 0, 0, 0));
}

std::uint32_t Picture::Pixel(std::int64_t x, std::int64_t y) const {
    return Inside(x, y) ? pixels_[static_cast<std::size_t>(y * width_ + x)] : 0;
}

void Picture::SetPixel(std::int64_t x, std::int64_t y, std::uint32_t colour) {
    if (Inside(x, y)) pixels_[static_cast<std::size_t>(y * width_ + x)] = colour;
}

void Picture::ClearRect(std::int64_t x, std::int64_t y, std::int64_t width, std::int64_t height) {
    const std::int64_t x0 = std::max<std::int64_t>(x, 0), y0 = std::max<std::int64_t>(y, 0);
    const std::int64_t x1 = std::min(x + width, width_), y1 = std::min(y + height, height_);
    for (std::int64_t row = y0; row < y1; ++row)
        for (std::int64_t col = x0; col < x1; ++col)
            pixels_[static_cast<std::size_t>(row * width_ + col)] = kTransparent;
}

#pragma once

#include <cstdint>
#include <vector>

// A 32-bit picture with per-pixel access. A colour is 0xAARRGGBB, where alpha 0
// is fully opaque and 255 fully transparent, so RGB(r, g, b, 0) is a plain
// opaque colour and its green byte is (colour >> 8) & 255. A new picture is
// opaque black. Access outside the picture reads 0 and writes nothing.
class Picture {
  public:
    Picture(std::int64_t width, std::int64_t height, int depth = 32);

    std::int64_t Width() const { return width_; }
    std::int64_t Height() const { return height_; }
    int Depth() const { return 32; }

    std::uint32_t Pixel(std::int64_t x, std::int64_t y) const;
    void SetPixel(std::int64_t x, std::int64_t y, std::uint32_t colour);
    // Makes the rectangle fully transparent.
    void ClearRect(std::int64_t x, std::int64_t y, std::int64_t width, std::int64_t height);

    const std::uint32_t* Data() const { return pixels_.data(); }

    static constexpr std::uint32_t kTransparent = 0xFF000000u;

  private:
    bool Inside(std::int64_t x, std::int64_t y) const {
        return x >= 0 && y >= 0 && x < width_ && y < height_;
    }

    std::int64_t width_;
    std::int64_t height_;
    std::vector<std::uint32_t> pixels_;
};

constexpr std::uint32_t RGB(std::uint32_t red, std::uint32_t green, std::uint32_t blue,
                            std::uint32_t alpha = 0) {
    return (alpha & 255u) << 24 | (red & 255u) << 16 | (green & 255u) << 8 | (blue & 255u);
}

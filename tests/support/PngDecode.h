#pragma once

// Reads back the PNGs the program writes with libpng's simplified reader,
// which checks every chunk's CRC and the image data's length.

#include <gtest/gtest.h>
#include <png.h>

#include <cstdint>
#include <string>

namespace testing_png {

struct Decoded {
    std::uint32_t width = 0, height = 0;
    std::string pixels;  // 8-bit RGB, row after row
};

inline Decoded Decode(const std::string& png) {
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    Decoded d;
    if (!png_image_begin_read_from_memory(&image, png.data(), png.size())) {
        ADD_FAILURE() << image.message;
        return d;
    }
    image.format = PNG_FORMAT_RGB;
    d.width = image.width, d.height = image.height;
    d.pixels.resize(PNG_IMAGE_SIZE(image));
    EXPECT_TRUE(png_image_finish_read(&image, nullptr, d.pixels.data(), 0, nullptr))
        << image.message;
    return d;
}

}  // namespace testing_png

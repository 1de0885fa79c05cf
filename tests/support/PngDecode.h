#pragma once

// Reads back the PNGs the program writes, with zlib as the independent decoder.

#include <gtest/gtest.h>
#include <zlib.h>

#include <cstdint>
#include <string>

namespace testing_png {

inline std::uint32_t BigEndian(const std::string& s, std::size_t at) {
    std::uint32_t v = 0;
    for (int k = 0; k < 4; ++k) v = v << 8 | static_cast<std::uint8_t>(s[at + k]);
    return v;
}

struct Decoded {
    std::uint32_t width = 0, height = 0;
    std::string header;  // bit depth, colour type, compression, filter, interlace
    std::string scanLines;
};

// Reads the PNG back with zlib: chunk by chunk, every CRC checked, to the
// closing chunk at its very end.
inline Decoded Decode(const std::string& png) {
    Decoded d;
    EXPECT_EQ(png.substr(0, 8), std::string("\x89PNG\r\n\x1a\n", 8));
    EXPECT_TRUE(png.ends_with(std::string("\0\0\0\0IEND\xae\x42\x60\x82", 12)));
    std::string compressed;
    for (std::size_t at = 8; at + 12 <= png.size();) {
        const std::uint32_t length = BigEndian(png, at);
        const std::string type = png.substr(at + 4, 4);
        const std::string data = png.substr(at + 8, length);
        const uLong crc = crc32(0, reinterpret_cast<const Bytef*>(png.data() + at + 4), length + 4);
        EXPECT_EQ(BigEndian(png, at + 8 + length), crc) << type;
        if (type == "IHDR") {
            d.width = BigEndian(data, 0);
            d.height = BigEndian(data, 4);
            d.header = data.substr(8);
        } else if (type == "IDAT") {
            compressed += data;
        }
        at += 12 + length;
    }
    uLongf size = d.height * (d.width * 3 + 1);
    d.scanLines.resize(size);
    EXPECT_EQ(uncompress(reinterpret_cast<Bytef*>(d.scanLines.data()), &size,
                         reinterpret_cast<const Bytef*>(compressed.data()), compressed.size()),
              Z_OK);
    EXPECT_EQ(size, d.scanLines.size());
    return d;
}

}  // namespace testing_png

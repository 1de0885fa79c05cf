#include "PngFile.h"

#include <png.h>

#include <cstdint>
#include <fstream>
#include <vector>

namespace {
// The picture's red, green and blue bytes, row after row.
std::vector<png_byte> RgbBytes(const Picture& picture) {
    std::vector<png_byte> bytes;
    bytes.reserve(static_cast<std::size_t>(picture.Width() * picture.Height() * 3));
    for (std::int64_t y = 0; y < picture.Height(); ++y)
        for (std::int64_t x = 0; x < picture.Width(); ++x) {
            const std::uint32_t colour = picture.Pixel(x, y);
            bytes.push_back(static_cast<png_byte>(colour >> 16));
            bytes.push_back(static_cast<png_byte>(colour >> 8));
            bytes.push_back(static_cast<png_byte>(colour));
        }
    return bytes;
}

void AppendToString(png_structp png, png_bytep data, png_size_t length) {
    static_cast<std::string*>(png_get_io_ptr(png))->append(reinterpret_cast<char*>(data), length);
}

// libpng reports a failure by a long jump back to the setjmp here, so this
// frame holds nothing that a destructor would have to clean up. Filtering is
// off: previews compress well enough without it, and the lines stay the
// picture's own bytes.
bool WriteImage(png_structp png, png_infop info, png_uint_32 width, png_uint_32 height,
                png_bytepp rows, std::string& out) {
    if (setjmp(png_jmpbuf(png))) return false;
    png_set_write_fn(png, &out, AppendToString, nullptr);
    png_set_IHDR(png, info, width, height, 8, PNG_COLOR_TYPE_RGB, PNG_INTERLACE_NONE,
                 PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    png_set_filter(png, PNG_FILTER_TYPE_BASE, PNG_FILTER_NONE);
    png_write_info(png, info);
    png_write_image(png, rows);
    png_write_end(png, info);
    return true;
}
}  // namespace

std::string EncodePng(const Picture& picture) {
    if (picture.Width() <= 0 || picture.Height() <= 0) return {};
    std::vector<png_byte> bytes = RgbBytes(picture);
    std::vector<png_bytep> rows;
    const std::size_t rowBytes = static_cast<std::size_t>(picture.Width()) * 3;
    for (std::size_t at = 0; at < bytes.size(); at += rowBytes) rows.push_back(&bytes[at]);

    std::string out;
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png ? png_create_info_struct(png) : nullptr;
    const bool written =
        info && WriteImage(png, info, static_cast<png_uint_32>(picture.Width()),
                           static_cast<png_uint_32>(picture.Height()), rows.data(), out);
    png_destroy_write_struct(&png, &info);
    if (!written) out.clear();
    return out;
}

bool WritePng(const Picture& picture, const std::string& path) {
    const std::string png = EncodePng(picture);
    if (png.empty()) return false;
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    file.write(png.data(), static_cast<std::streamsize>(png.size()));
    file.close();
    return static_cast<bool>(file);
}

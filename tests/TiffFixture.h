#pragma once

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>
#include <vector>

#include <unistd.h>

// Writes small RGB TIFFs byte by byte, so tests control every field, including
// the wrong ones.
struct TiffFixture {
    struct Rgb {
        std::uint16_t r, g, b;
    };

    std::uint32_t width = 4;
    std::uint32_t height = 3;
    int bits = 8;
    bool little = true;
    std::int64_t rowsPerStrip = -1;    // -1: the height
    std::size_t cutPixelBytes = 0;     // bytes of pixel data left off the end
    std::uint32_t interpretation = 2;  // 2 is RGB
    std::function<Rgb(std::uint32_t x, std::uint32_t y)> pixel = [](std::uint32_t, std::uint32_t) {
        return Rgb{100, 100, 100};
    };

    void Write(const std::filesystem::path& path) const {
        std::vector<std::uint8_t> out;
        const auto put = [&](std::uint64_t value, int bytes) {
            for (int k = 0; k < bytes; ++k) {
                const int shift = little ? 8 * k : 8 * (bytes - 1 - k);
                out.push_back(static_cast<std::uint8_t>(value >> shift));
            }
        };
        struct Entry {
            std::uint16_t tag, type;
            std::uint32_t value;
        };
        const std::uint32_t bytesPerPixel = 3 * static_cast<std::uint32_t>(bits / 8);
        const std::uint32_t stripBytes = width * height * bytesPerPixel;
        const std::vector<Entry> entries = {
            {256, 4, width},
            {257, 4, height},
            {258, 3, 0},
            {259, 3, 1},
            {262, 3, interpretation},
            {273, 4, 0},
            {277, 3, 3},
            {278, 4, static_cast<std::uint32_t>(rowsPerStrip < 0 ? height : rowsPerStrip)},
            {279, 4, stripBytes},
            {284, 3, 1}};
        const std::uint32_t bitsOffset =
            8 + 2 + 12 * static_cast<std::uint32_t>(entries.size()) + 4;
        const std::uint32_t pixelOffset = bitsOffset + 6;
        out.push_back(little ? 'I' : 'M');
        out.push_back(little ? 'I' : 'M');
        put(42, 2);
        put(8, 4);
        put(entries.size(), 2);
        for (const Entry& e : entries) {
            put(e.tag, 2);
            put(e.type, 2);
            put(e.tag == 258 ? 3 : 1, 4);
            const std::uint32_t value = e.tag == 258   ? bitsOffset
                                        : e.tag == 273 ? pixelOffset
                                                       : e.value;
            if (e.type == 3 && e.tag != 258) {
                put(value, 2);
                put(0, 2);
            } else {
                put(value, 4);
            }
        }
        put(0, 4);
        for (int k = 0; k < 3; ++k) put(static_cast<std::uint64_t>(bits), 2);
        for (std::uint32_t y = 0; y < height; ++y) {
            for (std::uint32_t x = 0; x < width; ++x) {
                const Rgb p = pixel(x, y);
                for (std::uint16_t s : {p.r, p.g, p.b}) put(s, bits / 8);
            }
        }
        out.resize(out.size() - std::min(cutPixelBytes, static_cast<std::size_t>(stripBytes)));
        std::ofstream(path, std::ios::binary)
            .write(reinterpret_cast<const char*>(out.data()),
                   static_cast<std::streamsize>(out.size()));
    }
};

// A fresh, empty folder under the system's temporary folder, removed at the end.
class TempFolder {
  public:
    TempFolder() {
        static int counter = 0;
        path_ = std::filesystem::temp_directory_path() /
                ("brisavane-test-" + std::to_string(::getpid()) + "-" + std::to_string(counter++));
        std::filesystem::remove_all(path_);
        std::filesystem::create_directories(path_);
    }
    ~TempFolder() {
        std::error_code ec;
        std::filesystem::remove_all(path_, ec);
    }
    const std::filesystem::path& Path() const { return path_; }
    std::filesystem::path operator/(const std::string& name) const { return path_ / name; }

  private:
    std::filesystem::path path_;
};

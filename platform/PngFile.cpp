#include "PngFile.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <fstream>

namespace {
std::uint32_t Crc32(const std::string& bytes, std::size_t from) {
    static const std::array<std::uint32_t, 256> table = [] {
        std::array<std::uint32_t, 256> t{};
        for (std::uint32_t n = 0; n < 256; ++n) {
            std::uint32_t c = n;
            for (int k = 0; k < 8; ++k) c = (c & 1) ? 0xEDB88320u ^ (c >> 1) : c >> 1;
            t[n] = c;
        }
        return t;
    }();
    std::uint32_t crc = 0xFFFFFFFFu;
    for (std::size_t i = from; i < bytes.size(); ++i)
        crc = table[(crc ^ static_cast<std::uint8_t>(bytes[i])) & 255u] ^ (crc >> 8);
    return crc ^ 0xFFFFFFFFu;
}

std::uint32_t Adler32(const std::string& bytes) {
    std::uint32_t a = 1, b = 0;
    for (const char c : bytes) {
        a = (a + static_cast<std::uint8_t>(c)) % 65521u;
        b = (b + a) % 65521u;
    }
    return b << 16 | a;
}

void PutBigEndian(std::string& out, std::uint32_t value, int bytes) {
    for (int k = bytes - 1; k >= 0; --k) out += static_cast<char>((value >> (8 * k)) & 255u);
}

void PutChunk(std::string& png, const char* type, const std::string& data) {
    PutBigEndian(png, static_cast<std::uint32_t>(data.size()), 4);
    const std::size_t start = png.size();
    png += type;
    png += data;
    PutBigEndian(png, Crc32(png, start), 4);
}

// A zlib stream of stored blocks of at most 65535 bytes each.
std::string StoredZlib(const std::string& raw) {
    std::string z = "\x78\x01";
    std::size_t at = 0;
    do {
        const std::size_t length = std::min<std::size_t>(65535, raw.size() - at);
        z += static_cast<char>(at + length == raw.size() ? 1 : 0);
        z += static_cast<char>(length & 255u);
        z += static_cast<char>(length >> 8);
        z += static_cast<char>(~length & 255u);
        z += static_cast<char>((~length >> 8) & 255u);
        z.append(raw, at, length);
        at += length;
    } while (at < raw.size());
    PutBigEndian(z, Adler32(raw), 4);
    return z;
}

// Every scan line starts with filter type 0 (none).
std::string ScanLines(const Picture& picture) {
    std::string raw;
    raw.reserve(static_cast<std::size_t>(picture.Height() * (picture.Width() * 3 + 1)));
    for (std::int64_t y = 0; y < picture.Height(); ++y) {
        raw += '\0';
        for (std::int64_t x = 0; x < picture.Width(); ++x) {
            const std::uint32_t colour = picture.Pixel(x, y);
            raw += static_cast<char>((colour >> 16) & 255u);
            raw += static_cast<char>((colour >> 8) & 255u);
            raw += static_cast<char>(colour & 255u);
        }
    }
    return raw;
}
}  // namespace

std::string EncodePng(const Picture& picture) {
    std::string png = "\x89PNG\r\n\x1a\n";
    std::string header;
    PutBigEndian(header, static_cast<std::uint32_t>(picture.Width()), 4);
    PutBigEndian(header, static_cast<std::uint32_t>(picture.Height()), 4);
    header +=
        std::string("\x08\x02\x00\x00\x00", 5);  // 8 bits, RGB, deflate, no filter, no interlace
    PutChunk(png, "IHDR", header);
    PutChunk(png, "IDAT", StoredZlib(ScanLines(picture)));
    PutChunk(png, "IEND", "");
    return png;
}

bool WritePng(const Picture& picture, const std::string& path) {
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    const std::string png = EncodePng(picture);
    file.write(png.data(), static_cast<std::streamsize>(png.size()));
    file.close();
    return static_cast<bool>(file);
}

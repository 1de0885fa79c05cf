#pragma once

// Hand-built RGB TIFF files for the tests: every byte is known, so whatever a
// test expects of a file it can compute from the builder's own description.

#include <cstdint>
#include <fstream>
#include <functional>
#include <string>
#include <vector>

namespace testing_tiff {

struct Rgb {
    std::uint16_t r, g, b;
};

// A directory entry as it stands in the file. A lone SHORT sits in the first
// two bytes of the value field.
struct Entry {
    std::uint16_t tag;
    std::uint16_t type;
    std::uint32_t count;
    std::uint32_t value;
};

struct TiffSpec {
    std::uint32_t width = 4;
    std::uint32_t height = 3;
    int bits = 8;               // 8 or 16
    std::uint32_t samples = 3;  // samples past the third are written as 0
    bool littleEndian = true;
    std::int64_t rowsPerStrip = -1;  // -1: the height; -2: no such entry
    std::vector<Entry> extra;        // after the standard entries; a later duplicate wins
    std::function<Rgb(std::uint32_t x, std::uint32_t y)> pixel = [](std::uint32_t x,
                                                                    std::uint32_t y) {
        return Rgb{static_cast<std::uint16_t>(x), static_cast<std::uint16_t>(y), 7};
    };
    std::string iccProfile;         // stored before the pixels when not empty
    std::string trailer;            // bytes after the last pixel row
    std::size_t dropTailBytes = 0;  // cuts the file short by this many bytes
};

inline TiffSpec SpecOf(std::uint32_t width, std::uint32_t height, int bits, bool little) {
    TiffSpec s;
    s.width = width;
    s.height = height;
    s.bits = bits;
    s.littleEndian = little;
    return s;
}

// The default 4 x 3 image with entries after the standard ones.
inline TiffSpec Tagged(std::vector<Entry> extra, bool little = true, int bits = 8,
                       std::int64_t rowsPerStrip = -1) {
    TiffSpec s = SpecOf(4, 3, bits, little);
    s.extra = std::move(extra);
    s.rowsPerStrip = rowsPerStrip;
    return s;
}

struct BuiltTiff {
    std::string bytes;
    std::size_t imageOffset = 0;
    std::size_t bytesPerRow = 0;
};

inline void PutValue(std::string& out, std::uint32_t value, int width, bool little) {
    for (int k = 0; k < width; ++k) {
        const int shift = little ? k : width - 1 - k;
        out += static_cast<char>((value >> (8 * shift)) & 255u);
    }
}

inline BuiltTiff BuildTiff(const TiffSpec& s) {
    BuiltTiff built;
    const std::uint32_t sampleBytes = s.bits / 8;
    built.bytesPerRow = std::size_t{s.width} * s.samples * sampleBytes;
    const std::uint32_t entries =
        11 + static_cast<std::uint32_t>(s.extra.size()) - (s.rowsPerStrip == -2 ? 1 : 0);
    const std::uint32_t ifd = 8, bitsAt = ifd + 2 + entries * 12 + 4;
    const std::uint32_t profileAt = bitsAt + 2 * s.samples;
    const auto profileLength = static_cast<std::uint32_t>(s.iccProfile.size());
    built.imageOffset = profileAt + profileLength;
    const std::uint32_t rows =
        s.rowsPerStrip < 0 ? s.height : static_cast<std::uint32_t>(s.rowsPerStrip);

    std::string& out = built.bytes;
    out += s.littleEndian ? "II" : "MM";
    PutValue(out, 42, 2, s.littleEndian);
    PutValue(out, ifd, 4, s.littleEndian);
    PutValue(out, entries, 2, s.littleEndian);
    const auto entry = [&](std::uint32_t tag, std::uint32_t type, std::uint32_t count,
                           std::uint32_t value) {
        PutValue(out, tag, 2, s.littleEndian);
        PutValue(out, type, 2, s.littleEndian);
        PutValue(out, count, 4, s.littleEndian);
        if (type == 3 && count == 1) {  // a SHORT sits in the first two bytes
            PutValue(out, value, 2, s.littleEndian);
            PutValue(out, 0, 2, s.littleEndian);
        } else {
            PutValue(out, value, 4, s.littleEndian);
        }
    };
    entry(256, 4, 1, s.width);
    entry(257, 4, 1, s.height);
    entry(258, 3, s.samples, bitsAt);
    entry(259, 3, 1, 1);
    entry(262, 3, 1, 2);
    entry(273, 4, 1, static_cast<std::uint32_t>(built.imageOffset));
    entry(277, 3, 1, s.samples);
    if (s.rowsPerStrip != -2) entry(278, 4, 1, rows);
    entry(279, 4, 1, static_cast<std::uint32_t>(built.bytesPerRow * s.height));
    entry(284, 3, 1, 1);
    if (profileLength > 0)
        entry(34675, 7, profileLength, profileAt);
    else
        entry(305, 2, 4, 0x00626174);  // Software "tab", a tag the reader ignores
    for (const Entry& e : s.extra) entry(e.tag, e.type, e.count, e.value);
    PutValue(out, 0, 4, s.littleEndian);
    for (std::uint32_t k = 0; k < s.samples; ++k)
        PutValue(out, static_cast<std::uint32_t>(s.bits), 2, s.littleEndian);
    out += s.iccProfile;
    for (std::uint32_t y = 0; y < s.height; ++y)
        for (std::uint32_t x = 0; x < s.width; ++x) {
            const Rgb p = s.pixel(x, y);
            for (const std::uint16_t v : {p.r, p.g, p.b})
                PutValue(out, v, sampleBytes, s.littleEndian);
            for (std::uint32_t k = 3; k < s.samples; ++k)
                PutValue(out, 0, sampleBytes, s.littleEndian);
        }
    out += s.trailer;
    out.resize(out.size() - std::min(s.dropTailBytes, out.size()));
    return built;
}

inline void WriteFile(const std::string& path, const std::string& bytes) {
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

inline void WriteTiff(const std::string& path, const TiffSpec& image) {
    WriteFile(path, BuildTiff(image).bytes);
}

inline std::string ReadFile(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
}

}  // namespace testing_tiff

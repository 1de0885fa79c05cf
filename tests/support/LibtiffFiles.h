#pragma once

// Real TIFF files from an independent writer, libtiff, for tests only.

#include <tiffio.h>

#include <cstdint>
#include <filesystem>
#include <stdexcept>
#include <vector>

namespace testing_tiff {

struct LibtiffImage {
    std::uint32_t width = 3;
    std::uint32_t height = 2;
    int bits = 8;
    bool bigEndian = false;
    std::uint32_t rowsPerStrip = 0;      // 0: the whole image in one strip
    std::vector<std::uint16_t> samples;  // width x height x 3
};

inline void WriteWithLibtiff(const std::filesystem::path& path, const LibtiffImage& image) {
    TIFF* tif = TIFFOpen(path.c_str(), image.bigEndian ? "wb" : "wl");
    if (!tif) throw std::runtime_error("libtiff could not create " + path.string());
    TIFFSetField(tif, TIFFTAG_IMAGEWIDTH, image.width);
    TIFFSetField(tif, TIFFTAG_IMAGELENGTH, image.height);
    TIFFSetField(tif, TIFFTAG_BITSPERSAMPLE, image.bits);
    TIFFSetField(tif, TIFFTAG_SAMPLESPERPIXEL, 3);
    TIFFSetField(tif, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_RGB);
    TIFFSetField(tif, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
    TIFFSetField(tif, TIFFTAG_COMPRESSION, COMPRESSION_NONE);
    TIFFSetField(tif, TIFFTAG_ROWSPERSTRIP, image.rowsPerStrip ? image.rowsPerStrip : image.height);
    const std::size_t rowSamples = std::size_t{image.width} * 3;
    std::vector<std::uint8_t> row(rowSamples * (image.bits / 8));
    for (std::uint32_t y = 0; y < image.height; ++y) {
        for (std::size_t k = 0; k < rowSamples; ++k) {
            const std::size_t at = y * rowSamples + k;
            const std::uint16_t s = at < image.samples.size() ? image.samples[at] : 0;
            if (image.bits == 8)
                row[k] = static_cast<std::uint8_t>(s);
            else
                reinterpret_cast<std::uint16_t*>(row.data())[k] = s;  // host order; libtiff swaps
        }
        TIFFWriteScanline(tif, row.data(), y, 0);
    }
    TIFFClose(tif);
}

// The strip offset libtiff itself reads back, to compare with ours.
inline std::uint64_t LibtiffStripOffset(const std::filesystem::path& path) {
    TIFF* tif = TIFFOpen(path.c_str(), "r");
    if (!tif) throw std::runtime_error("libtiff could not open " + path.string());
    std::uint64_t* offsets = nullptr;
    TIFFGetField(tif, TIFFTAG_STRIPOFFSETS, &offsets);
    const std::uint64_t first = offsets ? offsets[0] : 0;
    TIFFClose(tif);
    return first;
}

}  // namespace testing_tiff

#pragma once

// Real TIFF files made and read back by libtiff, an independent writer and
// reader, for tests only: no expected byte comes from the code under test.

#include <gtest/gtest.h>
#include <tiffio.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <random>
#include <string>
#include <vector>

#include "MemoryBlock.h"
#include "TiffBuilder.h"

// Pixels are the samples in the host's byte order, as libtiff takes and gives them.
struct LibtiffImage {
    std::uint32_t width = 0, height = 0;
    std::uint16_t bits = 8, samples = 3, photometric = PHOTOMETRIC_RGB;
    bool bigEndian = false;  // the file's byte order
    std::vector<std::uint8_t> pixels, profile;
};

// Distinct-looking bytes, so that a swapped, shifted or dropped byte shows.
inline std::vector<std::uint8_t> PatternBytes(std::size_t count, unsigned seed = 7) {
    std::mt19937 engine(seed);
    std::vector<std::uint8_t> bytes(count);
    for (auto& b : bytes) b = static_cast<std::uint8_t>(engine());
    return bytes;
}

inline LibtiffImage PatternImage(std::uint32_t width, std::uint32_t height, std::uint16_t bits) {
    return {width,
            height,
            bits,
            3,
            PHOTOMETRIC_RGB,
            false,
            PatternBytes(std::size_t{width} * height * 3 * (bits / 8))};
}

// An RGB image from its samples, row by row.
inline LibtiffImage ImageOfSamples(std::uint32_t width, std::uint32_t height, std::uint16_t bits,
                                   const std::vector<std::uint16_t>& samples) {
    LibtiffImage image{width, height, bits};
    for (std::uint16_t v : samples) {
        const auto* raw = reinterpret_cast<const std::uint8_t*>(&v);  // host order
        image.pixels.insert(image.pixels.end(), raw, raw + bits / 8);
    }
    return image;
}

// Uncompressed and interleaved, in the chosen byte order.
inline void WriteWithLibtiff(const std::filesystem::path& path, const LibtiffImage& image) {
    TIFF* tif = TIFFOpen(path.c_str(), image.bigEndian ? "wb" : "wl");
    TIFFSetField(tif, TIFFTAG_IMAGEWIDTH, image.width);
    TIFFSetField(tif, TIFFTAG_IMAGELENGTH, image.height);
    TIFFSetField(tif, TIFFTAG_BITSPERSAMPLE, image.bits);
    TIFFSetField(tif, TIFFTAG_SAMPLESPERPIXEL, image.samples);
    TIFFSetField(tif, TIFFTAG_PHOTOMETRIC, image.photometric);
    TIFFSetField(tif, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
    TIFFSetField(tif, TIFFTAG_ROWSPERSTRIP, image.height);
    if (!image.profile.empty())
        TIFFSetField(tif, TIFFTAG_ICCPROFILE, std::uint32_t(image.profile.size()),
                     image.profile.data());
    // libtiff wants a writable row; it may swap the samples in place.
    const std::size_t rowBytes = std::size_t{image.width} * image.samples * (image.bits / 8);
    std::vector<std::uint8_t> row(rowBytes);
    for (std::uint32_t y = 0; y < image.height; ++y) {
        std::copy_n(image.pixels.begin() + static_cast<long>(y * rowBytes), rowBytes, row.begin());
        TIFFWriteScanline(tif, row.data(), y, 0);
    }
    TIFFClose(tif);
}

inline LibtiffImage ReadWithLibtiff(const std::filesystem::path& path) {
    LibtiffImage image;
    TIFF* tif = TIFFOpen(path.c_str(), "r");
    if (!tif) return image;
    TIFFGetField(tif, TIFFTAG_IMAGEWIDTH, &image.width);
    TIFFGetField(tif, TIFFTAG_IMAGELENGTH, &image.height);
    TIFFGetField(tif, TIFFTAG_BITSPERSAMPLE, &image.bits);
    TIFFGetField(tif, TIFFTAG_SAMPLESPERPIXEL, &image.samples);
    TIFFGetField(tif, TIFFTAG_PHOTOMETRIC, &image.photometric);
    const auto rowBytes = static_cast<std::size_t>(TIFFScanlineSize(tif));
    image.pixels.resize(rowBytes * image.height);
    for (std::uint32_t y = 0; y < image.height; ++y)
        if (TIFFReadScanline(tif, &image.pixels[y * rowBytes], y, 0) < 0) image.pixels.clear();
    std::uint32_t length = 0;
    std::uint8_t* profile = nullptr;
    if (TIFFGetField(tif, TIFFTAG_ICCPROFILE, &length, &profile))
        image.profile.assign(profile, profile + length);
    TIFFClose(tif);
    return image;
}

// A file in any layout libtiff reads, copied by tiffcp into uncompressed
// interleaved strips at scratch and read back from there.
inline LibtiffImage ReadPlainWithLibtiff(const std::filesystem::path& path,
                                         const std::filesystem::path& scratch) {
    const std::string copy =
        "tiffcp -s -p contig -c none " + path.string() + " " + scratch.string();
    EXPECT_EQ(std::system(copy.c_str()), 0) << copy;
    return ReadWithLibtiff(scratch);
}

inline std::vector<std::uint8_t> FileBytes(const std::filesystem::path& path) {
    const std::string bytes = testing_tiff::ReadFile(path.string());
    return {bytes.begin(), bytes.end()};
}

inline std::vector<std::uint8_t> BlockBytes(const MemoryBlock& block) {
    return {block.Data(), block.Data() + block.Size()};
}

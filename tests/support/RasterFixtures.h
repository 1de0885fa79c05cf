#pragma once

// Real TIFF files for the raster, writer and info tests, made and read back by
// libtiff, an independent writer and reader: no expected byte comes from the
// code under test.

#include <tiffio.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <vector>

#include "MemoryBlock.h"
#include "Progress.h"

// Pixels are the samples in the host's byte order, as libtiff takes and gives them.
struct LibtiffImage {
    std::uint32_t width = 0, height = 0;
    std::uint16_t bits = 8, samples = 3, photometric = PHOTOMETRIC_RGB;
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
    LibtiffImage image;
    image.width = width;
    image.height = height;
    image.bits = bits;
    image.pixels = PatternBytes(std::size_t{width} * height * 3 * (bits / 8));
    return image;
}

// One uncompressed, interleaved strip in the chosen byte order.
inline void WriteWithLibtiff(const std::filesystem::path& path, LibtiffImage image,
                             bool bigEndian = false) {
    TIFF* tif = TIFFOpen(path.c_str(), bigEndian ? "wb" : "wl");
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
    TIFFWriteEncodedStrip(tif, 0, image.pixels.data(), tmsize_t(image.pixels.size()));
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
    image.pixels.resize(std::size_t(TIFFStripSize(tif)));
    if (TIFFReadEncodedStrip(tif, 0, image.pixels.data(), TIFFStripSize(tif)) < 0)
        image.pixels.clear();
    std::uint32_t length = 0;
    std::uint8_t* profile = nullptr;
    if (TIFFGetField(tif, TIFFTAG_ICCPROFILE, &length, &profile))
        image.profile.assign(profile, profile + length);
    TIFFClose(tif);
    return image;
}

inline std::vector<std::uint8_t> FileBytes(const std::filesystem::path& path) {
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

inline std::vector<std::uint8_t> BlockBytes(const MemoryBlock& block) {
    return {block.Data(), block.Data() + block.Size()};
}

// A fresh folder for one test, removed with everything in it afterwards.
struct ScratchFolder {
    inline static int serial = 0;
    const std::filesystem::path path =
        std::filesystem::temp_directory_path() /
        ("brisavane-raster-" + std::to_string(getpid()) + "-" + std::to_string(++serial));
    ScratchFolder() { std::filesystem::create_directories(path); }
    ~ScratchFolder() { std::filesystem::remove_all(path); }
    std::filesystem::path operator/(const std::string& name) const { return path / name; }
};

// Every value a progress bar is set to, and its maxima.
struct RecordedProgress : Progress {
    void SetMaximum(std::int64_t maximum) override { maxima.push_back(maximum); }
    void SetValue(double value) override { values.push_back(value); }
    void SetVisible(bool) override {}
    void Refresh() override {}
    std::vector<std::int64_t> maxima;
    std::vector<double> values;
};

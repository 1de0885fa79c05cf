#pragma once

// Real TIFF files for the raster, writer and info tests, made and read back by
// libtiff: an independent writer and reader, so that expected bytes never come
// from the code under test.

#include <tiffio.h>
#include <unistd.h>

#include <cstdint>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

#include "Progress.h"

// Every call a progress bar gets, in order.
class RecordedProgress : public Progress {
  public:
    void SetMaximum(std::int64_t maximum) override { maxima.push_back(maximum); }
    void SetValue(double value) override { values.push_back(value); }
    void SetVisible(bool) override {}
    void Refresh() override { ++refreshes; }

    std::vector<std::int64_t> maxima;
    std::vector<double> values;
    int refreshes = 0;
};

// What a file holds: pixels are the samples in the host's byte order, as libtiff
// takes and gives them.
struct LibtiffImage {
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    std::uint16_t bits = 8;
    std::uint16_t samples = 3;
    std::uint16_t photometric = PHOTOMETRIC_RGB;
    std::vector<std::uint8_t> pixels;
    std::vector<std::uint8_t> profile;
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

// Writes one uncompressed, interleaved strip in the chosen byte order.
inline void WriteWithLibtiff(const std::filesystem::path& path, const LibtiffImage& image,
                             bool bigEndian = false) {
    TIFF* tif = TIFFOpen(path.c_str(), bigEndian ? "wb" : "wl");
    if (!tif) throw std::runtime_error("libtiff can't create " + path.string());
    TIFFSetField(tif, TIFFTAG_IMAGEWIDTH, image.width);
    TIFFSetField(tif, TIFFTAG_IMAGELENGTH, image.height);
    TIFFSetField(tif, TIFFTAG_BITSPERSAMPLE, image.bits);
    TIFFSetField(tif, TIFFTAG_SAMPLESPERPIXEL, image.samples);
    TIFFSetField(tif, TIFFTAG_PHOTOMETRIC, image.photometric);
    TIFFSetField(tif, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
    TIFFSetField(tif, TIFFTAG_COMPRESSION, COMPRESSION_NONE);
    TIFFSetField(tif, TIFFTAG_ROWSPERSTRIP, image.height);
    if (!image.profile.empty())
        TIFFSetField(tif, TIFFTAG_ICCPROFILE, static_cast<std::uint32_t>(image.profile.size()),
                     image.profile.data());
    std::vector<std::uint8_t> strip = image.pixels;  // libtiff may swap in place
    TIFFWriteEncodedStrip(tif, 0, strip.data(), static_cast<tmsize_t>(strip.size()));
    TIFFClose(tif);
}

// Reads the first directory and its one strip; throws when libtiff refuses.
inline LibtiffImage ReadWithLibtiff(const std::filesystem::path& path) {
    TIFF* tif = TIFFOpen(path.c_str(), "r");
    if (!tif) throw std::runtime_error("libtiff can't read " + path.string());
    LibtiffImage image;
    TIFFGetField(tif, TIFFTAG_IMAGEWIDTH, &image.width);
    TIFFGetField(tif, TIFFTAG_IMAGELENGTH, &image.height);
    TIFFGetFieldDefaulted(tif, TIFFTAG_BITSPERSAMPLE, &image.bits);
    TIFFGetFieldDefaulted(tif, TIFFTAG_SAMPLESPERPIXEL, &image.samples);
    TIFFGetField(tif, TIFFTAG_PHOTOMETRIC, &image.photometric);
    image.pixels.resize(static_cast<std::size_t>(TIFFStripSize(tif)));
    const tmsize_t got = TIFFReadEncodedStrip(tif, 0, image.pixels.data(), TIFFStripSize(tif));
    if (got < 0) image.pixels.clear();
    std::uint32_t length = 0;
    void* profile = nullptr;
    if (TIFFGetField(tif, TIFFTAG_ICCPROFILE, &length, &profile))
        image.profile.assign(static_cast<std::uint8_t*>(profile),
                             static_cast<std::uint8_t*>(profile) + length);
    TIFFClose(tif);
    return image;
}

inline std::vector<std::uint8_t> FileBytes(const std::filesystem::path& path) {
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

// A fresh folder for one test, removed with everything in it afterwards.
class ScratchFolder {
  public:
    ScratchFolder() {
        static int serial = 0;
        path_ = std::filesystem::temp_directory_path() /
                ("brisavane-raster-" + std::to_string(::getpid()) + "-" + std::to_string(++serial));
        std::filesystem::create_directories(path_);
    }
    ~ScratchFolder() {
        std::error_code ec;
        std::filesystem::remove_all(path_, ec);
    }
    std::filesystem::path operator/(const std::string& name) const { return path_ / name; }

  private:
    std::filesystem::path path_;
};

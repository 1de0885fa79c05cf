#pragma once

// Real TIFF files made and read back by libtiff, an independent writer and
// reader, for tests only: no expected byte comes from the code under test.

#include <gtest/gtest.h>
#include <tiffio.h>

#include <algorithm>
#include <filesystem>
#include <random>
#include <string>
#include <vector>

#include "LibtiffFile.h"
#include "TiffBuilder.h"

// Pixels are the samples in the host's byte order, as libtiff takes and gives
// them; samples past the third are extra samples.
struct LibtiffImage {
    std::uint32_t width = 0, height = 0;
    std::uint16_t bits = 8, samples = 3, photometric = PHOTOMETRIC_RGB;
    bool bigEndian = false;  // the file's byte order
    std::vector<std::uint8_t> pixels, profile;
    bool planar = false;  // a plane a sample, as tiffcp can't make them of 16-bit samples
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

// An image from its samples, row by row.
inline LibtiffImage ImageOfSamples(std::uint32_t width, std::uint32_t height, std::uint16_t bits,
                                   const std::vector<std::uint16_t>& samples,
                                   std::uint16_t perPixel = 3) {
    LibtiffImage image{width, height, bits, perPixel};
    for (std::uint16_t v : samples) {
        const auto* raw = reinterpret_cast<const std::uint8_t*>(&v);  // host order
        image.pixels.insert(image.pixels.end(), raw, raw + bits / 8);
    }
    return image;
}

// Uncompressed, one strip (a plane), in the chosen byte order.
inline void WriteWithLibtiff(const std::filesystem::path& path, const LibtiffImage& image) {
    TIFF* tif = TIFFOpen(path.c_str(), image.bigEndian ? "wb" : "wl");
    TIFFSetField(tif, TIFFTAG_IMAGEWIDTH, image.width);
    TIFFSetField(tif, TIFFTAG_IMAGELENGTH, image.height);
    TIFFSetField(tif, TIFFTAG_BITSPERSAMPLE, image.bits);
    TIFFSetField(tif, TIFFTAG_SAMPLESPERPIXEL, image.samples);
    TIFFSetField(tif, TIFFTAG_PHOTOMETRIC, image.photometric);
    TIFFSetField(tif, TIFFTAG_PLANARCONFIG,
                 image.planar ? PLANARCONFIG_SEPARATE : PLANARCONFIG_CONTIG);
    TIFFSetField(tif, TIFFTAG_ROWSPERSTRIP, image.height);
    const std::vector<std::uint16_t> extras(image.samples > 3 ? image.samples - 3 : 0,
                                            EXTRASAMPLE_UNSPECIFIED);
    if (!extras.empty())
        TIFFSetField(tif, TIFFTAG_EXTRASAMPLES, std::uint16_t(extras.size()), extras.data());
    if (!image.profile.empty())
        TIFFSetField(tif, TIFFTAG_ICCPROFILE, std::uint32_t(image.profile.size()),
                     image.profile.data());
    // libtiff wants a writable row; it may swap the samples in place.
    const std::size_t size = image.bits / 8,
                      rowBytes = std::size_t{image.width} * image.samples * size;
    std::vector<std::uint8_t> row(rowBytes);
    for (std::uint16_t plane = 0; plane < (image.planar ? image.samples : 1); ++plane)
        for (std::uint32_t y = 0; y < image.height; ++y) {
            const std::uint8_t* from = &image.pixels[y * rowBytes];
            if (!image.planar) std::copy_n(from, rowBytes, row.begin());
            for (std::uint32_t x = 0; image.planar && x < image.width; ++x)
                std::copy_n(from + (x * image.samples + plane) * size, size, &row[x * size]);
            TIFFWriteScanline(tif, row.data(), y, plane);
        }
    TIFFClose(tif);
}

// A file of any layout, decoded strip by strip or tile by tile into one
// interleaved host-order image of all its samples, and its ICC profile.
struct Decoded {
    std::uint32_t width = 0, height = 0;
    std::uint16_t samples = 0, bits = 0, photometric = 0;
    std::vector<std::uint8_t> pixels, profile;

    std::size_t At(std::uint32_t x, std::uint32_t y, std::uint16_t s) const {
        return ((std::size_t{y} * width + x) * samples + s) * (bits / 8);
    }
    // The colour samples of row y, or of every row.
    std::vector<std::uint8_t> Colours(std::uint32_t from = 0, std::uint32_t to = ~0u) const {
        std::vector<std::uint8_t> colours;
        for (std::size_t at = At(0, from, 0); at < std::min(pixels.size(), At(0, to, 0));
             at += At(1, 0, 0))
            colours.insert(colours.end(), &pixels[at], &pixels[at] + 3 * bits / 8);
        return colours;
    }
};

inline Decoded Decode(const std::filesystem::path& path) {
    LibtiffFile file(path, "r");
    Decoded d{file.width, file.height, file.samples, file.bits, file.photometric};
    std::uint32_t length = 0;
    std::uint8_t* profile = nullptr;
    if (!file.Handle()) {
        ADD_FAILURE() << path << " can't be read";
        return d;
    }
    if (TIFFGetField(file.Handle(), TIFFTAG_ICCPROFILE, &length, &profile))
        d.profile.assign(profile, profile + length);
    d.pixels.resize(d.At(0, file.height, 0));
    std::vector<std::uint8_t> chunk(file.ChunkBytes());
    const std::size_t w = d.bits / 8, per = file.ChunkSamples();
    for (std::uint32_t c = 0; c < file.Chunks() && file.ReadChunk(c, chunk.data()) > 0; ++c) {
        const LibtiffFile::Place at = file.PlaceOf(c);
        for (std::uint32_t y = 0; y < at.rows; ++y)
            for (std::uint32_t x = 0; x < at.width * per; ++x)
                std::copy_n(&chunk[y * at.rowBytes + x * w], w,
                            &d.pixels[d.At(at.x + x / per, at.y + y, at.plane + x % per)]);
    }
    EXPECT_EQ(file.Error(), "") << path;
    return d;
}

// A command, such as tiffcp remaking a file in another layout, that must succeed.
inline void Shell(const std::string& command) {
    EXPECT_EQ(std::system(command.c_str()), 0) << command;
}

inline std::vector<std::uint8_t> FileBytes(const std::filesystem::path& path) {
    const std::string bytes = testing_tiff::ReadFile(path.string());
    return {bytes.begin(), bytes.end()};
}

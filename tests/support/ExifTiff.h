#pragma once

// Small RGB TIFFs carrying what a CardExif describes, written by libtiff with
// its custom-directory API: an independent writer of what ReadCardExif reads.

#include <tiffio.h>

#include <array>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include "CardExif.h"

// Camera X with the macro lens at 100 mm, 6 x 4 pixels of 16 bits.
inline CardExif Macro(double fNumber, const char* when) {
    return {.width = 6,
            .height = 4,
            .bitsPerSample = 16,
            .make = "Maker",
            .model = "Camera X",
            .hasExif = true,
            .lensMake = "Lenscorp",
            .lensModel = "Macro 100mm",
            .lensSpecification = {{100, 100, 2.8, 2.8}},
            .focalLength = 100,
            .fNumber = fNumber,
            .dateTimeOriginal = when};
}

// What the file holds beyond its EXIF: its pixels (the bytes of `pixels`
// when given, else a slope from `level`, black at 0), compression, and an
// XMP packet when one is given.
struct ExifTiffBody {
    std::uint16_t level = 0;
    std::string pixels;
    std::uint16_t compression = COMPRESSION_NONE;
    std::string xmp;
};

// The pixels of the size and depth given, Make and Model in the first
// directory and, when exif.hasExif, the EXIF directory after it, whose offset
// the first directory then gets as it is written anew.
inline void WriteExifTiff(const std::filesystem::path& path, const CardExif& exif,
                          const ExifTiffBody& body = {}) {
    TIFF* tif = TIFFOpen(path.c_str(), "w");
    const auto text = [&](std::uint32_t tag, const std::optional<std::string>& value) {
        if (value) TIFFSetField(tif, tag, value->c_str());
    };
    TIFFSetField(tif, TIFFTAG_IMAGEWIDTH, exif.width);
    TIFFSetField(tif, TIFFTAG_IMAGELENGTH, exif.height);
    TIFFSetField(tif, TIFFTAG_BITSPERSAMPLE, exif.bitsPerSample);
    TIFFSetField(tif, TIFFTAG_SAMPLESPERPIXEL, 3);
    TIFFSetField(tif, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_RGB);
    TIFFSetField(tif, TIFFTAG_ROWSPERSTRIP, exif.height);
    TIFFSetField(tif, TIFFTAG_COMPRESSION, body.compression);
    text(TIFFTAG_MAKE, exif.make);
    text(TIFFTAG_MODEL, exif.model);
    if (!body.xmp.empty())
        TIFFSetField(tif, TIFFTAG_XMLPACKET, static_cast<std::uint32_t>(body.xmp.size()),
                     body.xmp.data());
    std::vector<std::uint8_t> pixels(body.pixels.begin(), body.pixels.end());
    pixels.resize(std::size_t{exif.width} * exif.height * 3 * (exif.bitsPerSample / 8));
    for (std::size_t k = 0; body.level && k < pixels.size() / 2; ++k) {
        const auto value = static_cast<std::uint16_t>(body.level - 211 * (k % 18) - 97 * (k / 18));
        std::memcpy(&pixels[2 * k], &value, 2);
    }
    TIFFWriteEncodedStrip(tif, 0, pixels.data(), static_cast<tmsize_t>(pixels.size()));
    if (exif.hasExif) {
        TIFFWriteDirectory(tif);
        TIFFCreateEXIFDirectory(tif);
        text(EXIFTAG_LENSMAKE, exif.lensMake);
        text(EXIFTAG_LENSMODEL, exif.lensModel);
        text(EXIFTAG_DATETIMEORIGINAL, exif.dateTimeOriginal);
        if (exif.focalLength) TIFFSetField(tif, EXIFTAG_FOCALLENGTH, *exif.focalLength);
        if (exif.fNumber) TIFFSetField(tif, EXIFTAG_FNUMBER, *exif.fNumber);
        if (const auto& s = exif.lensSpecification) {
            std::array<float, 4> values{float((*s)[0]), float((*s)[1]), float((*s)[2]),
                                        float((*s)[3])};
            TIFFSetField(tif, EXIFTAG_LENSSPECIFICATION, values.data());
        }
        std::uint64_t offset = 0;
        TIFFWriteCustomDirectory(tif, &offset);
        TIFFSetDirectory(tif, 0);
        TIFFSetField(tif, TIFFTAG_EXIFIFD, offset);
        TIFFRewriteDirectory(tif);
    }
    TIFFClose(tif);
}

#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>

// What a TIFF says about how it was shot: its size and depth, the camera and
// lens, focal length, aperture and moment, the facts a subject and a white
// card of a card library are matched by. Strings come with trailing NULs and
// blanks trimmed, and one left empty by that counts as missing.
struct CardExif {
    // The first directory.
    std::uint32_t width = 0, height = 0;
    std::uint16_t bitsPerSample = 0;
    std::optional<std::string> make, model;

    // The EXIF directory; all empty when the file has none.
    bool hasExif = false;
    std::optional<std::string> lensMake, lensModel;
    // Shortest and longest focal length in mm, then the smallest f-number at
    // each. libtiff reads a rational of 0/0 ("unknown") as 0, so 0 stands for
    // unknown here.
    std::optional<std::array<double, 4>> lensSpecification;
    // Both positive when present: a 0 focal length or f-number is no value.
    std::optional<double> focalLength, fNumber;
    std::optional<std::string> dateTimeOriginal;  // "YYYY:MM:DD HH:MM:SS" as written

    bool operator==(const CardExif&) const = default;
};

// Reads the file's first directory and, when it points to one, its EXIF
// directory, through libtiff with its words kept off stderr. A file without an
// EXIF directory gives a CardExif without those fields. nullopt, with the
// reason in why, for a file libtiff can't read as a TIFF or an EXIF directory
// it can't read (an offset past the end, a broken entry table).
std::optional<CardExif> ReadCardExif(const std::string& path, std::string& why);

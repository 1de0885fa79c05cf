#include "CardExif.h"

#include <cmath>
#include <cstring>

#include "LibtiffFile.h"

namespace {
// An ASCII field, trimmed. A field of fixed length (DateTimeOriginal) may fill
// its bytes without a closing NUL, so no more than that length is read.
std::optional<std::string> Text(TIFF* tif, std::uint32_t tag) {
    const char* text = nullptr;
    if (!TIFFGetField(tif, tag, &text) || !text) return std::nullopt;
    const int fixed = TIFFFieldReadCount(TIFFFieldWithTag(tif, tag));
    std::string value(
        text, fixed > 0 ? strnlen(text, static_cast<std::size_t>(fixed)) : std::strlen(text));
    value.erase(value.find_last_not_of(" \t") + 1);
    if (value.empty()) return std::nullopt;
    return value;
}

// libtiff keeps a rational in a float or a double, as its table of fields
// says, and hands it over in that type: the size must be asked first.
bool HeldAsDouble(TIFF* tif, std::uint32_t tag) {
    return TIFFFieldSetGetSize(TIFFFieldWithTag(tif, tag)) == sizeof(double);
}

template <typename Real>
std::optional<double> RealOf(TIFF* tif, std::uint32_t tag) {
    Real value{};
    if (!TIFFGetField(tif, tag, &value)) return std::nullopt;
    return static_cast<double>(value);
}

std::optional<double> Positive(TIFF* tif, std::uint32_t tag) {
    const std::optional<double> value =
        HeldAsDouble(tif, tag) ? RealOf<double>(tif, tag) : RealOf<float>(tif, tag);
    if (!value || !std::isfinite(*value) || *value <= 0) return std::nullopt;
    return value;
}

template <typename Real>
std::optional<std::array<double, 4>> FourOf(TIFF* tif, std::uint32_t tag) {
    const Real* values = nullptr;
    if (!TIFFGetField(tif, tag, &values) || !values) return std::nullopt;
    return std::array<double, 4>{values[0], values[1], values[2], values[3]};
}

std::optional<std::array<double, 4>> LensSpecification(TIFF* tif) {
    return HeldAsDouble(tif, EXIFTAG_LENSSPECIFICATION)
               ? FourOf<double>(tif, EXIFTAG_LENSSPECIFICATION)
               : FourOf<float>(tif, EXIFTAG_LENSSPECIFICATION);
}

void ReadExifFields(TIFF* tif, CardExif& exif) {
    exif.hasExif = true;
    exif.lensMake = Text(tif, EXIFTAG_LENSMAKE);
    exif.lensModel = Text(tif, EXIFTAG_LENSMODEL);
    exif.lensSpecification = LensSpecification(tif);
    exif.focalLength = Positive(tif, EXIFTAG_FOCALLENGTH);
    exif.fNumber = Positive(tif, EXIFTAG_FNUMBER);
    exif.dateTimeOriginal = Text(tif, EXIFTAG_DATETIMEORIGINAL);
}
}  // namespace

std::optional<CardExif> ReadCardExif(const std::string& path, std::string& why) {
    LibtiffFile file(path, "rm");
    TIFF* tif = file.Handle();
    if (!tif) {
        why = "libtiff can't read it: " + file.Error();
        return std::nullopt;
    }
    CardExif exif;
    exif.width = file.width;
    exif.height = file.height;
    exif.bitsPerSample = file.bits;
    exif.make = Text(tif, TIFFTAG_MAKE);
    exif.model = Text(tif, TIFFTAG_MODEL);
    toff_t offset = 0;
    if (!TIFFGetField(tif, TIFFTAG_EXIFIFD, &offset)) return exif;
    // Reading it leaves the first directory behind, so that comes first.
    if (!TIFFReadEXIFDirectory(tif, offset)) {
        why = "its EXIF directory can't be read" +
              (file.Error().empty() ? std::string() : ": " + file.Error());
        return std::nullopt;
    }
    ReadExifFields(tif, exif);
    return exif;
}

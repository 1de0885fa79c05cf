#include "CardGreen.h"

#include <cstdint>
#include <cstring>

#include "PixelLayout.h"
#include "PositionedIO.h"
#include "RowExtremes.h"
#include "TiffFile.h"
#include "VectorClones.h"

namespace {
// Green alone from pixels of three samples: the card's commonest shape, in a
// straight loop the compiler keeps in vector registers.
template <class Sample, bool Swap>
BRISAVANE_VECTOR_CLONES void PickGreen(const std::uint8_t* __restrict row,
                                       std::uint16_t* __restrict out, std::size_t width) {
    constexpr std::size_t w = sizeof(Sample);
    for (std::size_t p = 0; p < width; ++p)
        out[p] = LoadSample<Sample, Swap>(row + (3 * p + 1) * w);
}

// Samples first to first + taken of each pixel of step samples, into pixels
// of outStep samples.
template <class Sample, bool Swap>
void PickSamples(const std::uint8_t* row, std::uint16_t* out, std::size_t width, std::size_t step,
                 std::size_t first, std::size_t taken, std::size_t outStep) {
    if (step == 3 && first == 1 && taken == 1 && outStep == 1)
        return PickGreen<Sample, Swap>(row, out, width);
    constexpr std::size_t w = sizeof(Sample);
    for (std::size_t p = 0; p < width; ++p)
        for (std::size_t k = 0; k < taken; ++k)
            out[p * outStep + k] = LoadSample<Sample, Swap>(row + (p * step + first + k) * w);
}
}  // namespace

CardGreen::CardGreen(const std::string& path, std::size_t colours)
    : image_(path, "rm"), colours_(colours), inPlace_(image_.Handle() && image_.RowsInPlace()) {
    if (!Opened() || !image_.Unusable().empty()) return;
    bandRows_ = image_.BandRows();
    band_.resize(std::size_t{image_.width} * bandRows_ * colours_);
    chunk_.resize(image_.ChunkBytes());
}

const std::uint16_t* CardGreen::Row(std::uint32_t y) {
    if (y >= image_.height || band_.empty()) return nullptr;
    if (!loaded_ || y < bandStart_ || y >= bandStart_ + bandRows_) {
        loaded_ = LoadBand(y / bandRows_ * bandRows_);
        if (!loaded_) return nullptr;
    }
    return band_.data() + std::size_t{y - bandStart_} * image_.width * colours_;
}

// Green is the second sample of an interleaved pixel, or the second plane; all
// three colours are the first three samples, or the first three planes.
bool CardGreen::LoadBand(std::uint32_t y) {
    bandStart_ = y;
    if (inPlace_ && LoadBandInPlace(y)) return true;
    const bool planar = image_.planar == PLANARCONFIG_SEPARATE;
    const std::size_t planes = planar ? colours_ : 1;
    TIFF* tif = image_.Handle();
    for (std::size_t k = 0; k < planes; ++k) {
        const auto plane = static_cast<std::uint16_t>(!planar ? 0 : colours_ == 1 ? 1 : k);
        for (std::uint32_t x = 0; x < image_.width;
             x += image_.tiled ? image_.tileWidth : image_.width) {
            const std::uint32_t chunk = image_.tiled ? TIFFComputeTile(tif, x, y, 0, plane)
                                                     : TIFFComputeStrip(tif, y, plane);
            if (image_.ReadChunk(chunk, chunk_.data()) < 0) return false;
            Take(chunk_.data(), image_.PlaceOf(chunk), planar ? k : 0);
        }
    }
    return true;
}

// A strip the file holds fewer bytes of than its rows is left to libtiff,
// which says what is wrong with it. The strip's bytes come in one read.
bool CardGreen::LoadBandInPlace(std::uint32_t y) {
    TIFF* tif = image_.Handle();
    const std::uint32_t strip = TIFFComputeStrip(tif, y, 0);
    const LibtiffFile::Place place = image_.PlaceOf(strip);
    const std::uint64_t start = TIFFGetStrileOffset(tif, strip);
    const std::uint64_t length = std::uint64_t{place.rows} * place.rowBytes;
    if (start == 0 || TIFFGetStrileByteCount(tif, strip) < length || length > chunk_.size() ||
        start > std::uint64_t{INT64_MAX} - length)
        return false;
    if (ReadAtPlace(TIFFFileno(tif), chunk_.data(), length, static_cast<std::int64_t>(start)) !=
        length)
        return false;
    const bool swap = image_.bits == 16 && image_.bigEndian == kHostLittleEndian;
    for (std::uint32_t r = 0; r < place.rows; ++r)
        TakeRow(chunk_.data() + std::size_t{r} * place.rowBytes,
                band_.data() + std::size_t{r} * image_.width * colours_, place.width, swap);
    return true;
}

// Takes one chunk's samples into the band, from colour `colour` on.
void CardGreen::Take(const std::uint8_t* chunk, const LibtiffFile::Place& place,
                     std::size_t colour) {
    for (std::uint32_t r = 0; r < place.rows; ++r)
        TakeRow(chunk + r * place.rowBytes,
                band_.data() + (std::size_t{r} * image_.width + place.x) * colours_ + colour,
                place.width, false);
}

// One row's samples into the band: green, or the three colours; swap turns
// 16-bit samples round into the host's order.
void CardGreen::TakeRow(const std::uint8_t* row, std::uint16_t* out, std::uint32_t width,
                        bool swap) const {
    const std::size_t step = image_.ChunkSamples();
    const bool planar = image_.planar == PLANARCONFIG_SEPARATE;
    const std::size_t first = planar || colours_ == 3 ? 0 : 1;
    const std::size_t taken = planar ? 1 : colours_;
    // Whole rows of three 16-bit colours a pixel are already the band's rows.
    if (image_.bits == 16 && !swap && taken == 3 && step == 3)
        std::memcpy(out, row, std::size_t{width} * 6);
    else if (image_.bits == 8)
        PickSamples<std::uint8_t, false>(row, out, width, step, first, taken, colours_);
    else if (swap)
        PickSamples<std::uint16_t, true>(row, out, width, step, first, taken, colours_);
    else
        PickSamples<std::uint16_t, false>(row, out, width, step, first, taken, colours_);
}

bool CardGreen::Scan(TiffFile& record) {
    double max = 0.0, min = 65536.0;
    std::uint32_t x = 0, y = 0;
    for (std::uint32_t r = 0; r < image_.height; ++r) {
        const std::uint16_t* row = Row(r);
        if (!row) return false;
        FoldRowExtremes<1>(row, image_.width, r, &max, &min, &x, &y);
    }
    if (max > 0.0) {
        record.pxmax = x;
        record.pymax = y;
    }
    record.ImageWidth = image_.width;
    record.ImageHeight = image_.height;
    record.RowsPerStrip = image_.height;
    record.BitsPerSample = image_.bits;
    record.BytesPerPixel = 3 * image_.SampleBytes();
    record.BytesPerRow = record.BytesPerPixel * record.ImageWidth;
    record.PixelCount = record.ImageWidth * record.ImageHeight;
    record.LittleEndian = !image_.bigEndian;
    record.MaxLuminance = max;
    record.MinLuminance = min;
    return true;
}

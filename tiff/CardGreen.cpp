#include "CardGreen.h"

#include <cstring>

#include "TiffFile.h"

CardGreen::CardGreen(const std::string& path, std::size_t colours)
    : image_(path, "rm"), colours_(colours) {
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

// Takes one chunk's samples into the band, from colour `colour` on.
void CardGreen::Take(const std::uint8_t* chunk, const LibtiffFile::Place& place,
                     std::size_t colour) {
    const std::size_t step = image_.ChunkSamples();
    const bool planar = image_.planar == PLANARCONFIG_SEPARATE;
    const std::size_t first = planar || colours_ == 3 ? 0 : 1;
    const std::size_t taken = planar ? 1 : colours_;
    const bool eightBit = image_.bits == 8;
    // Whole rows of three 16-bit colours a pixel are already the band's rows.
    const bool asIs = !eightBit && taken == 3 && step == 3;
    for (std::uint32_t r = 0; r < place.rows; ++r) {
        const std::uint8_t* row = chunk + r * place.rowBytes;
        std::uint16_t* out =
            band_.data() + (std::size_t{r} * image_.width + place.x) * colours_ + colour;
        if (asIs) {
            std::memcpy(out, row, std::size_t{place.width} * 6);
            continue;
        }
        for (std::uint32_t p = 0; p < place.width; ++p)
            for (std::size_t k = 0; k < taken; ++k) {
                const std::size_t i = p * step + first + k;
                if (eightBit) {
                    out[p * colours_ + k] = row[i];
                } else {
                    std::memcpy(out + p * colours_ + k, row + 2 * i, 2);
                }
            }
    }
}

bool CardGreen::Scan(TiffFile& record) {
    double max = 0.0, min = 65536.0;
    for (std::uint32_t y = 0; y < image_.height; ++y) {
        const std::uint16_t* row = Row(y);
        if (!row) return false;
        for (std::uint32_t x = 0; x < image_.width; ++x) {
            min = std::min<double>(min, row[x]);
            if (row[x] > max) {
                max = row[x];
                record.pxmax = x;
                record.pymax = y;
            }
        }
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

#include "DecodedRows.h"

#include <algorithm>
#include <cstring>

#include "PixelLayout.h"
#include "PositionedIO.h"

namespace {
// Rows read straight from the file come a band of about this many bytes at a
// time, as the row pass reads them.
constexpr std::size_t kBandBytes = 256 * 1024;

// Hands a mapped reader's pages back every so many rows.
constexpr std::uint32_t kReleaseRows = 64;

// `taken` samples of each pixel, `step` apart, into every third place of out.
template <class Sample, bool Swap>
void Pick(const std::uint8_t* row, Sample* out, std::uint32_t width, std::size_t step,
          std::size_t taken) {
    for (std::size_t p = 0; p < width; ++p)
        for (std::size_t k = 0; k < taken; ++k)
            out[p * 3 + k] = LoadSample<Sample, Swap>(row + (p * step + k) * sizeof(Sample));
}
}  // namespace

DecodedRows::DecodedRows(const std::string& path) : image_(path, "rmc") {
    if (!Opened() || !image_.Unusable().empty()) return;
    const bool sixteen = image_.bits == 16;
    const bool contig = image_.planar == PLANARCONFIG_CONTIG;
    const bool turned = sixteen && image_.bigEndian == kHostLittleEndian;
    straight_ = image_.RowsInPlace() && contig && image_.samples == 3;
    kind_ = !sixteen              ? SampleKind::U8
            : straight_ && turned ? SampleKind::U16Swapped
                                  : SampleKind::U16;
    rowBytes_ = std::size_t{image_.width} * 3 * image_.SampleBytes();
    if (image_.RowByRow()) {
        // A reader for each plane keeps each plane's strip decoding in order.
        const std::size_t planes = contig ? 1 : 3;
        for (std::size_t k = 0; k < planes; ++k)
            planes_.push_back(std::make_unique<LibtiffFile>(path, LibtiffFile::Mapped{}));
        bandRows_ = 1;
    } else if (image_.RowsInPlace()) {
        bandRows_ = static_cast<std::uint32_t>(std::clamp<std::size_t>(
            kBandBytes / std::max<std::size_t>(rowBytes_, 1), 1, image_.BandRows()));
    } else {
        bandRows_ = image_.BandRows();
    }
    band_.resize((rowBytes_ * bandRows_ + 1) / 2);
    chunk_.resize(image_.RowByRow() ? static_cast<std::size_t>(TIFFScanlineSize64(image_.Handle()))
                  : image_.RowsInPlace() ? 0
                                         : static_cast<std::size_t>(image_.ChunkBytes()));
}

std::string DecodedRows::Error() const {
    if (!error_.empty()) return error_;
    for (const auto& plane : planes_)
        if (!plane->Error().empty()) return plane->Error();
    return image_.Error();
}

SampleRow DecodedRows::Row(std::uint32_t y) {
    if (y >= image_.height || band_.empty()) return {};
    if ((y < bandStart_ || y >= bandEnd_) && !Load(y)) {
        bandStart_ = bandEnd_ = 0;
        return {};
    }
    return {BandBytes() + (y - bandStart_) * rowBytes_, kind_};
}

bool DecodedRows::Load(std::uint32_t y) {
    if (!planes_.empty()) return LoadRowByRow(y);
    return image_.RowsInPlace() ? LoadInPlace(y) : LoadChunks(y);
}

// Rows of uncompressed strips, a band of them inside one strip at a time, in
// one read a plane.
bool DecodedRows::LoadInPlace(std::uint32_t y) {
    TIFF* tif = image_.Handle();
    const bool contig = image_.planar == PLANARCONFIG_CONTIG;
    const std::uint32_t strip = TIFFComputeStrip(tif, y, 0);
    const LibtiffFile::Place place = image_.PlaceOf(strip);
    const std::uint32_t rows = std::min(bandRows_, place.y + place.rows - y);
    const std::size_t length = std::size_t{rows} * place.rowBytes;
    if (!straight_) chunk_.resize(length);
    const bool swap = image_.bits == 16 && image_.bigEndian == kHostLittleEndian;
    for (std::uint16_t k = 0; k < (contig ? 1 : 3); ++k) {
        const std::uint32_t s = contig ? strip : TIFFComputeStrip(tif, y, k);
        const std::uint64_t at =
            TIFFGetStrileOffset(tif, s) + std::uint64_t{y - place.y} * place.rowBytes;
        error_ = image_.ChunkProblem(s, std::uint64_t{place.rows} * place.rowBytes);
        if (!error_.empty()) return false;
        std::uint8_t* into = straight_ ? BandBytes() : chunk_.data();
        if (ReadAtPlace(image_.Descriptor(), into, length, static_cast<std::int64_t>(at)) !=
            length) {
            error_ = "strip " + std::to_string(s) + " is cut short";
            return false;
        }
        if (straight_) continue;
        for (std::uint32_t r = 0; r < rows; ++r)
            Take(chunk_.data() + r * place.rowBytes, r, 0, place.width, image_.ChunkSamples(),
                 contig ? -1 : k, swap);
    }
    bandStart_ = y;
    bandEnd_ = y + rows;
    return true;
}

// The strip or the row of tiles that holds row y, each decoded whole.
bool DecodedRows::LoadChunks(std::uint32_t y) {
    TIFF* tif = image_.Handle();
    const bool contig = image_.planar == PLANARCONFIG_CONTIG;
    const std::uint32_t first = y / image_.BandRows() * image_.BandRows();
    std::uint32_t rows = 0;
    for (std::uint16_t k = 0; k < (contig ? 1 : 3); ++k)
        for (std::uint32_t x = 0; x < image_.width;
             x += image_.tiled ? image_.tileWidth : image_.width) {
            const std::uint32_t chunk = image_.tiled ? TIFFComputeTile(tif, x, first, 0, k)
                                                     : TIFFComputeStrip(tif, first, k);
            if (image_.ReadChunk(chunk, chunk_.data()) < 0) return false;
            const LibtiffFile::Place place = image_.PlaceOf(chunk);
            rows = place.rows;
            for (std::uint32_t r = 0; r < place.rows; ++r)
                Take(chunk_.data() + r * place.rowBytes, r, place.x, place.width,
                     image_.ChunkSamples(), contig ? -1 : k, false);
        }
    bandStart_ = first;
    bandEnd_ = first + rows;
    return true;
}

// One row of a strip too large to hold, each plane from its own reader.
bool DecodedRows::LoadRowByRow(std::uint32_t y) {
    const bool contig = planes_.size() == 1;
    for (std::size_t k = 0; k < planes_.size(); ++k) {
        LibtiffFile& plane = *planes_[k];
        if (!plane.Handle() ||
            TIFFReadScanline(plane.Handle(), chunk_.data(), y, static_cast<std::uint16_t>(k)) < 0) {
            if (error_.empty() && plane.Error().empty())
                error_ = "libtiff can't decode row " + std::to_string(y);
            return false;
        }
        if (y % kReleaseRows == kReleaseRows - 1) plane.Release();
        Take(chunk_.data(), 0, 0, image_.width, image_.ChunkSamples(),
             contig ? -1 : static_cast<int>(k), false);
    }
    bandStart_ = y;
    bandEnd_ = y + 1;
    return true;
}

// A plane's colour, or all three colours (plane -1), into band row r from
// pixel x on.
void DecodedRows::Take(const std::uint8_t* row, std::uint32_t r, std::uint32_t x,
                       std::uint32_t width, std::size_t step, int plane, bool swap) {
    const std::size_t at = std::size_t{r} * rowBytes_ / image_.SampleBytes() + std::size_t{x} * 3 +
                           (plane < 0 ? 0 : static_cast<std::size_t>(plane));
    const std::size_t taken = plane < 0 ? 3 : 1;
    if (image_.bits == 8)
        Pick<std::uint8_t, false>(row, BandBytes() + at, width, step, taken);
    else if (swap)
        Pick<std::uint16_t, true>(row, band_.data() + at, width, step, taken);
    else
        Pick<std::uint16_t, false>(row, band_.data() + at, width, step, taken);
}

#include "ChunkRewrite.h"

#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <limits>
#include <vector>

#include "PixelLayout.h"
#include "RowCorrection.h"

namespace {
constexpr ttag_t kPhotoshopLayers = 37724;

// An extra sample's plane is kept as it was; every other strip or tile is
// written anew.
bool Rewritten(const LibtiffFile::Place& place) {
    return place.plane < 3;
}

void CorrectChunk(LibtiffFile& copy, CardGreen& card, double targetLevel, std::uint8_t* data,
                  const LibtiffFile::Place& place, bool& cardFailed) {
    const bool planar = copy.planar == PLANARCONFIG_SEPARATE;
    for (std::uint32_t r = 0; r < place.rows; ++r) {
        const std::uint16_t* green = card.Row(place.y + r);
        if (!green) {
            cardFailed = true;
            return;
        }
        CorrectHostSamples(targetLevel, green + place.x, data + r * place.rowBytes, place.width,
                           copy.SampleBytes(), copy.ChunkSamples(), planar ? 1 : 3);
    }
}
// A strip whose bytes are its rows in the host's order, and that fills its
// place exactly, goes back where it stood in one write: libtiff would copy it
// into its own buffer first, and leave the directory as it was all the same.
tmsize_t WriteChunk(LibtiffFile& copy, std::uint32_t chunk, std::uint8_t* data, tmsize_t size) {
    TIFF* tif = copy.Handle();
    if (copy.tiled) return TIFFWriteEncodedTile(tif, chunk, data, size);
    const std::uint64_t start = TIFFGetStrileOffset(tif, chunk);
    const bool hostOrder = copy.bits == 8 || copy.bigEndian != kHostLittleEndian;
    if (!copy.RowsInPlace() || !hostOrder || start == 0 || start > INT64_MAX ||
        TIFFGetStrileByteCount(tif, chunk) != static_cast<std::uint64_t>(size))
        return TIFFWriteEncodedStrip(tif, chunk, data, size);
    return ::pwrite(TIFFFileno(tif), data, static_cast<std::size_t>(size),
                    static_cast<off_t>(start));
}
}  // namespace

std::vector<std::pair<off_t, off_t>> RewrittenRanges(const LibtiffFile& subject) {
    std::vector<std::pair<off_t, off_t>> ranges;
    for (std::uint32_t chunk = 0; chunk < subject.Chunks(); ++chunk) {
        if (!Rewritten(subject.PlaceOf(chunk))) continue;
        const std::uint64_t start = TIFFGetStrileOffset(subject.Handle(), chunk);
        const std::uint64_t length = TIFFGetStrileByteCount(subject.Handle(), chunk);
        constexpr std::uint64_t kFar = std::numeric_limits<off_t>::max();
        const std::uint64_t first = std::min(start, kFar);
        ranges.emplace_back(first, first + std::min(length, kFar - first));
    }
    return ranges;
}

std::string RewriteChunks(LibtiffFile& subject, LibtiffFile& copy, CardGreen& card,
                          double targetLevel, ChunkCorrector* corrector) {
    // The copy's directory is read from its own bytes, which a hostile file's
    // strips may have overlapped and left out.
    if (!copy.SameLayout(subject)) return "the copy's strips or tiles differ from the subject's";
    std::vector<std::uint8_t> data(copy.ChunkBytes());
    TIFF* tif = copy.Handle();
    for (std::uint32_t chunk = 0; chunk < copy.Chunks(); ++chunk) {
        const LibtiffFile::Place place = copy.PlaceOf(chunk);
        if (!Rewritten(place)) continue;
        const tmsize_t size = subject.ReadChunk(chunk, data.data());
        if (size < 0) return subject.Error();
        bool cardFailed = false;
        if (corrector)
            cardFailed = !corrector->Correct(copy, place, data.data());
        else
            CorrectChunk(copy, card, targetLevel, data.data(), place, cardFailed);
        if (cardFailed) return "the white card's rows can't be decoded";
        const tmsize_t written = WriteChunk(copy, chunk, data.data(), size);
        if (written != size)
            return copy.Error().empty() ? "a strip can't be written" : copy.Error();
    }
    return TIFFFlush(tif) ? "" : "the copy's directory can't be written";
}

bool DropLayerData(LibtiffFile& copy) {
    std::uint32_t count = 0;
    void* data = nullptr;
    if (!TIFFGetField(copy.Handle(), kPhotoshopLayers, &count, &data)) return false;
    TIFFUnsetField(copy.Handle(), kPhotoshopLayers);
    return true;
}

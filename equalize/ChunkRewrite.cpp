#include "ChunkRewrite.h"

#include <vector>

#include "RowCorrection.h"

namespace {
constexpr ttag_t kPhotoshopLayers = 37724;

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
}  // namespace

std::string RewriteChunks(LibtiffFile& copy, CardGreen& card, double targetLevel,
                          ChunkCorrector* corrector) {
    std::vector<std::uint8_t> data(copy.ChunkBytes());
    TIFF* tif = copy.Handle();
    for (std::uint32_t chunk = 0; chunk < copy.Chunks(); ++chunk) {
        const LibtiffFile::Place place = copy.PlaceOf(chunk);
        if (place.plane >= 3) continue;  // an extra sample's plane
        const tmsize_t size = copy.ReadChunk(chunk, data.data());
        if (size < 0) return copy.Error();
        bool cardFailed = false;
        if (corrector)
            cardFailed = !corrector->Correct(copy, place, data.data());
        else
            CorrectChunk(copy, card, targetLevel, data.data(), place, cardFailed);
        if (cardFailed) return "the white card's rows can't be decoded";
        const tmsize_t written = copy.tiled ? TIFFWriteEncodedTile(tif, chunk, data.data(), size)
                                            : TIFFWriteEncodedStrip(tif, chunk, data.data(), size);
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

#pragma once

#include <tiffio.h>

#include <cstdint>
#include <memory>
#include <string>

// A TIFF opened through libtiff, for the files our own reader can't stream:
// strips or tiles, planar files, compressed data, extra samples, BigTIFF.
// libtiff's words go into Error() instead of onto stderr, and no single
// allocation may pass kLargestChunk, so a small strip that claims a huge
// decoded size is refused before it is decoded.
class LibtiffFile {
  public:
    static constexpr std::uint64_t kLargestChunk = 256u << 20;

    // "rm" to read, "r+m" to rewrite strips in place, "c" to read without
    // strip chopping (update mode chops one uncompressed strip regardless);
    // "m" reads through the file rather than a mapping of it.
    // Opening fails (Handle() nil) for anything libtiff can't read as a TIFF.
    LibtiffFile(const std::string& path, const char* mode);
    ~LibtiffFile();
    LibtiffFile(const LibtiffFile&) = delete;
    LibtiffFile& operator=(const LibtiffFile&) = delete;

    TIFF* Handle() const { return tif_; }
    const std::string& Error() const { return error_; }

    // Why the file can't be equalized, saying what it is; empty when it can.
    std::string Unusable() const;
    // Whether the other file's strips or tiles hold the same samples in the
    // same places, so that one's decoded chunk can be written into the other.
    bool SameLayout(const LibtiffFile& other) const;
    // Whether the file is exactly what the one-strip engine streams: one
    // uncompressed interleaved RGB strip of 8- or 16-bit samples, nothing else.
    bool OneStripPlain() const;
    // Whether a strip's bytes in the file are its decoded rows, but for the
    // order of 16-bit samples: uncompressed interleaved strips of whole bytes,
    // in the bit order libtiff leaves alone.
    bool RowsInPlace() const;

    std::uint32_t width = 0, height = 0;
    std::uint16_t bits = 0, samples = 0, extras = 0, planar = 1, photometric = 0;
    std::uint16_t compression = 1, predictor = 1, sampleFormat = 1;
    std::uint32_t rowsPerStrip = 0, tileWidth = 0, tileLength = 0;
    bool tiled = false, bigTiff = false, bigEndian = false;

    // Bytes of one decoded strip or tile, and how many there are.
    std::uint64_t ChunkBytes() const;
    std::uint32_t Chunks() const;
    // Rows of one strip, or of one row of tiles.
    std::uint32_t BandRows() const;
    std::size_t SampleBytes() const { return bits / 8u; }
    // Samples a pixel holds in one chunk: all of them, or one for a plane.
    std::size_t ChunkSamples() const { return planar == PLANARCONFIG_SEPARATE ? 1 : samples; }

    // Where the decoded rows of one strip or tile lie in the image.
    struct Place {
        std::uint32_t plane, x, y, width, rows;
        std::size_t rowBytes;  // from one decoded row to the next
    };
    Place PlaceOf(std::uint32_t chunk) const;
    // Decodes one strip or tile into buffer (ChunkBytes() long); the decoded
    // length, or -1 with the reason in Error().
    tmsize_t ReadChunk(std::uint32_t chunk, std::uint8_t* buffer);

  private:
    void ReadFields();
    static int Capture(TIFF*, void* user, const char* module, const char* fmt, va_list args);

    TIFF* tif_ = nullptr;
    std::string error_;
};

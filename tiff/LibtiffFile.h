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
    // Compressed strips up to this size are decoded whole; larger ones a row
    // at a time, so memory stays bounded whatever the strip.
    static constexpr std::uint64_t kHeldChunk = 16u << 20;

    // "rm" to read, "r+m" to rewrite strips in place, "c" to read without
    // strip chopping (update mode chops one uncompressed strip regardless);
    // "m" reads through the file rather than a mapping of it.
    // Opening fails (Handle() nil) for anything libtiff can't read as a TIFF.
    LibtiffFile(const std::string& path, const char* mode);
    // The same on a file already open; the descriptor stays the caller's.
    LibtiffFile(int fd, const std::string& name, const char* mode);
    // For reading a strip too large to hold a row at a time: libtiff reads
    // the compressed bytes from a mapping of the file, whose pages Release()
    // hands back, so that what stays in memory is what the last rows used.
    struct Mapped {};
    LibtiffFile(const std::string& path, Mapped);
    // Nothing more reaches the file from now on, not even the directory
    // libtiff writes when it closes: the file stays as far as it was written.
    void Stop();
    ~LibtiffFile();
    LibtiffFile(const LibtiffFile&) = delete;
    LibtiffFile& operator=(const LibtiffFile&) = delete;

    TIFF* Handle() const { return tif_; }
    // The descriptor libtiff reads and writes the file by.
    int Descriptor() const;
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
    // order of 16-bit samples: uncompressed strips of whole bytes, in the bit
    // order libtiff leaves alone, so rows can be read and written in place.
    bool RowsInPlace() const;
    // Whether strips are too large to decode whole (see kHeldChunk), so that
    // they are read and written a row at a time.
    bool RowByRow() const;
    // Hands back the pages of a mapped file that libtiff has read so far.
    void Release();

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
    // Why a strip or tile can't be read where the directory puts it: none
    // there (no offset or no bytes), or fewer bytes than `needed` in the file;
    // empty when it can. A strip the file holds none of would decode as a
    // black band that passes for pixels.
    std::string ChunkProblem(std::uint32_t chunk, std::uint64_t needed) const;

  private:
    struct Client;
    void Open(int fd, const std::string& name, const char* mode);
    void ReadFields();
    static int Capture(TIFF*, void* user, const char* module, const char* fmt, va_list args);

    TIFF* tif_ = nullptr;
    std::string error_;
    std::unique_ptr<Client> client_;  // the file libtiff works on
};

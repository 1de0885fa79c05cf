#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "LibtiffFile.h"
#include "SampleRow.h"

// The red, green and blue samples of any TIFF the engine reads, row after
// row from the first, whatever its layout: uncompressed strips straight from
// the file's bytes, compressed strips and tiles decoded a strip or a row of
// tiles at a time, a strip too large to hold decoded a row at a time.
// Extra samples and planes are left out. Memory holds one band of rows,
// never the image. Rows come 3 samples a pixel, 8-bit, or 16-bit in the
// host's order or (read straight from a file in the other order) turned.
class DecodedRows {
  public:
    explicit DecodedRows(const std::string& path);
    DecodedRows(const DecodedRows&) = delete;
    DecodedRows& operator=(const DecodedRows&) = delete;

    bool Opened() const { return image_.Handle() != nullptr; }
    const LibtiffFile& Image() const { return image_; }
    // Row y, valid until the next call, for y = 0, 1, ... in turn; an empty
    // row when it can't be read, with the reason in Error().
    SampleRow Row(std::uint32_t y);
    std::string Error() const;

  private:
    bool Load(std::uint32_t y);
    bool LoadInPlace(std::uint32_t y);
    bool LoadChunks(std::uint32_t y);
    bool LoadRowByRow(std::uint32_t y);
    // Colour samples of `width` pixels of a decoded row, `step` samples a
    // pixel: all three from sample 0 on, or plane `plane`'s one, into the
    // band from pixel x of band row r.
    void Take(const std::uint8_t* row, std::uint32_t r, std::uint32_t x, std::uint32_t width,
              std::size_t step, int plane, bool swap);
    std::uint8_t* BandBytes() { return reinterpret_cast<std::uint8_t*>(band_.data()); }

    LibtiffFile image_;
    std::vector<std::unique_ptr<LibtiffFile>> planes_;  // row by row: a reader a plane
    SampleKind kind_ = SampleKind::U16;
    bool straight_ = false;  // the file's rows are the band's rows, as they stand
    std::size_t rowBytes_ = 0;
    std::uint32_t bandRows_ = 0, bandStart_ = 0, bandEnd_ = 0;
    std::vector<std::uint16_t> band_;  // rows of 3 samples a pixel, 8- or 16-bit
    std::vector<std::uint8_t> chunk_;  // one decoded strip, tile or file row
    std::string error_;
};

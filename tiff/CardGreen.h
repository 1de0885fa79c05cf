#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "LibtiffFile.h"

class TiffFile;

// The green samples of a white card read through libtiff, row by row, in the
// host's byte order whatever the card's layout: the strip or row of tiles that
// holds a row is decoded when a row of it is first asked for, so memory holds
// one band of rows, not the card. Rows of uncompressed interleaved strips are
// read from the file's bytes straight, rather than through libtiff's decoding.
// With colours 3 a row holds the red, green and blue samples of each pixel
// instead, for cards averaged and dark frames.
class CardGreen {
  public:
    explicit CardGreen(const std::string& path, std::size_t colours = 1);

    bool Opened() const { return image_.Handle() != nullptr; }
    const LibtiffFile& Image() const { return image_; }
    // Row y's samples, width x colours of them; nil when the band can't be decoded.
    const std::uint16_t* Row(std::uint32_t y);
    // With colours 1: scans every row for the brightest and darkest green sample and the place
    // of the first brightest, as the one-strip scan does, and fills the
    // record's size, depth and figures. False when a band can't be decoded.
    bool Scan(TiffFile& record);

  private:
    bool LoadBand(std::uint32_t y);
    bool LoadBandInPlace(std::uint32_t y);
    void Take(const std::uint8_t* chunk, const LibtiffFile::Place& place, std::size_t colour);
    void TakeRow(const std::uint8_t* row, std::uint16_t* out, std::uint32_t width, bool swap) const;

    LibtiffFile image_;
    std::size_t colours_;
    bool inPlace_ = false;  // uncompressed interleaved strips, read straight
    std::uint32_t bandRows_ = 0;
    std::uint32_t bandStart_ = 0;
    bool loaded_ = false;
    std::vector<std::uint16_t> band_;
    std::vector<std::uint8_t> chunk_;
};

#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "CardGreen.h"
#include "CorrectionModes.h"
#include "ToneCurves.h"

// The card the gains are taken from, row by row: every shot of the card
// averaged pixel by pixel in double precision, less the dark frame held at 0,
// then taken to linear light through the first card's tone curves if given.
// All files are read in lockstep through libtiff, a band of rows of each at a
// time, so none is held whole.
class CardStack {
  public:
    explicit CardStack(const CorrectionModes& modes);
    // Rows come in linear light through these curves from now on.
    void InLinearLight(const ToneCurves* curves) { curves_ = curves; }

    // Why the files can't serve together; empty when they can.
    const std::string& Problem() const { return problem_; }
    std::uint32_t Width() const { return width_; }
    std::uint32_t Height() const { return height_; }
    int Bits() const { return bits_; }
    // The first card, as libtiff read its fields.
    const LibtiffFile& FirstCard() const { return cards_.front()->Image(); }

    // Pixels x to x + count of row y, red, green and blue of each; false when
    // a band can't be decoded.
    bool Row(std::uint32_t y, std::uint32_t x, std::uint32_t count, double* rgb);
    // With one card: its samples of row y less the dark frame's, held at 0, in
    // the host's order, 3 a pixel, before any tone curve; nil when a band
    // can't be decoded.
    const std::uint16_t* Samples(std::uint32_t y);
    // The dark frame's samples of row y (3 a pixel, in the host's order); nil
    // without a dark frame or when its band can't be decoded.
    const std::uint16_t* DarkRow(std::uint32_t y);
    bool HasDark() const { return dark_ != nullptr; }
    // What went wrong in decoding, with the file's name.
    std::string DecodeError() const;

  private:
    std::unique_ptr<CardGreen> Open(const std::string& path, const std::string& what);

    std::vector<std::unique_ptr<CardGreen>> cards_;
    std::unique_ptr<CardGreen> dark_;
    const ToneCurves* curves_ = nullptr;
    std::vector<std::uint16_t> samples_;
    std::uint32_t width_ = 0, height_ = 0;
    int bits_ = 0;
    std::string problem_;
};

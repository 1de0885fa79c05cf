#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "SampleRow.h"

// Where the rows of a run's card lie, for every job to read at its own pace:
// the card file's own rows, where they stand in it as the subjects' rows do
// (uncompressed, 3 samples a pixel); or a scratch file written once a run, of
// three planes (red, green, blue), so that green mode reads a third of it,
// and the dark frame's rows after them. A plane holds whole samples (the card
// less the dark frame) or, for several shots, their sums, which give the
// average to the last bit when divided. The file is only read once made, so
// jobs on several threads share it.
class CardStore {
  public:
    enum class Plane { Samples, Sums };

    // The card file's rows: strip k's first row at strips[k].
    static std::shared_ptr<CardStore> Direct(int fd, std::vector<std::uint64_t> strips,
                                             std::uint32_t rowsPerStrip, std::uint32_t width,
                                             std::uint32_t height, SampleKind kind);
    // A scratch file of planes, nil when none can be made; greenOnly keeps
    // green's alone, all that gains in green mode read.
    static std::shared_ptr<CardStore> Scratch(std::uint32_t width, std::uint32_t height,
                                              Plane plane, bool dark, bool greenOnly = false);
    ~CardStore();
    CardStore(const CardStore&) = delete;
    CardStore& operator=(const CardStore&) = delete;

    bool direct() const { return direct_; }
    Plane plane() const { return plane_; }
    SampleKind Kind() const { return kind_; }  // of a direct store's rows
    std::uint32_t Width() const { return width_; }
    std::uint32_t Height() const { return height_; }

    // Reads rows [y, y + rows) of a direct store's card, of colour plane c
    // (0 to 2) or of the dark frame (3) into dest; false when they can't all
    // be read, or the plane isn't kept.
    bool Read(int plane, std::uint32_t y, std::uint32_t rows, std::uint8_t* dest) const;
    // Bytes of one row of a plane (or of the direct card, or the dark frame).
    std::size_t RowBytes(int plane) const;

    // While the store is made: the next row of each colour plane (3 a pixel,
    // in the host's order) and of the dark frame. False when it can't be written.
    bool Append(const std::uint32_t* colours, const std::uint16_t* dark);
    bool Finish();

  private:
    CardStore(int fd, std::uint32_t width, std::uint32_t height);
    std::uint64_t PlaceOf(int plane, std::uint32_t y) const;
    bool Flush(int plane);

    int fd_;
    std::uint32_t width_, height_;
    bool direct_ = false;
    Plane plane_ = Plane::Samples;
    bool dark_ = false;
    bool kept_[4] = {true, true, true, false};  // a scratch file's planes, the dark frame's last
    SampleKind kind_ = SampleKind::U16;
    std::vector<std::uint64_t> strips_;  // direct
    std::uint32_t rowsPerStrip_ = 0;
    // While it is made: rows waiting to be written, a buffer for each plane.
    std::uint32_t written_ = 0;  // rows appended
    std::vector<std::uint8_t> pending_[4];
    std::uint32_t pendingFrom_ = 0;  // rows in the file
};

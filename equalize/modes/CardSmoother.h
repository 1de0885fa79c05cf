#pragma once

#include <cstdint>
#include <vector>

#include "RowExtremes.h"

// A streaming low-pass of an RGB white card, so that dust specks and the
// card's grain don't print into subjects while its smooth falloff comes through.
//
// The filter is the mean over a (2r+1) x (2r+1) box, done separably: a speck
// smaller than the box is thinned by its share of the box's area, grain by the
// square root of the box's pixel count, and a falloff that is linear across the
// box comes through unchanged. Near an edge the box moves inside the image, and
// a straight line fitted to its samples (least squares, per axis) is read at
// the pixel: in the interior that is the box mean itself, and at the edges a
// linear falloff still comes through exactly, without the mirrored or repeated
// samples that would bend it. The price: at the very edge a sample weighs up to
// about 4/(2r+1) per axis instead of 1/(2r+1), so specks and grain there are
// thinned less than inside.
//
// The smoothed card is only kept at the nodes of a coarse grid, spaced about
// r/2 apart (wider when the card is so large that the grid would pass about
// half a million nodes), with a node on the last row and column; Row()
// interpolates bilinearly between them. Rows come in one at a time and are
// reduced at once to the node columns, so memory is the grid plus a few rows
// of node values, never the card.
class CardSmoother {
  public:
    CardSmoother(std::uint32_t width, std::uint32_t height, std::uint32_t radius);

    // Rows 0 to height - 1 in order, width x 3 values (r, g, b interleaved).
    void AddRow(const double* rgb);

    // After the last row: per channel, the smoothed card's brightest and
    // darkest value, and the place of the first brightest in row-major order.
    // Bilinear interpolation takes its extremes at the nodes, so these are
    // the extremes of what Row() gives, and the place is where Row() first
    // gives the brightest value.
    RowExtremes Extremes() const;

    // The smoothed row y (width x 3 values), any y in any order, after the
    // last row. Const: threads may share one smoother. Asked too early, or for
    // a row the card hasn't, it and Extremes() throw rather than read wrong.
    void Row(std::uint32_t y, double* rgb) const;

  private:
    // The nodes along one axis, their windows, and each pixel's place
    // between two nodes.
    struct Axis {
        Axis(std::uint32_t length, std::uint32_t spacing, std::uint32_t radius);
        bool Centred(std::size_t node) const;  // a plain box mean there
        std::size_t OpenAtOnce() const;        // the most windows holding one pixel
        std::vector<std::uint32_t> nodes;      // pixel index of each node
        std::vector<std::uint32_t> from, to;   // each node's window
        std::vector<std::uint32_t> before;     // per pixel: the last node at or before it
        std::vector<double> weight;            // per pixel: the share of the node after
    };
    void RequireAllRows() const;
    void FilterAcross(const double* rgb);
    void Accumulate(std::uint32_t y);
    std::size_t Slot(std::size_t nodeRow) const;
    void PlaceOfFirst(int channel, double value, std::size_t node, std::int64_t& x,
                      std::int64_t& y) const;

    std::uint32_t width_, height_, spacing_;
    Axis across_, down_;
    std::uint32_t nextRow_ = 0;
    std::size_t firstOpen_ = 0;    // the first node row whose window isn't closed
    std::vector<double> prefix_;   // (width + 1) x 3 running sums of the row
    std::vector<double> reduced_;  // the row filtered across, at the node columns
    // Sums down the window for the node rows whose windows are open: sum, and
    // sum weighted by the distance from the window's middle; one slot per row.
    std::vector<double> sums_, moments_;
    std::vector<double> grid_;  // the smoothed card at the nodes, row-major, x 3
};

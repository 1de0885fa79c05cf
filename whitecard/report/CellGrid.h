#pragma once

#include <cstdint>
#include <vector>

#include "SampleGrid.h"

// A coarse grid of cells over the sampled area, at least 16 pixels a side and
// never more than 256 cells along an axis, so that its memory is bounded
// whatever the card's size. Its means, read between the cell centres, are the
// smooth card: the light map is drawn from it and dust is measured against it.
class CellGrid {
  public:
    explicit CellGrid(const SampleGrid& grid);

    int Columns() const { return columns_; }
    int Rows() const { return rows_; }
    std::size_t Count() const { return static_cast<std::size_t>(columns_) * rows_; }
    // The cell of a pixel inside the sampled area.
    std::size_t Cell(std::int64_t x, std::int64_t y) const;

    // values (one a cell, row by row) at a place in pixels, bilinear between the
    // cell centres and carried on linearly beyond the outer ones, so a falloff
    // that steepens towards the corners isn't flattened there.
    double At(const std::vector<double>& values, double x, double y) const;
    // Each cell the mean of itself and its neighbours, to keep a speck of dust
    // from darkening the level it is measured against.
    std::vector<double> Smoothed(const std::vector<double>& values) const;

  private:
    struct Axis {
        std::int64_t first, length;
        int count;
        int Index(std::int64_t p) const { return static_cast<int>((p - first) * count / length); }
        // The lower of the two centres a place lies between, and how far past it.
        int Lower(double p, double& t) const;
    };
    static Axis MakeAxis(const GridAxis& axis, std::int64_t side);

    Axis x_, y_;
    int columns_, rows_;
};

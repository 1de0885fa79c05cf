#pragma once

#include <cstdint>
#include <vector>

// A three-dimensional array of 32-bit floats addressed (x, y, channel), with
// upper bounds as the record shows them: -1 on every axis while empty.
class FloatArray3 {
  public:
    void Redim(std::int64_t upper0, std::int64_t upper1, std::int64_t upper2) {
        upper_[0] = upper0;
        upper_[1] = upper1;
        upper_[2] = upper2;
        values_.assign(static_cast<std::size_t>((upper0 + 1) * (upper1 + 1) * (upper2 + 1)), 0.0f);
    }
    std::int64_t UBound(int axis) const { return upper_[axis]; }
    float& operator()(std::int64_t x, std::int64_t y, std::int64_t c) {
        return values_[Index(x, y, c)];
    }
    float operator()(std::int64_t x, std::int64_t y, std::int64_t c) const {
        return values_[Index(x, y, c)];
    }

  private:
    std::size_t Index(std::int64_t x, std::int64_t y, std::int64_t c) const {
        return static_cast<std::size_t>((x * (upper_[1] + 1) + y) * (upper_[2] + 1) + c);
    }

    std::int64_t upper_[3] = {-1, -1, -1};
    std::vector<float> values_;
};

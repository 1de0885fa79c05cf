#pragma once

#include <cstddef>
#include <cstdint>

#include "Samples.h"

// Where the green samples of a row stand. A pixel of three bytes is 8-bit RGB;
// every other pixel size is read as 16-bit RGB, the layout that six bytes fit.
struct GreenLayout {
    std::size_t first;  // byte offset of the first green sample
    std::size_t step;   // bytes from one green sample to the next
    std::size_t width;  // bytes of one sample

    static GreenLayout For(std::int64_t bytesPerPixel) {
        return bytesPerPixel == 3 ? GreenLayout{1, 3, 1} : GreenLayout{2, 6, 2};
    }
    std::int64_t Column(std::size_t offset) const {
        return static_cast<std::int64_t>((offset - first) / step);
    }
};

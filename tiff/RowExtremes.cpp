#include "RowExtremes.h"

#include <algorithm>
#include <type_traits>

#include "VectorClones.h"

namespace {
template <SampleKind Kind>
using Lane =
    std::conditional_t<Kind == SampleKind::F64, double,
                       std::conditional_t<Kind == SampleKind::U8, std::uint8_t, std::uint16_t>>;

template <SampleKind Kind>
Lane<Kind> At(const void* row, std::size_t i) {
    if constexpr (Kind == SampleKind::F64)
        return static_cast<const double*>(row)[i];
    else
        return static_cast<Lane<Kind>>(LoadWhole<Kind>(row, i));
}

// The extremes of one row of `values` numbers, 3 a pixel: lanes of 48 numbers
// keep whole pixels in step (lane j holds channel j % 3) and are folded into
// the three at the end.
template <SampleKind Kind>
BRISAVANE_VECTOR_CLONES void Extremes(const void* __restrict row, std::size_t values,
                                      double* __restrict high, double* __restrict low) {
    constexpr std::size_t kLanes = 48;
    Lane<Kind> hi[kLanes], lo[kLanes];
    for (std::size_t j = 0; j < kLanes; ++j) hi[j] = lo[j] = At<Kind>(row, j % 3);
    std::size_t i = 0;
    for (; i + kLanes <= values; i += kLanes)
        for (std::size_t j = 0; j < kLanes; ++j) {
            const Lane<Kind> v = At<Kind>(row, i + j);
            hi[j] = v > hi[j] ? v : hi[j];
            lo[j] = v < lo[j] ? v : lo[j];
        }
    for (std::size_t j = 0; i + j < values; ++j) {
        const Lane<Kind> v = At<Kind>(row, i + j);
        hi[j] = v > hi[j] ? v : hi[j];
        lo[j] = v < lo[j] ? v : lo[j];
    }
    for (std::size_t j = 3; j < kLanes; ++j) {
        hi[j % 3] = hi[j] > hi[j % 3] ? hi[j] : hi[j % 3];
        lo[j % 3] = lo[j] < lo[j % 3] ? lo[j] : lo[j % 3];
    }
    for (std::size_t c = 0; c < 3; ++c) high[c] = hi[c], low[c] = lo[c];
}

// Green's alone, for the cards whose red and blue set nothing.
template <SampleKind Kind>
BRISAVANE_VECTOR_CLONES void GreenExtremes(const void* __restrict row, std::size_t width,
                                           double& high, double& low) {
    Lane<Kind> hi = At<Kind>(row, 1), lo = hi;
    for (std::size_t p = 0; p < width; ++p) {
        const Lane<Kind> v = At<Kind>(row, p * 3 + 1);
        hi = v > hi ? v : hi;
        lo = v < lo ? v : lo;
    }
    high = hi, low = lo;
}

// The first pixel whose channel c holds value; the last when none does.
template <SampleKind Kind>
std::size_t FirstOf(const void* row, std::size_t width, std::size_t c, double value) {
    const auto sought = static_cast<Lane<Kind>>(value);
    std::size_t x = 0;
    while (x + 1 < width && At<Kind>(row, x * 3 + c) != sought) ++x;
    return x;
}

template <SampleKind Kind>
void Fold(const void* row, std::size_t width, std::int64_t y, RowExtremes& e, unsigned placed,
          bool greenOnly) {
    double high[3], low[3];
    if (greenOnly)
        GreenExtremes<Kind>(row, width, high[1], low[1]);
    else
        Extremes<Kind>(row, width * 3, high, low);
    for (std::size_t c = greenOnly ? 1 : 0; c < (greenOnly ? 2u : 3u); ++c) {
        e.min[c] = std::min(e.min[c], low[c]);
        if (!(high[c] > e.max[c])) continue;
        e.max[c] = high[c];
        if (!(placed >> c & 1u)) continue;
        e.maxX[c] = static_cast<std::int64_t>(FirstOf<Kind>(row, width, c, high[c]));
        e.maxY[c] = y;
    }
}
}  // namespace

void FoldRowExtremes(const SampleRow& row, std::size_t width, std::int64_t y, RowExtremes& e,
                     unsigned placed, bool greenOnly) {
    if (width == 0) return;
    WithKind(row.kind, [&](auto kind) {
        Fold<decltype(kind)::value>(row.data, width, y, e, placed, greenOnly);
    });
}

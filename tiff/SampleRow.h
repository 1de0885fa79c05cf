#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "PixelLayout.h"

// How the numbers of a row of pixels are stored: whole samples of 8 or 16
// bits (those in the file's order where it isn't the host's), or values
// worked out from samples (shots averaged, a smoothed card).
enum class SampleKind { U8, U16, U16Swapped, F64 };

// A row of pixels as something reads it, without copying it first: where its
// numbers start, how they are stored, how many stand from one pixel to the
// next, and at which of them a pixel's green stands (red and blue are the
// ones before and after it where the row holds all three).
struct SampleRow {
    const void* data = nullptr;
    SampleKind kind = SampleKind::U16;
    std::size_t stride = 3;
    std::size_t green = 1;

    explicit operator bool() const { return data != nullptr; }
    // Where a row of 3 samples a pixel in this layout's width and order stands.
    static SampleRow Of(const std::uint8_t* row, const PixelLayout& layout) {
        return {row, layout.EightBit()  ? SampleKind::U8
                     : layout.Swapped() ? SampleKind::U16Swapped
                                        : SampleKind::U16};
    }
    // Number i of the row, counted from its first, as a double.
    double At(std::size_t i) const {
        switch (kind) {
            case SampleKind::U8:
                return static_cast<const std::uint8_t*>(data)[i];
            case SampleKind::U16:
                return static_cast<const std::uint16_t*>(data)[i];
            case SampleKind::U16Swapped:
                return LoadSample<std::uint16_t, true>(static_cast<const std::uint8_t*>(data) +
                                                       2 * i);
            case SampleKind::F64:
                break;
        }
        return static_cast<const double*>(data)[i];
    }
    // The same row from pixel x on.
    SampleRow From(std::size_t x) const {
        SampleRow row = *this;
        row.data = static_cast<const std::uint8_t*>(data) + x * stride * Bytes();
        return row;
    }
    std::size_t Bytes() const {
        return kind == SampleKind::U8 ? 1 : kind == SampleKind::F64 ? 8 : 2;
    }
};

// Loads number i of a row stored as Kind, in straight loops the compiler keeps
// in vector registers: the kind is a template argument, not a test per number.
template <SampleKind Kind>
inline double LoadAs(const void* data, std::size_t i) {
    if constexpr (Kind == SampleKind::U8)
        return static_cast<const std::uint8_t*>(data)[i];
    else if constexpr (Kind == SampleKind::U16)
        return static_cast<const std::uint16_t*>(data)[i];
    else if constexpr (Kind == SampleKind::U16Swapped)
        return LoadSample<std::uint16_t, true>(static_cast<const std::uint8_t*>(data) + 2 * i);
    else
        return static_cast<const double*>(data)[i];
}

// The same for whole samples, as a whole number.
template <SampleKind Kind>
inline std::uint32_t LoadWhole(const void* data, std::size_t i) {
    static_assert(Kind != SampleKind::F64, "values are not whole samples");
    if constexpr (Kind == SampleKind::U8)
        return static_cast<const std::uint8_t*>(data)[i];
    else if constexpr (Kind == SampleKind::U16)
        return static_cast<const std::uint16_t*>(data)[i];
    else
        return LoadSample<std::uint16_t, true>(static_cast<const std::uint8_t*>(data) + 2 * i);
}

// Calls f with the row's kind as a compile-time constant.
template <class F>
decltype(auto) WithKind(SampleKind kind, F&& f) {
    switch (kind) {
        case SampleKind::U8:
            return f(std::integral_constant<SampleKind, SampleKind::U8>{});
        case SampleKind::U16:
            return f(std::integral_constant<SampleKind, SampleKind::U16>{});
        case SampleKind::U16Swapped:
            return f(std::integral_constant<SampleKind, SampleKind::U16Swapped>{});
        case SampleKind::F64:
            break;
    }
    return f(std::integral_constant<SampleKind, SampleKind::F64>{});
}

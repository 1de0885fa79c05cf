#pragma once

#include <cstdint>
#include <limits>

// Sizes in a file's header are whatever the file says, so products of them can
// leave the 64-bit range. Derived record values wrap like the machine integers
// they model; size checks use the checked forms and refuse on overflow.

inline std::int64_t WrappingMultiply(std::int64_t a, std::int64_t b) {
    return static_cast<std::int64_t>(static_cast<std::uint64_t>(a) * static_cast<std::uint64_t>(b));
}

// For non-negative operands: false when the result leaves the range.
inline bool CheckedMultiply(std::int64_t a, std::int64_t b, std::int64_t& result) {
    if (a < 0 || b < 0) return false;
    if (a != 0 && b > std::numeric_limits<std::int64_t>::max() / a) return false;
    result = a * b;
    return true;
}

inline bool CheckedAdd(std::int64_t a, std::int64_t b, std::int64_t& result) {
    if (a < 0 || b < 0 || a > std::numeric_limits<std::int64_t>::max() - b) return false;
    result = a + b;
    return true;
}

inline std::int64_t WrappingAdd(std::int64_t a, std::int64_t b) {
    return static_cast<std::int64_t>(static_cast<std::uint64_t>(a) + static_cast<std::uint64_t>(b));
}

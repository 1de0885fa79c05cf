#pragma once

#include <cstddef>
#include <cstdint>

// Reads and writes at a place in a file by its descriptor, going on where a
// call stops short or is interrupted, so that callers see whole requests.

// The bytes that arrived: fewer than count only at the end of the file or on
// an error.
std::size_t ReadAtPlace(int fd, std::uint8_t* dest, std::size_t count, std::int64_t position);

// Whether every byte reached the file; on failure errno says why (0 when the
// system wrote nothing without saying so).
bool WriteAtPlace(int fd, const std::uint8_t* src, std::size_t count, std::int64_t position);

#pragma once

#include <cstdint>
#include <span>
#include <string_view>

// The bytes of a file built into the program, by its file name ("Check.tif");
// empty when no file of that name is built in. Built in, the pictures go
// wherever the program goes, with no file beside it to find or to lose.
std::span<const std::uint8_t> EmbeddedResource(std::string_view fileName);

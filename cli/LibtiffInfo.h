#pragma once

#include <ostream>
#include <string>

// What libtiff makes of a file, for `info`: a block of `Name: value` lines on
// layout, compression, predictor, samples, BigTIFF, byte order and the tags
// present, and how the engine equalizes the file, or why it can't. False,
// with nothing printed, when libtiff can't read it.
bool PrintLibtiffBlock(const std::string& path, std::ostream& out);

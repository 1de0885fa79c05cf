#pragma once

#include <string>

#include "Picture.h"

// The picture as an 8-bit RGB PNG (alpha dropped), in stored deflate blocks:
// no compression, so no library is needed and the bytes are easy to check.
std::string EncodePng(const Picture& picture);

// Writes EncodePng of the picture to path; false when the file can't be written.
bool WritePng(const Picture& picture, const std::string& path);

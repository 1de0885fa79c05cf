#pragma once

#include <string>

#include "Picture.h"

// The picture as a deflate-compressed 8-bit RGB PNG (alpha dropped), every
// scan line unfiltered. Empty when the picture has no pixels, which PNG can't
// hold.
std::string EncodePng(const Picture& picture);

// Writes EncodePng of the picture to path; false when there is nothing to
// write or the file can't be written.
bool WritePng(const Picture& picture, const std::string& path);

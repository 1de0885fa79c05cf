#pragma once

#include <cstdint>
#include <string>

#include "TiffFile.h"

// Whether an opened subject can be equalized with the white card: one strip,
// the white card's size, and every pixel row inside the file. Empty when it
// can; otherwise the text its list row shows. The strip test speaks first, so
// a subject failing both the strip and the size test gets the strip text.
std::string SubjectRefusalText(const TiffFile& white, const TiffFile& subject);

// The words for a subject whose size isn't the white card's.
std::string SizeMismatchText(const TiffFile& white, std::int64_t width, std::int64_t height);

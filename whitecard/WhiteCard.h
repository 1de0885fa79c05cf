#pragma once

#include <cstdint>
#include <string>

#include "TiffFile.h"

// The figures shown for an accepted white card.
std::string InfoText(const TiffFile& white);    // "6000 x 4000 pixels  16 bits/channel"
std::string MaxValText(const TiffFile& white);  // "61680 (240)" for 16-bit, "240" for 8-bit
std::string MaxLocText(const TiffFile& white);  // "  x: 12  y: 34"

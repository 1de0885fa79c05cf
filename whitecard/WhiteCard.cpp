#include "WhiteCard.h"

#include "NumberText.h"
#include "PixelLayout.h"

std::string InfoText(const TiffFile& white) {
    return std::to_string(white.ImageWidth) + " x " + std::to_string(white.ImageHeight) +
           " pixels  " + std::to_string(white.BitsPerSample) + " bits/channel";
}

std::string MaxValText(const TiffFile& white) {
    if (PixelLayout::Of(white).EightBit()) return CStr(white.MaxLuminance);
    return CStr(white.MaxLuminance) + " (" + CStr(Round(white.MaxLuminance / 257.0)) + ")";
}

std::string MaxLocText(const TiffFile& white) {
    return "  x: " + std::to_string(white.pxmax) + "  y: " + std::to_string(white.pymax);
}

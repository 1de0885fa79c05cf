// Fuzz target: any bytes as a white card. Open, judge, scan and preview it the
// way the window does, through the real file layer.

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>

#include <unistd.h>

#include "FuzzFile.h"
#include "TiffFile.h"
#include "WhiteCard.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const FuzzFile file(data, size);
    TiffFile tiff;
    tiff.fi = GetFolderItem(file.Path());
    const bool failed = tiff.OpenTIFF();
    if (JudgeWhiteCard(tiff, failed) != WhiteCardVerdict::Accepted) return 0;
    tiff.FindMaxLuminanceDisk();
    tiff.MakeScaledPictureDisk(230, 230);
    return 0;
}

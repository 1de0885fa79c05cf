#include "Harness.h"

#include "TiffFile.h"
#include "WhiteCard.h"

void ExerciseWhiteCard(const std::string& path) {
    TiffFile tiff;
    tiff.fi = GetFolderItem(path);
    const bool failed = tiff.OpenTIFF();
    if (JudgeWhiteCard(tiff, failed) != WhiteCardVerdict::Accepted) return;
    tiff.FindMaxLuminanceDisk();
    tiff.MakeScaledPictureDisk(230, 230);
}

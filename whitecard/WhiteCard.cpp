#include "WhiteCard.h"

#include "Exceptions.h"
#include "NumberText.h"
#include "PixelLayout.h"

WhiteCardVerdict JudgeWhiteCard(const TiffFile& candidate, TiffOpening opening) {
    if (candidate.ImageHeight != candidate.RowsPerStrip) return WhiteCardVerdict::NotOneStrip;
    if (opening == TiffOpening::Incomplete) return WhiteCardVerdict::Incomplete;
    if (opening != TiffOpening::Ready) return WhiteCardVerdict::NotOpened;
    return WhiteCardVerdict::Accepted;
}

std::string RefusalText(WhiteCardVerdict verdict, const TiffFile& candidate) {
    switch (verdict) {
        case WhiteCardVerdict::NotOneStrip:
            return "Error: The white card image must be in one contiguous strip";
        case WhiteCardVerdict::Incomplete:
            return "Error: The white card image data is incomplete: the file ends before its "
                   "last pixel row.";
        case WhiteCardVerdict::NotOpened:
            return candidate.errstr;
        case WhiteCardVerdict::Accepted:
            break;
    }
    return "";
}

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

std::shared_ptr<TiffFile> LoadWhiteCard(const std::string& path, std::string& error,
                                        TiffServices services, bool scan) {
    const std::string unopened = "Error: The white card file can't be opened: " + path;
    auto candidate = std::make_shared<TiffFile>(services);
    const TiffOpening opening = OpenTiffPath(*candidate, path);
    const WhiteCardVerdict verdict = JudgeWhiteCard(*candidate, opening);
    if (opening == TiffOpening::Missing || opening == TiffOpening::Unopenable) {
        error = unopened;
        return nullptr;
    }
    // A card without pixels has no brightest sample to aim at and no row to
    // correct by; say so before its missing rows count as incomplete data.
    if (opening != TiffOpening::Refused &&
        (candidate->ImageWidth <= 0 || candidate->ImageHeight <= 0)) {
        error =
            "Error: The white card image has no pixels: " + std::to_string(candidate->ImageWidth) +
            " x " + std::to_string(candidate->ImageHeight) + " pixels";
        return nullptr;
    }
    if (verdict != WhiteCardVerdict::Accepted) {
        error = RefusalText(verdict, *candidate);
        return nullptr;
    }
    // A file that gives no stream for the scan surfaces as a missing object.
    try {
        if (scan) candidate->FindMaxLuminanceDisk();
    } catch (const NilObjectException&) {
        error = unopened;
        return nullptr;
    }
    return candidate;
}

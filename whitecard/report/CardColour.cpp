#include "CardColour.h"

#include <lcms2.h>

#include <stdexcept>

namespace {
constexpr const char* kUnreadable = "The white card's ICC profile can't be read by LittleCMS.";

std::string DescriptionOf(cmsHPROFILE profile) {
    char text[256] = {};
    cmsGetProfileInfoASCII(profile, cmsInfoDescription, "en", "US", text, sizeof text);
    return text;
}
}  // namespace

CardColour::CardColour(const std::vector<std::uint8_t>& profile, double ceiling)
    : ceiling_(ceiling), assumed_(profile.empty()) {
    cmsHPROFILE input =
        assumed_
            ? cmsCreate_sRGBProfile()
            : cmsOpenProfileFromMem(profile.data(), static_cast<cmsUInt32Number>(profile.size()));
    if (!input) throw std::runtime_error(kUnreadable);
    if (cmsGetColorSpace(input) != cmsSigRgbData) {
        cmsCloseProfile(input);
        throw std::runtime_error("The white card's ICC profile is not an RGB profile.");
    }
    description_ = assumed_ ? "sRGB (assumed: the card has no profile)" : DescriptionOf(input);
    cmsHPROFILE lab = cmsCreateLab4Profile(cmsD50_xyY());
    transform_ = cmsCreateTransform(input, TYPE_RGB_DBL, lab, TYPE_Lab_DBL,
                                    INTENT_RELATIVE_COLORIMETRIC, cmsFLAGS_NOCACHE);
    cmsCloseProfile(lab);
    cmsCloseProfile(input);
    if (!transform_) throw std::runtime_error(kUnreadable);
}

CardColour::~CardColour() {
    cmsDeleteTransform(static_cast<cmsHTRANSFORM>(transform_));
}

LabY CardColour::Convert(const Channels& samples) const {
    const double rgb[3] = {samples[0] / ceiling_, samples[1] / ceiling_, samples[2] / ceiling_};
    cmsCIELab lab{};
    cmsDoTransform(static_cast<cmsHTRANSFORM>(transform_), rgb, &lab, 1);
    cmsCIEXYZ xyz{};
    cmsLab2XYZ(cmsD50_XYZ(), &xyz, &lab);
    return {lab.L, lab.a, lab.b, xyz.Y};
}

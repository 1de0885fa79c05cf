#include <gtest/gtest.h>
#include <lcms2.h>

#include <cmath>

#include "ToneCurves.h"

namespace {
std::vector<std::uint8_t> Saved(cmsHPROFILE profile, cmsToneCurve* curve = nullptr) {
    cmsUInt32Number size = 0;
    cmsSaveProfileToMem(profile, nullptr, &size);
    std::vector<std::uint8_t> bytes(size);
    cmsSaveProfileToMem(profile, bytes.data(), &size);
    cmsCloseProfile(profile);
    cmsFreeToneCurve(curve);
    return bytes;
}
std::vector<std::uint8_t> WithCurve(cmsToneCurve* curve) {  // on all three channels
    cmsToneCurve* curves[3] = {curve, curve, curve};
    return Saved(cmsCreateRGBProfile(cmsD50_xyY(), nullptr, curves), curve);
}

// To 2e-5, as a profile keeps the curves' parameters in 16.16 fixed point.
TEST(ToneCurves, FollowTheFormulasAndComeBackToEverySample) {
    const auto srgb =
        +[](double v) { return v <= 0.04045 ? v / 12.92 : std::pow((v + 0.055) / 1.055, 2.4); };
    const auto gamma = +[](double v) { return std::pow(v, 2.2); };
    for (const auto& [bits, icc, formula] : {std::tuple{8, Saved(cmsCreate_sRGBProfile()), srgb},
                                             {16, Saved(cmsCreate_sRGBProfile()), srgb},
                                             {8, WithCurve(cmsBuildGamma(nullptr, 2.2)), gamma},
                                             {16, WithCurve(cmsBuildGamma(nullptr, 2.2)), gamma}}) {
        std::string why;
        const auto curves = ToneCurves::FromProfile(icc, bits, why);
        for (int c = 0, s = 0, ceiling = (1 << bits) - 1; c < 3;
             s = s == ceiling ? (++c, 0) : s + 1) {
            const auto sample = static_cast<std::uint16_t>(s);
            ASSERT_NEAR(curves->Linear(c, sample), formula(s / double(ceiling)), 2e-5) << bits;
            ASSERT_EQ(curves->Sample(c, curves->Linear(c, sample)), s) << bits;
            ASSERT_EQ(curves->Linear(c, double(s)), curves->Linear(c, sample));
        }
    }
}

TEST(ToneCurves, HoldValuesOutsideTheCurveAndTieToTheLowerSample) {
    std::string why;
    const auto curves = ToneCurves::FromProfile(WithCurve(cmsBuildGamma(nullptr, 1.0)), 8, why);
    EXPECT_EQ(curves->Sample(1, curves->Linear(1, std::uint16_t{1}) / 2), 0);
    EXPECT_EQ(curves->Sample(1, std::nan("")) + curves->Sample(1, -0.5), 0);
    EXPECT_EQ(curves->Sample(1, 7.0), 255);
    EXPECT_EQ(curves->Linear(1, 1e9) - curves->Linear(1, -3.0), 1.0);
}

TEST(ToneCurves, RefuseWhatTheyCantTakeSayingWhy) {
    const std::uint16_t falling[] = {0, 40000, 30000, 65535};
    for (const auto& [icc, words] :
         {std::pair{std::vector<std::uint8_t>{}, "has no ICC profile"},
          {std::vector<std::uint8_t>(300, 0x5a), "its ICC profile can't be read"},
          {Saved(cmsCreateLab4Profile(nullptr)),
           "its ICC profile has no rTRC, gTRC and bTRC tone curves"},
          {WithCurve(cmsBuildTabulatedToneCurve16(nullptr, 4, falling)),
           "its ICC profile has a tone curve that falls"}}) {
        std::string why;
        EXPECT_FALSE(ToneCurves::FromProfile(icc, 16, why));
        EXPECT_EQ(why, words);
    }
}
}  // namespace

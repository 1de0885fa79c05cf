#include "ToneCurves.h"

#include <lcms2.h>

#include <algorithm>
#include <cmath>
#include <memory>

namespace {
struct ProfileCloser {
    void operator()(void* profile) const { cmsCloseProfile(profile); }
};
using Profile = std::unique_ptr<void, ProfileCloser>;
}  // namespace

ToneCurves::ToneCurves(std::uint32_t ceiling)
    : ceiling_(ceiling),
      linear_(3 * (ceiling + 1)),
      middles_(3 * (ceiling + 2)),
      buckets_(3 * (kBuckets + 1)) {}

std::optional<ToneCurves> ToneCurves::FromProfile(const std::vector<std::uint8_t>& icc, int bits,
                                                  std::string& why) {
    if (icc.empty()) {
        why = "has no ICC profile";
        return std::nullopt;
    }
    const Profile profile(
        cmsOpenProfileFromMem(icc.data(), static_cast<cmsUInt32Number>(icc.size())));
    if (!profile) {
        why = "its ICC profile can't be read";
        return std::nullopt;
    }
    ToneCurves curves(bits == 8 ? 255 : 65535);
    const cmsTagSignature tags[3] = {cmsSigRedTRCTag, cmsSigGreenTRCTag, cmsSigBlueTRCTag};
    for (int channel = 0; channel < 3; ++channel) {
        const auto* curve =
            static_cast<const cmsToneCurve*>(cmsReadTag(profile.get(), tags[channel]));
        if (!curve) {
            why = "its ICC profile has no rTRC, gTRC and bTRC tone curves";
            return std::nullopt;
        }
        const double ceiling = curves.ceiling_;
        for (std::uint32_t sample = 0; sample <= curves.ceiling_; ++sample) {
            const double value = cmsEvalToneCurveFloat(curve, static_cast<float>(sample / ceiling));
            curves.linear_[curves.Index(channel, sample)] = HeldToUnit(value);
        }
        const auto first = curves.linear_.begin() + curves.Index(channel, 0);
        if (!std::is_sorted(first, first + curves.ceiling_ + 1)) {
            why = "its ICC profile has a tone curve that falls";
            return std::nullopt;
        }
        curves.BuildInverse(channel);
    }
    return curves;
}

void ToneCurves::BuildInverse(int channel) {
    double* middles = &middles_[static_cast<std::size_t>(channel) * (ceiling_ + 2)];
    middles[0] = -HUGE_VAL;
    for (std::uint32_t sample = 1; sample <= ceiling_; ++sample) {
        middles[sample] =
            (linear_[Index(channel, sample - 1)] + linear_[Index(channel, sample)]) / 2;
    }
    middles[ceiling_ + 1] = HUGE_VAL;
    std::uint32_t next = 1;
    for (std::uint32_t bucket = 0; bucket <= kBuckets; ++bucket) {
        // A shade below the bucket's first value, so that no value that
        // rounds into the bucket lies below its first midpoint.
        const double root = static_cast<double>(bucket) / kBuckets;
        const double from = root * root * (1.0 - 1e-12);
        while (middles[next] < from) ++next;
        buckets_[channel * (kBuckets + 1) + bucket] = next;
    }
}

double ToneCurves::Linear(int channel, double sample) const {
    if (!(sample > 0.0)) return linear_[Index(channel, 0)];
    if (sample >= ceiling_) return linear_[Index(channel, ceiling_)];
    const auto whole = static_cast<std::uint32_t>(sample);
    const double below = linear_[Index(channel, whole)];
    const double fraction = sample - whole;
    if (fraction == 0.0) return below;
    return below + fraction * (linear_[Index(channel, whole + 1)] - below);
}

#include "ToneCurves.h"

#include <lcms2.h>

#include <algorithm>
#include <cmath>
#include <memory>

namespace {
constexpr std::uint32_t kBuckets = 1 << 16;

struct ProfileCloser {
    void operator()(void* profile) const { cmsCloseProfile(profile); }
};
using Profile = std::unique_ptr<void, ProfileCloser>;

double HeldToUnit(double value) {
    return value > 1.0 ? 1.0 : (value > 0.0 ? value : 0.0);
}
}  // namespace

ToneCurves::ToneCurves(std::uint32_t ceiling)
    : ceiling_(ceiling), linear_(3 * (ceiling + 1)), buckets_(3 * (kBuckets + 1)) {}

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
        curves.BuildBuckets(channel);
    }
    return curves;
}

void ToneCurves::BuildBuckets(int channel) {
    std::uint32_t sample = 0;
    for (std::uint32_t bucket = 0; bucket <= kBuckets; ++bucket) {
        const double from = static_cast<double>(bucket) / kBuckets;
        while (sample <= ceiling_ && linear_[Index(channel, sample)] < from) ++sample;
        buckets_[channel * (kBuckets + 1) + bucket] = sample;
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

std::uint32_t ToneCurves::FirstAtLeast(int channel, std::uint32_t from, std::uint32_t to,
                                       double linear) const {
    const auto begin = linear_.begin() + Index(channel, 0);
    return static_cast<std::uint32_t>(std::lower_bound(begin + from, begin + to, linear) - begin);
}

std::uint16_t ToneCurves::Sample(int channel, double linear) const {
    const double value = HeldToUnit(linear);  // not-a-number is taken as 0
    const auto bucket = std::min(static_cast<std::uint32_t>(value * kBuckets), kBuckets - 1);
    const std::uint32_t* bounds = &buckets_[channel * (kBuckets + 1) + bucket];
    // The first sample at or above the value lies between the bucket's bounds.
    const std::uint32_t to = std::min(bounds[1], ceiling_);
    const std::uint32_t above = FirstAtLeast(channel, std::min(bounds[0], to), to, value);
    if (above == 0) return 0;
    const double upper = linear_[Index(channel, above)];
    const double lower = linear_[Index(channel, above - 1)];
    if (upper >= value && upper - value < value - lower) return static_cast<std::uint16_t>(above);
    // The nearest value lies below (or is the top one): where the curve is
    // flat there, its lowest sample of that value is the answer.
    const std::uint32_t nearest = upper < value ? above : above - 1;
    const double best = linear_[Index(channel, nearest)];
    if (nearest == 0 || linear_[Index(channel, nearest - 1)] < best) {
        return static_cast<std::uint16_t>(nearest);
    }
    return static_cast<std::uint16_t>(FirstAtLeast(channel, 0, nearest, best));
}

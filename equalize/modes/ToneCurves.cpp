#include "ToneCurves.h"

#include <lcms2.h>

#include <cmath>
#include <functional>
#include <memory>

#include "VectorClones.h"

namespace {
struct ProfileCloser {
    void operator()(void* profile) const { cmsCloseProfile(profile); }
};
using Profile = std::unique_ptr<void, ProfileCloser>;

// The tag's bytes as the profile holds them; empty when it has no such tag.
std::vector<std::uint8_t> RawTag(cmsHPROFILE profile, cmsTagSignature tag) {
    std::vector<std::uint8_t> bytes(cmsReadRawTag(profile, tag, nullptr, 0));
    if (!bytes.empty())
        bytes.resize(
            cmsReadRawTag(profile, tag, bytes.data(), static_cast<cmsUInt32Number>(bytes.size())));
    return bytes;
}
}  // namespace

ToneCurves::ToneCurves(std::uint32_t ceiling) : ceiling_(ceiling) {}

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
    std::vector<std::uint8_t> bytes[3];
    for (int channel = 0; channel < 3; ++channel) {
        // Read before the curve, so that they are the file's and not the curve's written out.
        bytes[channel] = RawTag(profile.get(), tags[channel]);
        const auto* curve =
            static_cast<const cmsToneCurve*>(cmsReadTag(profile.get(), tags[channel]));
        if (!curve) {
            why = "its ICC profile has no rTRC, gTRC and bTRC tone curves";
            return std::nullopt;
        }
        const auto same = std::find(bytes, bytes + channel, bytes[channel]) - bytes;
        if (same < channel) {
            curves.slot_[channel] = curves.slot_[same];
            continue;
        }
        curves.slot_[channel] = static_cast<std::uint32_t>(curves.rising_.size());
        if (!curves.AddCurve(curve)) {
            why = "its ICC profile has a tone curve that falls";
            return std::nullopt;
        }
    }
    return curves;
}

// The curve's linear values and their inverse as the next slot; false when it falls.
bool ToneCurves::AddCurve(const void* curve) {
    const std::uint32_t slot = static_cast<std::uint32_t>(rising_.size());
    const auto first = linear_.size();
    const double ceiling = ceiling_;
    for (std::uint32_t sample = 0; sample <= ceiling_; ++sample) {
        const double value = cmsEvalToneCurveFloat(static_cast<const cmsToneCurve*>(curve),
                                                   static_cast<float>(sample / ceiling));
        linear_.push_back(HeldToUnit(value));
    }
    if (!std::is_sorted(linear_.begin() + first, linear_.end())) return false;
    rising_.push_back(std::adjacent_find(linear_.begin() + first, linear_.end(),
                                         std::equal_to<>()) == linear_.end());
    BuildInverse(slot);
    return true;
}

void ToneCurves::BuildInverse(std::uint32_t slot) {
    const std::size_t count = ceiling_ + 3;
    middles_.resize((slot + 1) * count);
    double* middles = &middles_[slot * count];
    const double* linear = &linear_[slot * (ceiling_ + std::size_t{1})];
    middles[0] = -HUGE_VAL;
    for (std::uint32_t sample = 1; sample <= ceiling_; ++sample)
        middles[sample] = (linear[sample - 1] + linear[sample]) / 2;
    middles[ceiling_ + 1] = middles[ceiling_ + 2] = HUGE_VAL;
    buckets_.resize((slot + 1) * std::size_t{kBuckets});
    std::uint32_t* buckets = &buckets_[slot * std::size_t{kBuckets}];
    std::uint32_t next = 1;  // the first bucket starts at 0, above no midpoint but the first
    for (std::uint32_t bucket = 0; bucket < kBuckets; ++bucket) {
        if (bucket > 0)
            while (middles[next] < BucketStart(bucket)) ++next;
        const double end = BucketStart(bucket + 1);
        const bool fuller = next + 2 <= ceiling_ && middles[next + 2] < end;
        buckets[bucket] = next | (fuller ? kFuller : 0);
    }
}

BRISAVANE_VECTOR_CLONES bool ToneCurves::NearestOfProducts(
    const double* __restrict linear, const std::uint32_t* __restrict buckets,
    const double* __restrict middles, const std::uint16_t* __restrict samples, std::size_t n,
    const double* __restrict gains, std::size_t gainStep, std::uint16_t* __restrict nearest) {
    std::uint32_t fuller = 0;
    for (std::size_t i = 0; i < n; ++i) {
        // An infinite gain on black stays black; the ceiling is 1.
        const double value = HeldToUnit(gains[i * gainStep] * linear[samples[i]]);
        const std::uint32_t entry = buckets[Bucket(value)];
        const std::uint32_t next = entry & ~kFuller;
        fuller |= entry;
        nearest[i] = static_cast<std::uint16_t>(next - 1 + (middles[next] < value) +
                                                (middles[next + 1] < value));
    }
    return (fuller & kFuller) != 0;
}

void ToneCurves::Brightened(int channel, const std::uint16_t* samples, std::size_t n,
                            const double* gains, std::size_t gainStep,
                            std::uint16_t* nearest) const {
    const bool fuller = NearestOfProducts(&linear_[Index(channel, 0)],
                                          &buckets_[slot_[channel] * std::size_t{kBuckets}],
                                          Middles(channel), samples, n, gains, gainStep, nearest);
    // A value in a bucket of more midpoints than two is rare enough to look
    // the stretch up again one by one.
    for (std::size_t i = 0; fuller && i < n; ++i)
        nearest[i] = Sample(channel, gains[i * gainStep] * Linear(channel, samples[i]));
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

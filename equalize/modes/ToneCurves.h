#pragma once

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

// The red, green and blue tone curves (rTRC, gTRC, bTRC) of one file's
// embedded ICC profile, as tables per sample value, so that taking a sample to
// linear light and back costs a lookup and a few comparisons per pixel. The
// curves are the profile's own: nothing is assumed when a file has none.
// Channels whose tags hold the same bytes (sRGB's three do) share one curve
// and its tables, worked out once.
class ToneCurves {
  public:
    // nullopt with the reason in why: "has no ICC profile" (empty icc), "its
    // ICC profile can't be read", "its ICC profile has no rTRC, gTRC and bTRC
    // tone curves", or "its ICC profile has a tone curve that falls". bits is
    // 8 or 16; any other value takes the 16-bit scale.
    static std::optional<ToneCurves> FromProfile(const std::vector<std::uint8_t>& icc, int bits,
                                                 std::string& why);

    // The linear value of a whole sample, in [0, 1].
    double Linear(int channel, std::uint16_t sample) const {
        return linear_[Index(channel, sample)];
    }
    // Between whole samples, linearly; exact at whole samples; the sample is
    // held to [0, ceiling] first.
    double Linear(int channel, double sample) const;
    // Whether the three channels have one curve.
    bool Shared() const { return slot_[0] == slot_[1] && slot_[1] == slot_[2]; }
    // Whether each sample's linear value lies above the one before, so that
    // the order of samples is the order of their linear values.
    bool Rising(int channel) const { return rising_[slot_[channel]]; }
    // The sample whose Linear() is nearest to linear, the lower one on a tie
    // (that is, unless linear lies above the midpoint of the two). A lookup
    // in a table of buckets and two comparisons.
    std::uint16_t Sample(int channel, double linear) const {
        const double value = HeldToUnit(linear);  // not-a-number is taken as 0
        const double* middles = Middles(channel);
        const std::uint32_t entry = buckets_[slot_[channel] * kBuckets + Bucket(value)];
        const std::uint32_t next = entry & ~kFuller;
        // The bucket holds the midpoints from next on that lie below value;
        // two at most, unless it is marked fuller and is searched by halves.
        if (entry & kFuller) [[unlikely]]
            return static_cast<std::uint16_t>(
                std::lower_bound(middles + next, middles + ceiling_ + 1, value) - middles - 1);
        return static_cast<std::uint16_t>(next - 1 + (middles[next] < value) +
                                          (middles[next + 1] < value));
    }

    // Sample() of min(gain x Linear(sample), 1) for n samples of one channel,
    // the gain of sample i being gains[i x gainStep], into nearest; the same
    // values, many at a time.
    void Brightened(int channel, const std::uint16_t* samples, std::size_t n, const double* gains,
                    std::size_t gainStep, std::uint16_t* nearest) const;

  private:
    // Buckets are even steps of the value's binary exponent and leading
    // mantissa bits, over the 24 octaves below 1 (all below them share the
    // first bucket) and 1 itself: a value's bucket is a shift of its bits,
    // with edges that are exact values, and tone curves, which rise steeply
    // from black, put about as few samples in each as the square root would.
    static constexpr int kMantissaBits = 14;
    static constexpr std::uint64_t kOctaves = 24;
    static constexpr std::uint64_t kLowestKey = (1023 - kOctaves) << kMantissaBits;
    static constexpr std::uint32_t kBuckets = (kOctaves << kMantissaBits) + 1;
    static constexpr std::uint32_t kFuller = 1u << 31;

    static double HeldToUnit(double value) {
        return value > 1.0 ? 1.0 : (value > 0.0 ? value : 0.0);
    }
    // For values in [0, 1].
    static std::uint32_t Bucket(double value) {
        const std::uint64_t key = std::bit_cast<std::uint64_t>(value) >> (52 - kMantissaBits);
        return static_cast<std::uint32_t>(key > kLowestKey ? key - kLowestKey : 0);
    }
    // The least value of a bucket past the first.
    static double BucketStart(std::uint32_t bucket) {
        return std::bit_cast<double>((kLowestKey + bucket) << (52 - kMantissaBits));
    }
    explicit ToneCurves(std::uint32_t ceiling);
    std::size_t Index(int channel, std::uint32_t sample) const {
        return static_cast<std::size_t>(slot_[channel]) * (ceiling_ + 1) + sample;
    }
    const double* Middles(int channel) const {
        return &middles_[static_cast<std::size_t>(slot_[channel]) * (ceiling_ + 3)];
    }
    // Brightened() in one straight loop, without the fuller buckets' search:
    // true when some value fell in such a bucket, and its sample is wrong.
    static bool NearestOfProducts(const double* linear, const std::uint32_t* buckets,
                                  const double* middles, const std::uint16_t* samples,
                                  std::size_t n, const double* gains, std::size_t gainStep,
                                  std::uint16_t* nearest);
    bool AddCurve(const void* curve);
    void BuildInverse(std::uint32_t slot);

    std::uint32_t ceiling_;
    std::array<std::uint32_t, 3> slot_{};  // each channel's curve
    std::vector<bool> rising_;             // per curve
    std::vector<double> linear_;           // per curve, ceiling + 1 values
    // Per curve, ceiling + 3 values: below everything, then the midpoints of
    // the Linear() of neighbouring samples, then twice above everything. The
    // sample nearest to a value is the count of midpoints below it, less 1.
    std::vector<double> middles_;
    // Per curve, kBuckets entries: the first midpoint at or above the
    // bucket's least value, with kFuller set when more than two midpoints
    // lie in the bucket.
    std::vector<std::uint32_t> buckets_;
};

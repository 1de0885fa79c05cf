#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

// The red, green and blue tone curves (rTRC, gTRC, bTRC) of one file's
// embedded ICC profile, as tables per sample value, so that taking a sample to
// linear light and back costs a lookup and a few comparisons per pixel. The
// curves are the profile's own: nothing is assumed when a file has none.
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
    // The sample whose Linear() is nearest to linear, the lower one on a tie
    // (that is, unless linear lies above the midpoint of the two). A lookup
    // in a table of buckets and a few comparisons.
    std::uint16_t Sample(int channel, double linear) const {
        const double value = HeldToUnit(linear);  // not-a-number is taken as 0
        const double* middles = Middles(channel);
        std::uint32_t next = buckets_[channel * (kBuckets + 1) + Bucket(value)];
        // The bucket's first three midpoints, compared at once, cover the
        // buckets of the usual curves (the last one, above everything, stops
        // the count there); a fuller bucket goes on by halves. Midpoints
        // rise, so the fourth one below the value is what tells a fuller
        // bucket, read beside the others rather than after their count.
        const std::uint32_t top = ceiling_ + 1;
        const bool fuller = middles[std::min(next + 3, top)] < value;
        next += (middles[next] < value) + (middles[std::min(next + 1, top)] < value) +
                (middles[std::min(next + 2, top)] < value);
        if (fuller) [[unlikely]]
            next = static_cast<std::uint32_t>(
                std::lower_bound(middles + next, middles + ceiling_ + 1, value) - middles);
        return static_cast<std::uint16_t>(next - 1);
    }

  private:
    static constexpr std::uint32_t kBuckets = 1 << 16;

    static double HeldToUnit(double value) {
        return value > 1.0 ? 1.0 : (value > 0.0 ? value : 0.0);
    }
    // Buckets are even steps of the square root of the linear value: tone
    // curves rise steeply from black, and in that measure every bucket holds
    // about as many samples, a few at most for gamma-like and sRGB curves.
    static std::uint32_t Bucket(double linear) {
        return std::min(static_cast<std::uint32_t>(std::sqrt(linear) * kBuckets), kBuckets - 1);
    }
    explicit ToneCurves(std::uint32_t ceiling);
    std::size_t Index(int channel, std::uint32_t sample) const {
        return static_cast<std::size_t>(channel) * (ceiling_ + 1) + sample;
    }
    const double* Middles(int channel) const {
        return &middles_[static_cast<std::size_t>(channel) * (ceiling_ + 2)];
    }
    void BuildInverse(int channel);

    std::uint32_t ceiling_;
    std::vector<double> linear_;  // three channels of ceiling + 1 values
    // Per channel, ceiling + 2 values: below everything, then the midpoints of
    // the Linear() of neighbouring samples, then above everything. The sample
    // nearest to a value is the count of midpoints below it.
    std::vector<double> middles_;
    // Per channel, kBuckets + 1 entries: the first midpoint at or above the
    // bucket's first value.
    std::vector<std::uint32_t> buckets_;
};

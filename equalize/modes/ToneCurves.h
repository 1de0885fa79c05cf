#pragma once

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
    std::uint16_t Sample(int channel, double linear) const;

  private:
    explicit ToneCurves(std::uint32_t ceiling);
    std::size_t Index(int channel, std::uint32_t sample) const {
        return static_cast<std::size_t>(channel) * (ceiling_ + 1) + sample;
    }
    const double* Middles(int channel) const {
        return &middles_[static_cast<std::size_t>(channel) * (ceiling_ + 2)];
    }
    static std::uint32_t Bucket(double linear);
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

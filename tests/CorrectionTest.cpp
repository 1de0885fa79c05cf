#include <gtest/gtest.h>

#include <vector>

#include "GainRule.h"
#include "SpanCorrection.h"
#include "support/ReferenceEqualize.h"

using namespace testing_tiff;

namespace {
// Rows of samples in a chosen width and byte order.
struct Row {
    int width;
    bool little;
    std::vector<std::uint8_t> bytes;
    void Put(std::uint16_t value) {
        std::string sample;
        PutValue(sample, value, width, little);
        bytes.insert(bytes.end(), sample.begin(), sample.end());
    }
    std::uint16_t Get(std::size_t index) const {
        const std::uint8_t* at = &bytes[width * index];
        return width == 1 ? at[0] : little ? at[0] | at[1] << 8 : at[0] << 8 | at[1];
    }
};

// The one correction, gains from a card row and the walk over the subject's
// samples (the plain loop, its clones for wider vector units and the AVX-512
// one), against the reference for every 8-bit white green and sample, or edge
// values in 16 bits, in every mix of byte orders, read in place and from
// another buffer, under targets between whole numbers and far beyond the
// ceiling. Rows end a few pixels short of a vector's worth, and the buffers
// are exactly as long as the row, for the address sanitizer.
TEST(Correction, GainsAndWalkAreTheFormulaForEveryWhiteAndSample) {
    for (const int bits : {8, 16})
        for (const bool subjectLittle : {true, false})
            for (const bool whiteLittle : {true, false}) {
                const int top = bits == 8 ? 255 : 65535;
                std::vector<std::uint16_t> values;
                for (int v = 0; v <= top; v += bits == 8 ? 1 : 4369) values.push_back(v);
                values.insert(values.end(), {1, 2, static_cast<std::uint16_t>(top - 1)});
                Row subject{bits / 8, subjectLittle, {}}, white{bits / 8, whiteLittle, {}};
                for (const std::uint16_t g : values)
                    for (const std::uint16_t s : values) {
                        subject.Put(s);
                        subject.Put(static_cast<std::uint16_t>(top - s));
                        subject.Put(s / 2);
                        white.Put(static_cast<std::uint16_t>(top));  // never read
                        white.Put(g);
                        white.Put(0);
                    }
                const std::size_t pixels = subject.bytes.size() / (3 * bits / 8);
                const PixelLayout whiteLayout = PixelLayout::For(
                    3 * bits / 8, whiteLittle, static_cast<std::int64_t>(white.bytes.size()));
                const bool swapped = bits == 16 && subjectLittle != kHostLittleEndian;
                std::vector<double> gains(pixels);
                for (const double target :
                     {0.0, 4.9e-324, 0.5, 99.99999999999999, 150.0, top - 1e-11,
                      static_cast<double>(top), top + 1.0, top * 10.0, 1e300})
                    for (const bool apart : {true, false}) {
                        GainRule rule;
                        rule.target[1] = target;
                        rule.Gains(SampleRow::Of(white.bytes.data(), whiteLayout), pixels,
                                   gains.data());
                        Row out = subject;
                        CorrectSpan({out.bytes.data(), pixels, 3, 0, 3, std::size_t(bits / 8),
                                     swapped, apart ? subject.bytes.data() : nullptr},
                                    {gains.data(), 1, nullptr, nullptr});
                        for (std::size_t k = 0; k < pixels * 3; ++k)
                            ASSERT_EQ(out.Get(k), ExpectedSample(target, white.Get(k / 3 * 3 + 1),
                                                                 subject.Get(k), bits))
                                << bits << (subjectLittle ? " le" : " be") << " target " << target
                                << ", sample " << k;
                    }
            }
}

}  // namespace

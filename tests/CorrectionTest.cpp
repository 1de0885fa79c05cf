#include <gtest/gtest.h>

#include <limits>
#include <vector>

#include "RowCorrection.h"
#include "support/ReferenceEqualize.h"

using namespace testing_tiff;

namespace {
struct Orders {
    bool subject, white;  // little-endian
};

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

class RowIsTheFormula : public ::testing::TestWithParam<std::tuple<int, Orders>> {};

// The row loops (plain, cloned for wider vector units, and the AVX-512
// ones) against the reference for every 8-bit white green and sample, or edge
// values in 16 bits, under targets between whole numbers and far beyond the
// ceiling. The row ends a few pixels short of a vector's worth, and the
// buffers are exactly as long as the row, for the address sanitizer.
TEST_P(RowIsTheFormula, ForEveryWhiteAndSample) {
    const auto [bits, orders] = GetParam();
    const int top = bits == 8 ? 255 : 65535;
    std::vector<std::uint16_t> values;
    for (int v = 0; v <= top; v += bits == 8 ? 1 : 4369) values.push_back(v);
    values.insert(values.end(), {1, 2, static_cast<std::uint16_t>(top - 1)});
    Row subject{bits / 8, orders.subject}, white{bits / 8, orders.white};
    for (const std::uint16_t g : values)
        for (const std::uint16_t s : values) {
            subject.Put(s);
            subject.Put(static_cast<std::uint16_t>(top - s));
            subject.Put(s / 2);
            white.Put(static_cast<std::uint16_t>(top));  // the card's red and blue are never read
            white.Put(g);
            white.Put(0);
        }
    const std::size_t samples = subject.bytes.size() / (bits / 8);
    for (const double target : {0.0, 4.9e-324, 0.5, 99.99999999999999, 150.0, top - 1e-11,
                                static_cast<double>(top), top + 1.0, top * 10.0, 1e300}) {
        Row out{bits / 8, orders.subject, std::vector<std::uint8_t>(subject.bytes.size())};
        CorrectRow(PixelLayout::For(3 * subject.width, subject.little,
                                    static_cast<std::int64_t>(subject.bytes.size())),
                   orders.white, target, subject.bytes.data(), white.bytes.data(),
                   out.bytes.data());
        for (std::size_t k = 0; k < samples; ++k)
            ASSERT_EQ(out.Get(k),
                      ExpectedSample(target, white.Get(k / 3 * 3 + 1), subject.Get(k), bits))
                << "target " << target << ", sample " << k;
    }
}

INSTANTIATE_TEST_SUITE_P(
    DepthsAndOrders, RowIsTheFormula,
    ::testing::Combine(::testing::Values(8, 16),
                       ::testing::Values(Orders{true, true}, Orders{true, false},
                                         Orders{false, true}, Orders{false, false})));

// A row that doesn't end on a whole pixel (a 4-byte pixel read as 16-bit
// RGB): whole pixels are corrected, the rest comes from the subject, and not
// a byte past the row is touched.
TEST(RowCorrection, PartPixelAtTheEndIsCopied) {
    const std::size_t length = 16;  // two 6-byte pixels and 4 bytes more
    std::vector<std::uint8_t> subject(length + 8), white(length + 8, 0), out(length + 8, 0xA5);
    for (std::size_t k = 0; k < subject.size(); ++k) subject[k] = static_cast<std::uint8_t>(k + 1);
    for (std::size_t k = 0; k < white.size(); k += 2) white[k] = 0x40;  // little-endian 64
    CorrectRow(PixelLayout::For(4, true, length), true, 128.0, subject.data(), white.data(),
               out.data());
    // gain 2 on little-endian samples 0x0201 -> 0x0402 and so on
    EXPECT_EQ(out[0] | out[1] << 8, 2 * 0x0201);
    EXPECT_EQ(out[10] | out[11] << 8, 2 * 0x0C0B);
    for (std::size_t k = 12; k < length; ++k) EXPECT_EQ(out[k], subject[k]);
    for (std::size_t k = length; k < out.size(); ++k) EXPECT_EQ(out[k], 0xA5);
}
}  // namespace

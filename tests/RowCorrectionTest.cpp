#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

#include "Correction.h"
#include "RowCorrection.h"

namespace {
void Put(std::vector<std::uint8_t>& row, std::size_t at, int width, bool little,
         std::uint16_t value) {
    if (width == 1) {
        row[at] = static_cast<std::uint8_t>(value);
    } else {
        row[at + (little ? 0 : 1)] = static_cast<std::uint8_t>(value);
        row[at + (little ? 1 : 0)] = static_cast<std::uint8_t>(value >> 8);
    }
}

std::uint16_t Get(const std::vector<std::uint8_t>& row, std::size_t at, int width, bool little) {
    if (width == 1) return row[at];
    return little ? static_cast<std::uint16_t>(row[at] | row[at + 1] << 8)
                  : static_cast<std::uint16_t>(row[at] << 8 | row[at + 1]);
}

struct Orders {
    bool subjectLittle, whiteLittle;
};

class RowMatchesPixels : public ::testing::TestWithParam<std::tuple<int, Orders>> {};

// The row loop is the per-pixel formula made fast; it must give the same bytes
// for every edge value: 0, 1, the ceiling, a white of 0, a target of 0, in
// every mix of byte orders. One long row holds all combinations, so the vector
// paths and their leftovers are both crossed.
TEST_P(RowMatchesPixels, ForEveryEdgeValue) {
    const auto [bits, orders] = GetParam();
    const int w = bits / 8;
    const std::uint16_t top = bits == 8 ? 255 : 65535;
    const std::vector<std::uint16_t> samples = {
        0, 1, 2, static_cast<std::uint16_t>(top / 2), static_cast<std::uint16_t>(top - 1), top};
    const std::vector<double> targets = {0.0, 1.0, top / 3.0, static_cast<double>(top), top * 0.9};
    const SampleFormat format = SampleFormat::For(3 * w);
    for (const double target : targets) {
        std::vector<std::uint8_t> subject, white;
        for (const std::uint16_t g : samples)
            for (const std::uint16_t r : samples)
                for (const std::uint16_t s : samples) {
                    const std::size_t at = subject.size();
                    subject.resize(at + 3 * w);
                    white.resize(at + 3 * w);
                    Put(subject, at, w, orders.subjectLittle, r);
                    Put(subject, at + w, w, orders.subjectLittle, s);
                    Put(subject, at + 2 * w, w, orders.subjectLittle,
                        static_cast<std::uint16_t>(top - s));
                    Put(white, at, w, orders.whiteLittle, top);  // red and blue of the card: unused
                    Put(white, at + w, w, orders.whiteLittle, g);
                    Put(white, at + 2 * w, w, orders.whiteLittle, 0);
                }
        std::vector<std::uint8_t> expected(subject.size()), out(subject.size() + 8, 0xA5);
        for (std::size_t i = 0; i < subject.size(); i += 3 * w)
            CorrectPixel(format, target, subject.data() + i, orders.subjectLittle, white.data() + i,
                         orders.whiteLittle, expected.data() + i);
        CorrectRow(format, target, subject.data(), orders.subjectLittle, white.data(),
                   orders.whiteLittle, out.data(), subject.size());
        ASSERT_EQ(std::vector<std::uint8_t>(out.begin(), out.begin() + subject.size()), expected)
            << "target " << target;
        for (std::size_t k = subject.size(); k < out.size(); ++k) ASSERT_EQ(out[k], 0xA5);
    }
}

INSTANTIATE_TEST_SUITE_P(
    LayoutsAndOrders, RowMatchesPixels,
    ::testing::Combine(::testing::Values(8, 16),
                       ::testing::Values(Orders{true, true}, Orders{true, false},
                                         Orders{false, true}, Orders{false, false})));

// Every 8-bit white green against every sample, under targets between whole
// numbers, at and above the ceiling and far beyond, in a row that ends in a
// few pixels short of a vector's worth: each output byte is the formula's. The
// buffers are exactly as long as the row, so a read past it shows under the
// address sanitizer.
TEST(RowCorrection, EightBitRowIsThePixelFormulaForEveryWhiteAndSample) {
    const std::size_t pixels = 256 * 256 + 5;
    std::vector<std::uint8_t> subject(3 * pixels), white(3 * pixels);
    for (std::size_t p = 0; p < pixels; ++p) {
        const auto sample = static_cast<std::uint8_t>(p % 256);
        subject[3 * p] = sample;
        subject[3 * p + 1] = static_cast<std::uint8_t>(255 - sample);
        subject[3 * p + 2] = static_cast<std::uint8_t>(sample / 2);
        white[3 * p] = 255;
        white[3 * p + 1] = static_cast<std::uint8_t>(p / 256 % 256);
    }
    const SampleFormat format = SampleFormat::For(3);
    for (const double target : {0.0, 4.9e-324, 0.5, 99.99999999999999, 150.0, 254.99999999999997,
                                255.0, 256.0, 2550.0, 1e300}) {
        std::vector<std::uint8_t> expected(subject.size()), out(subject.size());
        for (std::size_t i = 0; i < subject.size(); i += 3)
            CorrectPixel(format, target, &subject[i], true, &white[i], true, &expected[i]);
        CorrectRow(format, target, subject.data(), true, white.data(), true, out.data(),
                   out.size());
        ASSERT_EQ(out, expected) << "target " << target;
    }
}

struct WorkedPixel {
    int bits;
    double target;
    std::uint16_t white;
    std::uint16_t in[3];
    std::uint16_t out[3];
};

class WorkedExamples : public ::testing::TestWithParam<std::tuple<WorkedPixel, Orders>> {};

// Hand-worked pixels: truncation (116.54 gives 116, 14.999999999999998 gives
// 14), the ceiling, and a white above the target leaving the pixel alone.
TEST_P(WorkedExamples, GiveTheWorkedSamples) {
    const auto [p, orders] = GetParam();
    const int w = p.bits / 8;
    std::vector<std::uint8_t> subject(6 * w), white(6 * w), out(6 * w);
    for (int pixel = 0; pixel < 2; ++pixel) {  // the same pixel twice
        const std::size_t at = pixel * 3 * w;
        for (int c = 0; c < 3; ++c) Put(subject, at + c * w, w, orders.subjectLittle, p.in[c]);
        Put(white, at + w, w, orders.whiteLittle, p.white);
    }
    CorrectRow(SampleFormat::For(3 * w), p.target, subject.data(), orders.subjectLittle,
               white.data(), orders.whiteLittle, out.data(), out.size());
    for (int pixel = 0; pixel < 2; ++pixel)
        for (int c = 0; c < 3; ++c)
            EXPECT_EQ(Get(out, (pixel * 3 + c) * w, w, orders.subjectLittle), p.out[c]);
}

INSTANTIATE_TEST_SUITE_P(
    Pixels, WorkedExamples,
    ::testing::Combine(
        ::testing::Values(WorkedPixel{8, 150.0, 120, {80, 100, 220}, {100, 125, 255}},
                          WorkedPixel{8, 150.0, 130, {101, 13, 7}, {116, 14, 8}},
                          WorkedPixel{8, 150.0, 180, {30, 40, 50}, {30, 40, 50}},
                          WorkedPixel{
                              16, 52000.0, 40000, {10000, 20000, 60000}, {13000, 26000, 65535}},
                          // a white of 0: black stays black, anything else hits the ceiling
                          WorkedPixel{16, 52000.0, 0, {0, 1, 65535}, {0, 65535, 65535}},
                          // a target of 0 on a white of 0: gain 1
                          WorkedPixel{8, 0.0, 0, {0, 1, 255}, {0, 1, 255}}),
        ::testing::Values(Orders{true, true}, Orders{true, false}, Orders{false, true},
                          Orders{false, false})));

// A row that doesn't end on a whole pixel (a 4-byte pixel read as 16-bit
// RGB): whole pixels are corrected, the rest comes from the subject, and not
// a byte past the row is touched.
TEST(RowCorrection, PartPixelAtTheEndIsCopied) {
    const std::size_t length = 16;  // two 6-byte pixels and 4 bytes more
    std::vector<std::uint8_t> subject(length + 8), white(length + 8, 0), out(length + 8, 0xA5);
    for (std::size_t k = 0; k < subject.size(); ++k) subject[k] = static_cast<std::uint8_t>(k + 1);
    for (std::size_t k = 0; k < white.size(); k += 2) white[k] = 0x40;  // little-endian 64
    CorrectRow(SampleFormat::For(4), 128.0, subject.data(), true, white.data(), true, out.data(),
               length);
    // gain 2 on little-endian samples 0x0201 -> 0x0402 and so on
    EXPECT_EQ(Get(out, 0, 2, true), 2 * 0x0201);
    EXPECT_EQ(Get(out, 10, 2, true), 2 * 0x0C0B);
    for (std::size_t k = 12; k < length; ++k) EXPECT_EQ(out[k], subject[k]);
    for (std::size_t k = length; k < out.size(); ++k) EXPECT_EQ(out[k], 0xA5);
}
}  // namespace

#include <gtest/gtest.h>

#include "ReferenceEqualize.h"
#include "RowPassRig.h"

using namespace testing_tiff;

namespace {
// A white card darker towards its corners, in the file's sample range.
TiffSpec WhiteCard(int bits, bool little, std::uint32_t width = 7, std::uint32_t height = 5) {
    TiffSpec s = SpecOf(width, height, bits, little);
    const double top = bits == 8 ? 255.0 : 65535.0;
    s.pixel = [top, width, height](std::uint32_t x, std::uint32_t y) {
        const double dx = x - width / 2.0, dy = y - height / 2.0;
        const auto g = static_cast<std::uint16_t>(top * (0.9 - 0.02 * (dx * dx + dy * dy)));
        return Rgb{static_cast<std::uint16_t>(top), g, 3};
    };
    return s;
}

// Subject samples from black to the ceiling, in all three channels.
TiffSpec Subject(int bits, bool little, std::uint32_t width = 7, std::uint32_t height = 5) {
    TiffSpec s = WhiteCard(bits, little, width, height);
    const std::uint32_t top = bits == 8 ? 255 : 65535;
    s.pixel = [top](std::uint32_t x, std::uint32_t y) {
        const auto v = [&](std::uint32_t k) {
            return static_cast<std::uint16_t>(k * 7919u % (top + 1));
        };
        return Rgb{v(x * 31 + y * 7), v(x + y * 101 + 1),
                   x == 0 ? static_cast<std::uint16_t>(top) : v(y)};
    };
    s.iccProfile = std::string(
        "\0\0\0\x0c"
        "acspICC!",
        12);
    s.trailer = "trailing bytes stay";
    return s;
}

double Target(int bits) {
    return bits == 8 ? 240.0 : 61000.0;
}

void Prepare(RowPassRig& rig, int bits, bool subjectLittle, bool whiteLittle) {
    rig.subject = Subject(bits, subjectLittle);
    rig.white = WhiteCard(bits, whiteLittle);
}

struct OrderCase {
    int bits;
    bool subjectLittle, whiteLittle;
};

class RowPassBytes : public ::testing::TestWithParam<OrderCase> {};

// The whole output file: pixel rows corrected, every other byte (header,
// profile, bytes after the rows) as in the subject.
TEST_P(RowPassBytes, OutputIsTheSubjectWithCorrectedRows) {
    const OrderCase& c = GetParam();
    RowPassRig rig;
    Prepare(rig, c.bits, c.subjectLittle, c.whiteLittle);
    FakeBatchHost host;
    ASSERT_EQ(rig.Run(Target(c.bits), host), RowPassEnd::Written);
    EXPECT_EQ(rig.Output(), ExpectedOutput(rig.subject, rig.white, Target(c.bits)));
    EXPECT_FALSE(rig.output->IsOpen());
    EXPECT_FALSE(rig.subjectTiff->imagefile->IsOpen());
}

INSTANTIATE_TEST_SUITE_P(DepthsAndOrders, RowPassBytes,
                         ::testing::Values(OrderCase{8, true, true}, OrderCase{16, true, true},
                                           OrderCase{16, false, false},
                                           OrderCase{16, true, false},  // big-endian card
                                           OrderCase{16, false, true}));

// The bar counts rows from 0, so its last value is the height less one; the
// events are pumped once a row and the cancel test asked once a row.
TEST(RowPass, ReportsEveryRow) {
    RowPassRig rig;
    Prepare(rig, 8, true, true);
    FakeBatchHost host;
    rig.Run(Target(8), host);
    EXPECT_EQ(host.progress.maximum, 5);
    EXPECT_EQ(host.progress.values, (std::vector<double>{0, 0, 1, 2, 3, 4}));
    EXPECT_TRUE(host.progress.visible);  // the batch hides it
    EXPECT_EQ(host.statuses, std::vector<std::string>{"Saving file: out_eq.tif"});
    EXPECT_EQ(host.pumps, 5);
    EXPECT_EQ(host.cancelQuestions, 5);
}

// Cancelled while row 2 was in work: rows 0 and 1 corrected, row 2 and after
// as in the subject, the output closed with what it holds.
TEST(RowPass, CancelKeepsTheRowsBefore) {
    for (const int bits : {8, 16}) {
        RowPassRig rig;
        Prepare(rig, bits, true, false);
        FakeBatchHost host;
        host.cancelAfterPumps = 2;
        ASSERT_EQ(rig.Run(Target(bits), host), RowPassEnd::Cancelled);
        EXPECT_FALSE(rig.output->IsOpen());
        EXPECT_TRUE(rig.subjectTiff->imagefile->IsOpen());
        EXPECT_FALSE(host.progress.visible);
        EXPECT_EQ(host.statuses.back(), "");

        const BuiltTiff original = BuildTiff(rig.subject);
        const std::string corrected = ExpectedOutput(rig.subject, rig.white, Target(bits));
        const std::size_t split = original.imageOffset + 2 * original.bytesPerRow;
        EXPECT_EQ(rig.Output(), corrected.substr(0, split) + original.bytes.substr(split));
    }
}

// The preview shows the corrected image; 16-bit samples come down by 257.
TEST(RowPass, PreviewShowsTheOutputRows) {
    for (const int bits : {8, 16}) {
        RowPassRig rig;
        Prepare(rig, bits, false, true);
        FakeBatchHost host;
        rig.Run(Target(bits), host);
        ASSERT_EQ(rig.presult->Width(), 7);
        ASSERT_EQ(rig.presult->Height(), 5);
        for (std::uint32_t y = 0; y < 5; ++y)
            for (std::uint32_t x = 0; x < 7; ++x) {
                const Rgb s = rig.subject.pixel(x, y);
                const double w = rig.white.pixel(x, y).g;
                const auto show = [&](std::uint16_t v) {
                    const std::uint16_t out = ExpectedSample(Target(bits), w, v, bits);
                    return bits == 8 ? out : static_cast<std::uint32_t>(out / 257);
                };
                ASSERT_EQ(rig.presult->Pixel(x, y), RGB(show(s.r), show(s.g), show(s.b), 0));
            }
    }
}

// With previews off the new picture is made but nothing is drawn in it.
TEST(RowPass, PreviewOffLeavesTheNewPictureEmpty) {
    RowPassRig rig;
    rig.subject = Subject(16, true, 460, 3);
    rig.white = WhiteCard(16, true, 460, 3);
    FakeBatchHost host;
    host.showPreviews = false;
    rig.Run(Target(16), host);
    ASSERT_EQ(rig.presult->Width(), 230);
    ASSERT_EQ(rig.presult->Height(), 1);
    for (std::int64_t x = 0; x < 230; ++x) EXPECT_EQ(rig.presult->Pixel(x, 0), RGB(0, 0, 0, 0));
}

}  // namespace

#include <gtest/gtest.h>

#include "support/AnalyzeRun.h"
#include "support/LibtiffFiles.h"
#include "support/TempFolder.h"
#include "support/TiffBuilder.h"

using namespace testing_tiff;

namespace {

TEST(CliAnalyze, PrintsTheFourLinesFor16Bit) {
    TempFolder folder;
    std::vector<std::uint16_t> samples(36, 1000);
    samples[3 * 6 + 1] = 61680;  // green of pixel (2, 1)
    samples[3 * 9 + 1] = 257;    // green of pixel (1, 2)
    LibtiffImage image = ImageOfSamples(4, 3, 16, samples);
    image.bigEndian = true;
    WriteWithLibtiff(folder / "w.tif", image);
    const CliRun r = Analyze({folder / "w.tif"});
    EXPECT_EQ(r.code, 0) << r.err;
    EXPECT_EQ(r.out,
              "Size: 4 x 3 pixels  16 bits/channel\n"
              "Maximum: 61680 (240)\n"
              "Minimum: 257\n"
              "Location:   x: 2  y: 1\n");
}

TEST(CliAnalyze, EightBitMaximumHasNoParentheses) {
    TempFolder folder;
    WriteWithLibtiff(folder / "w.tif",
                     ImageOfSamples(2, 2, 8, {0, 9, 0, 0, 200, 0, 0, 7, 0, 0, 50, 0}));
    const CliRun r = Analyze({folder / "w.tif"});
    EXPECT_EQ(r.out,
              "Size: 2 x 2 pixels  8 bits/channel\n"
              "Maximum: 200\n"
              "Minimum: 7\n"
              "Location:   x: 1  y: 0\n");
}

struct RefusedCase {
    const char* name;
    std::function<void(const std::string&)> make;
    std::string message;
};

class CliAnalyzeRefuses : public ::testing::TestWithParam<RefusedCase> {};

TEST_P(CliAnalyzeRefuses, WithExitTwoAndTheWords) {
    TempFolder folder;
    const auto path = folder / "w.tif";
    GetParam().make(path);
    const CliRun r = Analyze({path});
    EXPECT_EQ(r.code, 2);
    EXPECT_TRUE(r.out.empty());
    EXPECT_EQ(r.err.rfind(GetParam().message, 0), 0u) << r.err;  // a path may follow
}

INSTANTIATE_TEST_SUITE_P(
    Files, CliAnalyzeRefuses,
    ::testing::Values(
        RefusedCase{"not_a_tiff",
                    [](const auto& p) { WriteFile(p, std::string("PK\x03\x04\0\0", 6)); },
                    "Not a valid TIFF file."},
        RefusedCase{"missing", [](const auto&) {}, "Error: The white card file can't be opened: "}),
    [](const auto& info) { return std::string(info.param.name); });

}  // namespace

#include <gtest/gtest.h>

#include "support/AnalyzeRun.h"
#include "support/LibtiffFiles.h"
#include "support/TiffBytes.h"

using namespace testing_tiff;

namespace {

TEST(CliAnalyze, PrintsTheFourLinesFor16Bit) {
    TempFolder folder;
    LibtiffImage image{.width = 4, .height = 3, .bits = 16, .bigEndian = true};
    image.samples.assign(36, 1000);
    image.samples[3 * 6 + 1] = 61680;  // green of pixel (2, 1)
    image.samples[3 * 9 + 1] = 257;    // green of pixel (1, 2)
    WriteWithLibtiff(folder / "w.tif", image);
    const CliRun r = Analyze({(folder / "w.tif").string()});
    EXPECT_EQ(r.code, 0) << r.err;
    EXPECT_EQ(r.out,
              "Size: 4 x 3 pixels  16 bits/channel\n"
              "Maximum: 61680 (240)\n"
              "Minimum: 257\n"
              "Location:   x: 2  y: 1\n");
}

TEST(CliAnalyze, EightBitMaximumHasNoParentheses) {
    TempFolder folder;
    LibtiffImage image{.width = 2, .height = 2, .bits = 8};
    image.samples = {0, 9, 0, 0, 200, 0, 0, 7, 0, 0, 50, 0};
    WriteWithLibtiff(folder / "w.tif", image);
    const CliRun r = Analyze({(folder / "w.tif").string()});
    EXPECT_EQ(r.out,
              "Size: 2 x 2 pixels  8 bits/channel\n"
              "Maximum: 200\n"
              "Minimum: 7\n"
              "Location:   x: 1  y: 0\n");
}

struct RefusedCase {
    const char* name;
    std::function<void(const std::filesystem::path&)> make;
    std::string message;
};

class CliAnalyzeRefuses : public ::testing::TestWithParam<RefusedCase> {};

TEST_P(CliAnalyzeRefuses, WithExitTwoAndTheWords) {
    TempFolder folder;
    const auto path = folder / "w.tif";
    GetParam().make(path);
    const CliRun r = Analyze({path.string()});
    EXPECT_EQ(r.code, 2);
    EXPECT_TRUE(r.out.empty());
    EXPECT_EQ(r.err.rfind(GetParam().message, 0), 0u) << r.err;  // a path may follow
}

INSTANTIATE_TEST_SUITE_P(
    Files, CliAnalyzeRefuses,
    ::testing::Values(
        RefusedCase{"several_strips",
                    [](const auto& p) {
                        WriteWithLibtiff(p, {.width = 4, .height = 4, .rowsPerStrip = 1});
                    },
                    "Error: The white card image must be in one contiguous strip"},
        RefusedCase{"not_a_tiff",
                    [](const auto& p) {
                        WriteBytes(p, {'P', 'K', 3, 4, 0, 0});
                    },
                    "Not a valid TIFF file."},
        RefusedCase{"planar",
                    [](const auto& p) {
                        RgbTiff image;
                        image.extra = {{284, 3, 1, 2}};
                        WriteBytes(p, image.Build());
                    },
                    "The data must be interleaved, not planar."},
        RefusedCase{"truncated",
                    [](const auto& p) {
                        auto bytes = RgbTiff{.width = 4, .height = 4}.Build();
                        bytes.pop_back();
                        WriteBytes(p, bytes);
                    },
                    "Error: The white card image data is incomplete: the file ends before its last "
                    "pixel row."},
        RefusedCase{"missing", [](const auto&) {}, "Error: The white card file can't be opened: "}),
    [](const auto& info) { return std::string(info.param.name); });

TEST(CliAnalyze, UsageErrorsExitTwo) {
    EXPECT_EQ(Analyze({}).code, 2);
    EXPECT_EQ(Analyze({"a", "b"}).code, 2);
}

}  // namespace

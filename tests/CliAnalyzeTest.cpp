#include <gtest/gtest.h>

#include "support/AnalyzeRun.h"
#include "support/LibtiffFiles.h"
#include "support/TempFolder.h"

namespace {

// The 8-bit maximum's text, without the parentheses, is the white card
// workflow's own (WhiteCardWorkflowTest).
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

}  // namespace

#include <gtest/gtest.h>

#include "CliRun.h"
#include "LibtiffFiles.h"
#include "TempFolder.h"

namespace {
const std::string kWhiteCard = std::string(BRISAVANE_SAMPLES) + "/white_card.tif";

struct InfoCase {
    const char* name;
    std::string args;  // as Words() reads them
    int code;
    std::string out;  // all of it, or "" when nothing is printed
    std::string err;  // words ending in a blank are followed by the last argument
};

class CliInfoTest : public ::testing::TestWithParam<InfoCase> {};

TEST_P(CliInfoTest, PrintsTheRecordOrTheRefusal) {
    const InfoCase c = GetParam();
    TempFolder folder;
    LibtiffImage rgb = PatternImage(2, 2, 8);
    rgb.profile = PatternBytes(333);
    rgb.bigEndian = true;
    WriteWithLibtiff(folder / "rgb.tif", rgb);
    std::ofstream(folder / "text.tif") << "plain words, no image";
    const auto before = FileBytes(folder / "rgb.tif");

    const std::vector<std::string> args = Words(c.args, folder.Path());
    const CliRun run = Info(args);
    EXPECT_EQ(run.code, c.code);
    if (!c.out.empty()) {
        EXPECT_EQ(run.out, c.out);
    }
    EXPECT_EQ(run.err, c.err.ends_with(' ') ? c.err + args.back() + "\n" : c.err);
    EXPECT_EQ(FileBytes(folder / "rgb.tif"), before);
    if (c.code == 0 && args.size() == 3) {
        EXPECT_EQ(FileBytes(args[2]), rgb.profile);
    }
}

// The sample's layout: 10 entries at 8, BitsPerSample at 134, pixels at 140.
const std::string kWhiteCardRecord =
    "BitsPerSample: 16\nBytesPerPixel: 6\nBytesPerRow: 2160\nCompression: 1\nConfiguration: 1\n"
    "ImageOffset: 140\nImageWidth: 360\nInterpretation: 2\nRowsPerStrip: 240\nSamplesPerPixel: 3\n"
    "errstr: \nfi: " +
    kWhiteCard +
    "\nimagefile: open\nImageHeight: 240\nimageBuffer: nil\n"
    "ProfileLength: 0\nProfileOffset: 0\nStripByteCount: 518400\nLittleEndian: True\n"
    "profileBuffer: nil\nimg: upper bounds -1, -1, -1\nMaxLuminance: 0\nPixelCount: 86400\n"
    "SwapBytes: False\nHostLittleEndian: True\npxmax: 0\npymax: 0\nMinLuminance: 0\n"
    "libtiff:\n  Layout: strips of 240 rows, 1 in all\n  Planar: contiguous\n  Compression: 1\n"
    "  Predictor: 1\n  Samples: 3 of 16 bits, 0 extra\n  BigTIFF: no\n  ByteOrder: little-endian\n"
    "  Tags: 256 257 258 259 262 273 277 278 279 284\n  Equalized: as one plain strip, "
    "streamed where its rows stand\n";

INSTANTIATE_TEST_SUITE_P(
    Cases, CliInfoTest,
    ::testing::Values(InfoCase{"Record", kWhiteCard, 0, kWhiteCardRecord, ""},
                      InfoCase{"Profile", "@rgb.tif --profile @p.icc", 0, "", ""},
                      InfoCase{"Missing", "@none.tif", 2, "", "Error: The file can't be opened: "},
                      InfoCase{"NotATiff", "@text.tif", 2, "", "Not a valid TIFF file.\n"},
                      InfoCase{"NoProfile", kWhiteCard + " --profile @p.icc", 2, kWhiteCardRecord,
                               "Error: The file carries no ICC profile.\n"},
                      InfoCase{"ProfileOverItsOwnFile", "@rgb.tif --profile @rgb.tif", 2, "",
                               "Error: The profile can't be written to "}),
    [](const auto& info) { return std::string(info.param.name); });
}  // namespace

#include <gtest/gtest.h>

#include <sstream>

#include "InfoCommand.h"
#include "support/RasterFixtures.h"

namespace {
struct Outcome {
    int code;
    std::string out, err;
};

Outcome Info(const std::vector<std::string>& args) {
    std::ostringstream out, err;
    const int code = RunInfo(args, out, err);
    return {code, out.str(), err.str()};
}

const std::string kWhiteCard = std::string(BRISAVANE_SAMPLES) + "/white_card.tif";

TEST(CliInfo, PrintsTheRecordInDeclaredOrder) {
    // The sample's layout: 10 entries at 8, BitsPerSample at 134, pixels at 140.
    const std::string expected =
        "BitsPerSample: 16\nBytesPerPixel: 6\nBytesPerRow: 2160\nCompression: 1\n"
        "Configuration: 1\nImageOffset: 140\nImageWidth: 360\nInterpretation: 2\n"
        "RowsPerStrip: 240\nSamplesPerPixel: 3\nerrstr: \nfi: " +
        kWhiteCard +
        "\n"
        "imagefile: open\nImageHeight: 240\nimageBuffer: nil\nProfileLength: 0\n"
        "ProfileOffset: 0\nStripByteCount: 518400\nLittleEndian: True\nprofileBuffer: nil\n"
        "img: upper bounds -1, -1, -1\nMaxLuminance: 0\nPixelCount: 86400\nSwapBytes: False\n"
        "HostLittleEndian: True\npxmax: 0\npymax: 0\nMinLuminance: 0\n";
    const Outcome got = Info({kWhiteCard});
    EXPECT_EQ(got.code, 0);
    EXPECT_EQ(got.out, expected);
    EXPECT_EQ(got.err, "");
}

TEST(CliInfo, SavesTheEmbeddedProfile) {
    ScratchFolder folder;
    LibtiffImage image = PatternImage(4, 3, 16);
    image.profile = PatternBytes(333, 5);
    WriteWithLibtiff(folder / "in.tif", image, true);
    const Outcome got =
        Info({(folder / "in.tif").string(), "--profile", (folder / "p.icc").string()});
    EXPECT_EQ(got.code, 0);
    EXPECT_NE(got.out.find("\nProfileLength: 333\n"), std::string::npos);
    EXPECT_EQ(FileBytes(folder / "p.icc"), image.profile);
}

struct RefusalCase {
    const char* name;
    std::vector<std::string> args;  // "@name" is a file of the scratch folder
    std::string err;
};

class CliInfoRefusalTest : public ::testing::TestWithParam<RefusalCase> {};

TEST_P(CliInfoRefusalTest, ExitsTwoWithTheWords) {
    const RefusalCase c = GetParam();
    ScratchFolder folder;
    LibtiffImage gray = PatternImage(2, 2, 8);
    gray.samples = 1;
    gray.photometric = PHOTOMETRIC_MINISBLACK;
    gray.pixels.resize(4);
    WriteWithLibtiff(folder / "gray.tif", gray);
    LibtiffImage rgb = PatternImage(2, 2, 8);
    rgb.profile = PatternBytes(8);
    WriteWithLibtiff(folder / "rgb.tif", rgb);
    std::ofstream(folder / "text.tif") << "plain words, no image";
    const auto before = FileBytes(folder / "rgb.tif");

    std::vector<std::string> args;
    for (const auto& a : c.args) args.push_back(a[0] == '@' ? (folder / a.substr(1)).string() : a);
    std::string err = c.err;
    if (err.ends_with(' ')) err += args.back() + "\n";  // the words end in the path

    const Outcome got = Info(args);
    EXPECT_EQ(got.code, 2);
    EXPECT_EQ(got.err, err);
    EXPECT_EQ(FileBytes(folder / "rgb.tif"), before);
}

const std::string kUsage = "usage: brisavane-cli info FILE [--profile OUT]\n";
INSTANTIATE_TEST_SUITE_P(
    Cases, CliInfoRefusalTest,
    ::testing::Values(RefusalCase{"NoFile", {}, kUsage},
                      RefusalCase{"TwoFiles", {"@a", "@b"}, kUsage},
                      RefusalCase{"ProfileWithoutOut", {"@rgb.tif", "--profile"}, kUsage},
                      RefusalCase{"UnknownOption", {"--verbose", "@rgb.tif"}, kUsage},
                      RefusalCase{"Missing", {"@none.tif"}, "Error: The file can't be opened: "},
                      RefusalCase{"NotATiff", {"@text.tif"}, "Not a valid TIFF file.\n"},
                      RefusalCase{"NotRgb", {"@gray.tif"}, "The file must be RGB only.\n"},
                      RefusalCase{"NoProfile",
                                  {kWhiteCard, "--profile", "@p.icc"},
                                  "Error: The file carries no ICC profile.\n"},
                      RefusalCase{"ProfileOverItsOwnFile",
                                  {"@rgb.tif", "--profile", "@rgb.tif"},
                                  "Error: The profile can't be written to "}),
    [](const auto& info) { return std::string(info.param.name); });
}  // namespace

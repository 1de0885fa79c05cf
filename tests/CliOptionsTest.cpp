#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

#include "CommandLine.h"
#include "Version.h"
#include "support/TempFolder.h"

namespace {
struct OptionsCase {
    const char* label;
    std::string words;  // split at blanks; "@name" is a file of the scratch folder, "@" the folder
    int code;
    std::string out;  // found in stdout; stdout is empty when this is
    std::string err;  // stderr starts with it; after "brisavane-cli..." a usage line follows
};

class CliOptions : public ::testing::TestWithParam<OptionsCase> {};

TEST_P(CliOptions, HelpOrRefusal) {
    const OptionsCase& c = GetParam();
    TempFolder folder;
    std::ofstream(folder / "empty.tif") << std::string("II*\0\x08\0\0\0", 8);
    std::vector<std::string> args;
    std::istringstream words(c.words);
    for (std::string w; words >> w;)
        args.push_back(w[0] == '@' ? (folder / w.substr(1)).string() : w);
    std::ostringstream out, err;
    EXPECT_EQ(RunCommandLine(args, out, err, nullptr), c.code);
    EXPECT_TRUE(c.out.empty() ? out.str().empty() : out.str().find(c.out) != std::string::npos)
        << out.str();
    EXPECT_EQ(err.str().rfind(c.err, 0), 0u) << err.str();
    if (c.err.starts_with("brisavane-cli")) {
        EXPECT_NE(err.str().find("\nusage: brisavane-cli "), std::string::npos);
    }
}

#define EQUALIZE "equalize --white @empty.tif --output @ "
const std::string kNoPixels = "Error: The white card image has no pixels: 0 x 0 pixels\n";

INSTANTIATE_TEST_SUITE_P(
    Lines, CliOptions,
    ::testing::Values(
        OptionsCase{"Nothing", "", 2, "", "brisavane-cli: a COMMAND is needed\n"},
        OptionsCase{"Help", "--help", 0, "\n  equalize ", ""},
        OptionsCase{"Version", "--version", 0, std::string("brisavane-cli ") + kBrisavaneVersion,
                    ""},
        OptionsCase{"UnknownCommand", "frob", 2, "", "brisavane-cli: unknown command 'frob'\n"},
        OptionsCase{"EqualizeHelp", "equalize --help", 0, "  --skip-existing ", ""},
        OptionsCase{"InfoNoFile", "info", 2, "", "brisavane-cli info: FILE is required\n"},
        OptionsCase{"InfoUnknown", "info --verbose @a", 2, "",
                    "brisavane-cli info: The following argument was not expected: --verbose"},
        OptionsCase{"ToneMapTwice", "analyze @a --tone-map @t --tone-map @u", 2, "",
                    "brisavane-cli analyze: --tone-map is given more than once"},
        OptionsCase{"OutputTwice", EQUALIZE "--output @ @a", 2, "",
                    "brisavane-cli equalize: --output is given more than once"},
        OptionsCase{"JobsHex", EQUALIZE "--jobs 0x2 @a", 2, "",
                    "brisavane-cli equalize: --jobs: needs a whole number, 1 or more: 0x2\n"},
        OptionsCase{"JobsNone", EQUALIZE "--jobs 0 @a", 2, "", "brisavane-cli equalize: --jobs"},
        OptionsCase{"AmountNegative", EQUALIZE "--amount -5 @a", 2, "",
                    "brisavane-cli equalize: --amount"},
        OptionsCase{"AmountWord", EQUALIZE "--amount 12x @a", 2, "",
                    "brisavane-cli equalize: --amount"},
        OptionsCase{"AmountMissing", EQUALIZE "@a --amount", 2, "",
                    "brisavane-cli equalize: --amount"},
        OptionsCase{"EqualizeUnknown", EQUALIZE "--fast @a", 2, "",
                    "brisavane-cli equalize: The following argument was not expected: --fast"},
        OptionsCase{"NoWhite", "equalize --output @ @a", 2, "",
                    "brisavane-cli equalize: --white is required"},
        OptionsCase{"ToneMapNoPath", "analyze @a --tone-map", 2, "", "brisavane-cli analyze: "},
        OptionsCase{"ToneMapEmptyPath", "analyze @a --tone-map=", 2, "", "brisavane-cli analyze: "},
        OptionsCase{"PreviewDangling", "analyze @a --tone-map @t --preview", 2, "",
                    "brisavane-cli analyze: "},
        OptionsCase{"AnalyzeUnknown", "analyze @a --tonemap @t", 2, "",
                    "brisavane-cli analyze: The following arguments were not expected: "},
        OptionsCase{"FormatWithoutReport", "analyze @a --format A4", 2, "",
                    "brisavane-cli analyze: --format requires --report"},
        OptionsCase{"OverwriteAndSkip", EQUALIZE "--overwrite --skip-existing @a", 2, "",
                    "brisavane-cli equalize: --overwrite excludes --skip-existing\n"},
        OptionsCase{"NoList", EQUALIZE "--files-from @none", 2, "",
                    "brisavane-cli equalize: can't read the list of subjects "},
        OptionsCase{"NoSubject", EQUALIZE, 2, "",
                    "brisavane-cli equalize: at least one SUBJECT or --files-from is needed\n"},
        OptionsCase{"NoPixelsEqualize", EQUALIZE "@a", 2, "", kNoPixels},
        OptionsCase{"NoPixelsAnalyze", "analyze @empty.tif", 2, "", kNoPixels},
        OptionsCase{"MaxGainBelow1", EQUALIZE "--max-gain 0.5 @a", 2, "",
                    "brisavane-cli equalize: --max-gain: needs a number, 1 or more: 0.5\n"},
        OptionsCase{"MaxGainHuge", EQUALIZE "--max-gain 1e400 @a", 2, "",
                    "brisavane-cli equalize: --max-gain"},
        OptionsCase{"SmoothWord", EQUALIZE "--smooth 2x @a", 2, "",
                    "brisavane-cli equalize: --smooth: needs a whole"},
        OptionsCase{"ChannelsBlue", EQUALIZE "--channels blue @a", 2, "",
                    "brisavane-cli equalize: --channels: needs green or rgb: blue\n"},
        OptionsCase{"AnalyzeChannels", "analyze @a --channels RGB", 2, "",
                    "brisavane-cli analyze: --channels"}),
    [](const auto& info) { return std::string(info.param.label); });
}  // namespace

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

#include "CommandLine.h"
#include "Version.h"
#include "support/TempFolder.h"

namespace {
struct OptionsCase {
    const char* label;
    std::vector<std::string> args;  // "@name" is a file of the scratch folder, "@" the folder
    int code;
    std::string out;  // found in stdout; stdout is empty when this is
    std::string err;  // stderr starts with it
};

class CliOptions : public ::testing::TestWithParam<OptionsCase> {};

TEST_P(CliOptions, HelpOrRefusal) {
    const OptionsCase& c = GetParam();
    TempFolder folder;
    std::ofstream(folder / "empty.tif") << std::string("II*\0\x08\0\0\0", 8);
    std::vector<std::string> args;
    for (const auto& a : c.args) args.push_back(a[0] == '@' ? (folder / a.substr(1)).string() : a);
    std::ostringstream out, err;
    EXPECT_EQ(RunCommandLine(args, out, err, nullptr), c.code);
    if (c.out.empty()) {
        EXPECT_EQ(out.str(), "");
    } else {
        EXPECT_NE(out.str().find(c.out), std::string::npos) << out.str();
    }
    EXPECT_EQ(err.str().rfind(c.err, 0), 0u) << err.str();
    // A usage error is followed by the usage
    if (c.err.starts_with("brisavane-cli")) {
        EXPECT_NE(err.str().find("\nusage: brisavane-cli "), std::string::npos);
    }
}

const std::vector<std::string> kEqualize = {"equalize", "--white", "@empty.tif", "--output", "@"};

std::vector<std::string> Equalize(std::vector<std::string> more) {
    more.insert(more.begin(), kEqualize.begin(), kEqualize.end());
    return more;
}

INSTANTIATE_TEST_SUITE_P(
    Lines, CliOptions,
    ::testing::Values(
        OptionsCase{"Nothing", {}, 2, "", "usage: brisavane-cli analyze WHITE"},
        OptionsCase{"Help", {"--help"}, 0, "\n  equalize ", ""},
        OptionsCase{"Version",
                    {"--version"},
                    0,
                    std::string("brisavane-cli ") + kBrisavaneVersion + "\n",
                    ""},
        OptionsCase{"UnknownCommand", {"frob"}, 2, "", "brisavane-cli: unknown command 'frob'\n"},
        OptionsCase{"UnknownTopOption",
                    {"--frob"},
                    2,
                    "",
                    "brisavane-cli: The following argument was not expected: --frob"},
        OptionsCase{"EqualizeHelp", {"equalize", "--help"}, 0, "  --skip-existing ", ""},
        OptionsCase{"AnalyzeHelp", {"analyze", "-h"}, 0, "  --tone-map PNG ", ""},
        OptionsCase{"InfoNoFile", {"info"}, 2, "", "brisavane-cli info: FILE is required\n"},
        OptionsCase{"InfoTwoFiles",
                    {"info", "@a", "@b"},
                    2,
                    "",
                    "brisavane-cli info: The following argument was not expected: "},
        OptionsCase{"InfoProfileWithoutOut",
                    {"info", "@a", "--profile"},
                    2,
                    "",
                    "brisavane-cli info: --profile: 1 required"},
        OptionsCase{"InfoUnknownOption",
                    {"info", "--verbose", "@a"},
                    2,
                    "",
                    "brisavane-cli info: The following argument was not expected: --verbose"},
        OptionsCase{"ToneMapTwice",
                    {"analyze", "@a", "--tone-map", "@t", "--tone-map", "@u"},
                    2,
                    "",
                    "brisavane-cli analyze: --tone-map is given more than once"},
        OptionsCase{"EmptyPreviewPath",
                    {"analyze", "@a", "--preview", ""},
                    2,
                    "",
                    "brisavane-cli analyze: --preview: needs a path"},
        OptionsCase{"OutputTwice", Equalize({"--output", "@", "@a"}), 2, "",
                    "brisavane-cli equalize: --output is given more than once"},
        OptionsCase{"AmountTwice", Equalize({"--amount", "5", "--amount", "5", "@a"}), 2, "",
                    "brisavane-cli equalize: --amount is given more than once"},
        OptionsCase{"JobsTwice", Equalize({"--jobs", "2", "--jobs", "2", "@a"}), 2, "",
                    "brisavane-cli equalize: --jobs is given more than once"},
        OptionsCase{"JobsOctal", Equalize({"--jobs", "0x2", "@a"}), 2, "",
                    "brisavane-cli equalize: --jobs: needs a whole number, 1 or more: 0x2\n"},
        OptionsCase{"OverwriteAndSkip", Equalize({"--overwrite", "--skip-existing", "@a"}), 2, "",
                    "brisavane-cli equalize: --overwrite excludes --skip-existing\n"},
        OptionsCase{"ListOnly", Equalize({"--files-from", "@none.txt"}), 2, "",
                    "brisavane-cli equalize: can't read the list of subjects "},
        OptionsCase{"NoSubject", Equalize({}), 2, "",
                    "brisavane-cli equalize: at least one SUBJECT or --files-from is needed\n"},
        OptionsCase{"EmptyCardEqualize", Equalize({"@a"}), 2, "",
                    "Error: The white card image has no pixels: 0 x 0 pixels\n"},
        OptionsCase{"EmptyCardAnalyze",
                    {"analyze", "@empty.tif"},
                    2,
                    "",
                    "Error: The white card image has no pixels: 0 x 0 pixels\n"}),
    [](const auto& info) { return std::string(info.param.label); });
}  // namespace

#include <gtest/gtest.h>

#include <fstream>

#include "CliRun.h"
#include "CommandLine.h"
#include "TempFolder.h"
#include "Version.h"

namespace {
#define EQUALIZE "equalize --white @empty.tif --output @ "
const std::string kNoPixels = "Error: The white card image has no pixels: 0 x 0 pixels\n";

// Help and version go to stdout with exit 0. A refusal exits 2 with nothing on
// stdout and stderr starting with its words; after "brisavane-cli ..." words a
// usage line follows.
TEST(CliOptions, HelpOrRefusal) {
    TempFolder folder;
    std::ofstream(folder / "empty.tif") << std::string("II*\0\x08\0\0\0", 8);
    const auto run = [&](const std::string& words) {
        return RunCommand(RunCommandLine, Words(words, folder.Path()), nullptr);
    };
    const std::pair<std::string, std::string> kHelps[] = {
        {"--help", "\n  equalize "},
        {"--version", std::string("brisavane-cli ") + kBrisavaneVersion},
        {"equalize --help", "  --skip-existing "},
    };
    for (const auto& [words, out] : kHelps) {
        const CliRun r = run(words);
        EXPECT_EQ(r.code, 0) << words;
        EXPECT_NE(r.out.find(out), std::string::npos) << r.out;
        EXPECT_EQ(r.err, "") << words;
    }
    const std::pair<std::string, std::string> kRefusals[] = {
        {"", "brisavane-cli: a COMMAND is needed\n"},
        {"frob", "brisavane-cli: unknown command 'frob'\n"},
        {"info", "brisavane-cli info: FILE is required\n"},
        {"info --verbose @a",
         "brisavane-cli info: The following argument was not expected: --verbose"},
        {"analyze @a --tone-map @t --tone-map @u",
         "brisavane-cli analyze: --tone-map is given more than once"},
        {EQUALIZE "--output @ @a", "brisavane-cli equalize: --output is given more than once"},
        {EQUALIZE "--jobs 0x2 @a",
         "brisavane-cli equalize: --jobs: needs a whole number, 1 or more: 0x2\n"},
        {EQUALIZE "--jobs 0 @a", "brisavane-cli equalize: --jobs"},
        {EQUALIZE "--amount -5 @a", "brisavane-cli equalize: --amount"},
        {EQUALIZE "--amount 12x @a", "brisavane-cli equalize: --amount"},
        {EQUALIZE "@a --amount", "brisavane-cli equalize: --amount"},
        {EQUALIZE "--fast @a",
         "brisavane-cli equalize: The following argument was not expected: --fast"},
        {"equalize --output @ @a", "brisavane-cli equalize: --white or --cards is needed"},
        {"analyze @a --tone-map", "brisavane-cli analyze: "},
        {"analyze @a --tone-map=", "brisavane-cli analyze: "},
        {"analyze @a --tone-map @t --preview", "brisavane-cli analyze: "},
        {"analyze @a --tonemap @t",
         "brisavane-cli analyze: The following arguments were not expected: "},
        {"analyze @a --format A4", "brisavane-cli analyze: --format requires --report"},
        {"analyze @a --amount 50", "brisavane-cli analyze: --amount requires --report"},
        {EQUALIZE "--overwrite --skip-existing @a",
         "brisavane-cli equalize: --overwrite excludes --skip-existing\n"},
        {EQUALIZE "--files-from @none", "brisavane-cli equalize: can't read the list of subjects "},
        {EQUALIZE, "brisavane-cli equalize: at least one SUBJECT or --files-from is needed\n"},
        {EQUALIZE "@a", kNoPixels},
        {"analyze @empty.tif", kNoPixels},
        {EQUALIZE "--max-gain 0.5 @a",
         "brisavane-cli equalize: --max-gain: needs a number, 1 or more: 0.5\n"},
        {EQUALIZE "--max-gain 1e400 @a", "brisavane-cli equalize: --max-gain"},
        {EQUALIZE "--smooth 2x @a", "brisavane-cli equalize: --smooth: needs a whole"},
        {EQUALIZE "--channels blue @a",
         "brisavane-cli equalize: --channels: needs green or rgb: blue\n"},
        {"analyze @a --channels RGB", "brisavane-cli analyze: --channels"},
    };
    for (const auto& [words, err] : kRefusals) {
        const CliRun r = run(words);
        EXPECT_EQ(r.code, 2) << words;
        EXPECT_EQ(r.out, "") << words;
        EXPECT_EQ(r.err.rfind(err, 0), 0u) << r.err;
        if (err.starts_with("brisavane-cli")) {
            EXPECT_NE(r.err.find("\nusage: brisavane-cli "), std::string::npos) << words;
        }
    }
}
}  // namespace

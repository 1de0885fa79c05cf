#include <gtest/gtest.h>

#include <fstream>
#include <nlohmann/json.hpp>
#include <sstream>

#include "CliRun.h"
#include "LibtiffFiles.h"
#include "ProgressLine.h"
#include "TempFolder.h"

namespace {
using nlohmann::json;
const std::string kSamples = BRISAVANE_SAMPLES;

// The lines of a run that ends with exit status 1 and a quiet stderr.
std::vector<std::string> Lines(const std::vector<std::string>& args) {
    const CliRun run = Equalize(args);
    EXPECT_EQ(run.code, 1);
    EXPECT_EQ(run.err, "");
    std::vector<std::string> lines;
    std::istringstream in(run.out);
    for (std::string line; std::getline(in, line);) lines.push_back(line);
    return lines;
}

// One subject on the command line, the others from a list with blank lines,
// a CRLF ending, a subject of another size and a name that neither exists nor
// is UTF-8: the same run as lines and as JSON objects.
TEST(CliResults, JsonObjectsSayWhatTheLinesSay) {
    TempFolder folder;
    std::ofstream(folder / "list") << kSamples << "/subjects/chart_16bit.tif\n\n  \n"
                                   << (folder / "small.tif").string() << "\r\n"
                                   << (folder / "missing-\xff.tif").string() << "\n";
    WriteWithLibtiff(folder / "small.tif", PatternImage(2, 2, 16));
    std::filesystem::create_directory(folder / "out");
    std::vector<std::string> args = {"--white",
                                     kSamples + "/white_card.tif",
                                     "--output",
                                     folder / "out",
                                     "--files-from",
                                     folder / "list",
                                     kSamples + "/subjects/chart_16bit_big_endian.tif"};
    const std::vector<std::string> text = Lines(args);
    args.insert(args.end(), {"--json", "--overwrite"});
    const std::vector<std::string> objects = Lines(args);
    ASSERT_EQ(text.size(), 4u);
    ASSERT_EQ(objects.size(), 5u);
    std::string statuses;
    for (std::size_t k = 0; k < 4; ++k) {
        const json o = json::parse(objects[k]);
        const bool written = o["status"] == "written";
        std::string line = o["name"].get<std::string>() + ": " + o["status"].get<std::string>();
        line += (written ? " " : ": ") + o[written ? "output" : "reason"].get<std::string>();
        // the name that isn't UTF-8 comes back with U+FFFD for its stray byte
        std::string expected = text[k];
        if (const auto bad = expected.find('\xff'); bad != std::string::npos)
            expected = expected.substr(0, bad) + "\uFFFD" + expected.substr(bad + 1);
        EXPECT_EQ(line, expected);
        EXPECT_TRUE(o[written ? "reason" : "output"].is_null());
        EXPECT_EQ(o["notes"].dump() + o["card"].dump(),
                  "[]" + json::array({kSamples + "/white_card.tif"}).dump());
        // the card's brightest green is the target; its gains run from 1 up
        EXPECT_EQ(o["figures"].dump(),
                  written ? R"({"largest_gain":2.8790363443733016,"smallest_gain":1.0,)"
                            R"("target_level":62501.0})"
                          : "{}");
        statuses += o["status"].get<std::string>() + " ";
    }
    EXPECT_EQ(statuses, "written written failed skipped ");
    json totals = json::parse(objects[4])["totals"];
    totals.erase("seconds");
    EXPECT_EQ(totals.dump(), R"({"failed":1,"skipped":1,"written":2})");
}

TEST(ProgressLine, FilesRowsAndTimeLeftAtMostTenTimesASecond) {
    std::ostringstream terminal;
    ProgressLine::Clock::time_point now{};
    ProgressLine line(&terminal, 2, [&] { return now; });
    now += std::chrono::seconds(1);
    line.Rows(0, "a.tif", 1, 4);  // 1/8 of the work in 1 s
    now += std::chrono::milliseconds(50);
    line.Rows(0, "a.tif", 2, 4);  // too soon to draw
    line.Finished(0);
    line.Above([&] { terminal << "a.tif: written\n"; });
    now = ProgressLine::Clock::time_point(std::chrono::seconds(3));
    line.Rows(1, "b.tif", 2, 4);  // 3/4 of the work in 3 s
    line.Clear();
    EXPECT_EQ(terminal.str(),
              "\r\033[K0 of 2 files done  a.tif: row 1 of 4  about 0:07 left"
              "\r\033[Ka.tif: written\n"
              "\r\033[K1 of 2 files done  b.tif: row 2 of 4  about 0:01 left\r\033[K");
}
}  // namespace

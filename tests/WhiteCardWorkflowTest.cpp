#include <gtest/gtest.h>

#include <map>
#include <optional>

#include "FakeWhiteCardHost.h"
#include "WhiteCardWorkflow.h"
#include "support/TempFolder.h"
#include "support/TiffBuilder.h"

namespace {
class WhiteCardWorkflowTest : public ::testing::Test {
  protected:
    TempFolder folder;
    WindowState state;
    FakeWhiteCardHost host;

    std::filesystem::path Make(const testing_tiff::TiffSpec& fixture, const std::string& name) {
        testing_tiff::WriteTiff(folder / name, fixture);
        return folder / name;
    }
    void Open(const std::filesystem::path& path) {
        host.dialogs.openAnswers.push_back(path);
        OpenWhiteCard(state, host);
    }
    std::string Label(WhiteLabel label) { return host.labels[label]; }
};

// The maximum's text depends on the pixel size alone; 16-bit figures are
// divided by 257 and rounded: 65535 -> 255, 128 -> 0.498 -> 0, 129 -> 1. The
// status line announces each slow step, then empties.
TEST_F(WhiteCardWorkflowTest, AcceptedCardShowsItsFiguresAndSteps) {
    // bits, little-endian, the brightest green, the maximum's text
    const std::tuple<int, bool, std::uint16_t, const char*> cases[] = {
        {8, true, 240, "240"},
        {8, false, 255, "255"},
        {16, true, 65535, "65535 (255)"},
        {16, false, 61680, "61680 (240)"},
        {16, true, 128, "128 (0)"},
        {16, false, 129, "129 (1)"}};
    for (const auto& [bits, little, green, maximum] : cases) {
        SCOPED_TRACE(maximum);
        testing_tiff::TiffSpec card = testing_tiff::SpecOf(4, 3, bits, little);
        card.pixel = [green](std::uint32_t x, std::uint32_t y) {
            return testing_tiff::Rgb{60000, std::uint16_t(x == 2 && y == 1 ? green : 1), 1000};
        };
        host.statusShown.clear();
        Open(Make(card, "card.tif"));
        EXPECT_EQ(host.statusShown,
                  (std::vector<std::string>{"Analyzing the white card image",
                                            "Creating the white card image preview", ""}));
        EXPECT_TRUE(host.dialogs.messages.empty());
        EXPECT_EQ(host.dialogs.openTypes.back(), "image/tiff");
        EXPECT_EQ(Label(WhiteLabel::TxtInfoWhite) + "|" + Label(WhiteLabel::TxtMaxVal),
                  "4 x 3 pixels  " + std::to_string(bits) + " bits/channel|" + maximum);
        EXPECT_TRUE(state.WhiteOpened);
        EXPECT_EQ(host.processEnabled, std::optional<bool>(false));
    }
}

// What the window shows of them is checked through the window's own widgets.
TEST_F(WhiteCardWorkflowTest, PreviewAndToneMapAreMadeOnlyWithPreviewsOn) {
    host.previews = false;
    Open(Make(testing_tiff::TiffSpec{}, "card.tif"));
    EXPECT_TRUE(state.WhiteOpened);
    EXPECT_FALSE(state.pwhite);
    EXPECT_FALSE(state.ptone);
    EXPECT_EQ(host.whiteRefreshes, 0);
}

}  // namespace

#include <gtest/gtest.h>

#include "FakeWhiteCardHost.h"
#include "TempFolder.h"
#include "TiffBuilder.h"
#include "WhiteCardWorkflow.h"

namespace {
// An accepted card in the window: its size and maximum, whose text depends on
// the pixel size alone (16-bit figures are divided by 257 and rounded: 65535
// -> 255, 128 -> 0.498 -> 0, 129 -> 1); the status line announces each slow
// step, then empties. With previews off no preview or tone map is made.
TEST(WhiteCardWorkflow, AcceptedCardShowsItsFiguresAndSteps) {
    TempFolder folder;
    // bits, little-endian, the brightest green, the maximum's text
    const std::tuple<int, bool, std::uint16_t, const char*> cases[] = {
        {8, true, 240, "240"},
        {16, false, 65535, "65535 (255)"},
        {16, true, 128, "128 (0)"},
        {16, false, 129, "129 (1)"}};
    for (const auto& [bits, little, green, maximum] : cases) {
        SCOPED_TRACE(maximum);
        testing_tiff::TiffSpec card = testing_tiff::SpecOf(4, 3, bits, little);
        card.pixel = [green](std::uint32_t x, std::uint32_t y) {
            return testing_tiff::Rgb{60000, std::uint16_t(x == 2 && y == 1 ? green : 1), 1000};
        };
        testing_tiff::WriteTiff(folder / "card.tif", card);
        WindowState state;
        FakeWhiteCardHost host;
        host.previews = green != 129;
        host.dialogs.openAnswers.push_back(folder / "card.tif");
        OpenWhiteCard(state, host);
        std::vector<std::string> steps = {"Analyzing the white card image", ""};
        if (host.previews) steps.insert(steps.begin() + 1, "Creating the white card image preview");
        EXPECT_EQ(host.statusShown, steps);
        EXPECT_TRUE(host.dialogs.messages.empty());
        EXPECT_EQ(host.dialogs.openTypes.back(), "image/tiff");
        EXPECT_EQ(host.labels[WhiteLabel::TxtInfoWhite] + "|" + host.labels[WhiteLabel::TxtMaxVal],
                  "4 x 3 pixels  " + std::to_string(bits) + " bits/channel|" + maximum);
        EXPECT_TRUE(state.WhiteOpened);
        EXPECT_EQ(host.processEnabled, std::optional<bool>(false));
        EXPECT_EQ(state.pwhite != nullptr && state.ptone != nullptr, host.previews);
        EXPECT_EQ(host.whiteRefreshes > 0, host.previews);
    }
}
}  // namespace

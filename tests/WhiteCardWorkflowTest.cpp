#include <gtest/gtest.h>

#include <map>
#include <optional>

#include "FakeWhiteCardHost.h"
#include "WhiteCardWorkflow.h"
#include "support/TempFolder.h"
#include "support/TiffBuilder.h"

namespace {
// 16-bit card whose brightest green sample, 61680, is at (2, 1).
testing_tiff::TiffSpec BrightAt21(bool little) {
    testing_tiff::TiffSpec f;
    f.bits = 16;
    f.littleEndian = little;
    f.pixel = [](std::uint32_t x, std::uint32_t y) {
        const std::uint16_t g =
            x == 2 && y == 1 ? 61680 : static_cast<std::uint16_t>(50000 + x + 10 * y);
        return testing_tiff::Rgb{60000, g, 1000};
    };
    return f;
}

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

TEST_F(WhiteCardWorkflowTest, AcceptedSixteenBitCardShowsItsFiguresInBothByteOrders) {
    for (bool little : {true, false}) {
        SCOPED_TRACE(little ? "little-endian" : "big-endian");
        Open(Make(BrightAt21(little), "card.tif"));
        EXPECT_TRUE(host.dialogs.messages.empty());
        EXPECT_EQ(host.dialogs.openTypes.back(), "image/tiff");
        EXPECT_EQ(Label(WhiteLabel::TxtInfoWhite), "4 x 3 pixels  16 bits/channel");
        EXPECT_EQ(Label(WhiteLabel::TxtMaxVal), "61680 (240)");
        EXPECT_EQ(Label(WhiteLabel::TxtMaxLoc), "  x: 2  y: 1");
        EXPECT_EQ(Label(WhiteLabel::TxtWhite), "card.tif");
        EXPECT_EQ(Label(WhiteLabel::TxtStatusWhite), "");
        EXPECT_TRUE(state.WhiteOpened);
        ASSERT_TRUE(state.Tiffb);
        EXPECT_DOUBLE_EQ(state.Tiffb->MaxLuminance, 61680.0);
        EXPECT_EQ(host.processEnabled, std::optional<bool>(false));
    }
}

TEST_F(WhiteCardWorkflowTest, MaximumTextDependsOnPixelSizeAlone) {
    struct Case {
        int bits;
        std::uint16_t green;
        const char* expected;
    };
    // 16-bit figures divided by 257 and rounded: 65535 -> 255, 128 -> 0.498 -> 0, 129 -> 1.
    const Case cases[] = {{8, 240, "240"},      {8, 255, "255"},      {16, 65535, "65535 (255)"},
                          {16, 128, "128 (0)"}, {16, 129, "129 (1)"}, {16, 385, "385 (1)"},
                          {16, 386, "386 (2)"}};
    for (const Case& c : cases) {
        SCOPED_TRACE(c.expected);
        testing_tiff::TiffSpec f;
        f.bits = c.bits;
        f.pixel = [&](std::uint32_t x, std::uint32_t y) {
            return testing_tiff::Rgb{0, static_cast<std::uint16_t>(x == 3 && y == 2 ? c.green : 1),
                                     0};
        };
        Open(Make(f, "card.tif"));
        EXPECT_EQ(Label(WhiteLabel::TxtMaxVal), c.expected);
    }
}

TEST_F(WhiteCardWorkflowTest, StatusLineAnnouncesEachSlowStepThenEmpties) {
    Open(Make(BrightAt21(true), "card.tif"));
    EXPECT_EQ(host.statusShown,
              (std::vector<std::string>{"Analyzing the white card image",
                                        "Creating the white card image preview", ""}));
}

TEST_F(WhiteCardWorkflowTest, PreviewAndToneMapAreMadeOnlyWithPreviewsOn) {
    Open(Make(BrightAt21(true), "card.tif"));
    ASSERT_TRUE(state.pwhite);
    ASSERT_TRUE(state.ptone);
    EXPECT_EQ(state.pwhite->Width(), 4);
    EXPECT_EQ(state.pwhite->Height(), 3);
    EXPECT_EQ(state.ptone->Width(), 4);
    // 61680 / 257 truncated is 240: the 240 band, orange-yellow.
    EXPECT_EQ(state.ptone->Pixel(2, 1), 0x00FFC000u);
    EXPECT_EQ(host.whiteRefreshes, 1);

    WindowState fresh;
    host.previews = false;
    host.dialogs.openAnswers.push_back(folder / "card.tif");
    OpenWhiteCard(fresh, host);
    EXPECT_TRUE(fresh.WhiteOpened);
    EXPECT_FALSE(fresh.pwhite);
    EXPECT_FALSE(fresh.ptone);
}

TEST_F(WhiteCardWorkflowTest, CancelAfterAcceptedCardResetsButKeepsTheCard) {
    Open(Make(BrightAt21(true), "card.tif"));
    const auto card = state.Tiffb;
    state.SubjectSelected = true;
    state.EqualizationCompleted = true;
    state.AmountToApply = 0.5;
    state.ErrorMessages = {"one", "two", ""};
    state.presult = std::make_shared<Picture>(5, 5);
    host.processEnabled.reset();
    host.scaleText = "50.0";
    host.labels[WhiteLabel::TxtResult] = "old result";

    Open("");  // cancelled
    EXPECT_EQ(state.Tiffb, card);
    EXPECT_FALSE(state.WhiteOpened);
    EXPECT_FALSE(state.SubjectSelected);
    EXPECT_FALSE(state.EqualizationCompleted);
    EXPECT_DOUBLE_EQ(state.AmountToApply, 1.0);
    EXPECT_EQ(state.ErrorMessages, (std::vector<std::string>{"", "", ""}));
    EXPECT_EQ(host.scaleText, "100.0");
    for (WhiteLabel label :
         {WhiteLabel::TxtWhite, WhiteLabel::TxtInfoWhite, WhiteLabel::TxtStatusWhite,
          WhiteLabel::TxtResult, WhiteLabel::TxtMaxVal})
        EXPECT_EQ(Label(label), "");
    EXPECT_EQ(Label(WhiteLabel::TxtMaxLoc), "  x: 2  y: 1");  // kept through the reset
    EXPECT_EQ(host.rowDeletes, 2);
    EXPECT_FALSE(host.processEnabled.has_value());  // the button keeps its state
    EXPECT_TRUE(host.dialogs.messages.empty());
    // Pictures are wiped, not released.
    ASSERT_TRUE(state.pwhite);
    EXPECT_EQ(state.pwhite->Pixel(0, 0), Picture::kTransparent);
    EXPECT_EQ(state.ptone->Pixel(2, 1), Picture::kTransparent);
    EXPECT_EQ(state.presult->Pixel(4, 4), Picture::kTransparent);
}

TEST_F(WhiteCardWorkflowTest, RefusedFilesKeepTheFormerCard) {
    struct Case {
        const char* name;
        std::function<void(const std::filesystem::path&)> make;
        const char* message;  // nullptr: silent
    };
    const Case cases[] = {
        {"two strips",
         [](const auto& p) {
             testing_tiff::TiffSpec f;
             f.rowsPerStrip = 2;
             testing_tiff::WriteTiff(p, f);
         },
         "Error: The white card image must be in one contiguous strip"},
        {"rows per strip above the height",
         [](const auto& p) {
             testing_tiff::TiffSpec f;
             f.rowsPerStrip = 4;
             testing_tiff::WriteTiff(p, f);
         },
         "Error: The white card image must be in one contiguous strip"},
        {"pixel data cut short",
         [](const auto& p) {
             testing_tiff::TiffSpec f;
             f.dropTailBytes = 1;
             testing_tiff::WriteTiff(p, f);
         },
         "Error: The white card image data is incomplete: the file ends before its last pixel "
         "row."},
        // Refused by the reader after the height but before the rows per strip:
        // the unequal pair wins over the reader's own words.
        {"grey image",
         [](const auto& p) {
             testing_tiff::TiffSpec f;
             f.rowsPerStrip = -2;  // read after the refusal below, so never
             f.extra = {{262, 3, 1, 1}, {278, 4, 1, 3}};
             testing_tiff::WriteTiff(p, f);
         },
         "Error: The white card image must be in one contiguous strip"},
        {"not a TIFF", [](const auto& p) { std::ofstream(p) << "just some text, no image"; },
         nullptr},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        Open(Make(BrightAt21(true), "card.tif"));
        const auto card = state.Tiffb;
        host.dialogs.messages.clear();
        host.statusShown.clear();
        c.make(folder / "bad.tif");
        Open(folder / "bad.tif");
        EXPECT_EQ(state.Tiffb, card);
        EXPECT_FALSE(state.WhiteOpened);
        if (c.message)
            EXPECT_EQ(host.dialogs.messages, std::vector<std::string>{c.message});
        else
            EXPECT_TRUE(host.dialogs.messages.empty());
        // Refused before any scan.
        for (const std::string& shown : host.statusShown) EXPECT_EQ(shown, "");
        EXPECT_EQ(Label(WhiteLabel::TxtInfoWhite), "");
    }
}

TEST_F(WhiteCardWorkflowTest, UnreadableChoiceEndsWithTheErrorPrefix) {
    std::filesystem::create_directories(folder / "folder.tif");
    Open(folder / "folder.tif");
    EXPECT_EQ(host.dialogs.messages, std::vector<std::string>{"Error: "});
    EXPECT_FALSE(state.WhiteOpened);
}
}  // namespace

#include <QCheckBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTableWidget>
#include <QTest>

#include "PictureCanvas.h"
#include "WindowFixture.h"

namespace {
class WindowWhiteCardTest : public WindowFixture {
  protected:
    // 16-bit, 4 x 3: green 61680 at (2, 1), 47545 (185 on the 8-bit scale) elsewhere.
    std::filesystem::path Card() {
        testing_tiff::TiffSpec f;
        f.bits = 16;
        f.pixel = [](std::uint32_t x, std::uint32_t y) {
            return testing_tiff::Rgb{
                0, static_cast<std::uint16_t>(x == 2 && y == 1 ? 61680 : 47545), 0};
        };
        testing_tiff::WriteTiff(folder / "card.tif", f);
        return folder / "card.tif";
    }
    QColor WhitePixel(int x, int y) { return Get("CanWhite")->grab().toImage().pixelColor(x, y); }
};

TEST_F(WindowWhiteCardTest, OpenShowsFiguresPreviewAndToneMap) {
    win->show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(win.get()));
    OpenWhite(Card());
    EXPECT_TRUE(dialogs.messages.empty());
    EXPECT_EQ(Get<QLabel>("TxtMaxVal")->text(), "61680 (240)");
    EXPECT_EQ(Get<QLabel>("TxtInfoWhite")->text(), "4 x 3 pixels  16 bits/channel");
    EXPECT_EQ(Get<QLabel>("TxtMaxLoc")->text(), "  x: 2  y: 1");
    EXPECT_EQ(Get<QLabel>("TxtWhite")->text(), "card.tif");
    EXPECT_FALSE(Get("PrgAnalyze")->isVisible());
    // The preview at its own size, 47545 / 257 = 185 in green.
    EXPECT_EQ(WhitePixel(0, 0), QColor(0, 185, 0));
    EXPECT_EQ(WhitePixel(2, 1), QColor(0, 240, 0));
    EXPECT_EQ(WhitePixel(4, 0), QColor(Qt::white));
    Click("ChkShowToneMap");
    EXPECT_EQ(WhitePixel(2, 1), QColor(255, 192, 0));
    EXPECT_EQ(WhitePixel(0, 0), QColor(0, 185, 0));
    Click("ChkShowToneMap");
    EXPECT_EQ(WhitePixel(2, 1), QColor(0, 240, 0));
}

TEST_F(WindowWhiteCardTest, CancelledOpenResetsTheWindowButLeavesProcessAlone) {
    win->show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(win.get()));
    OpenWhite(Card());
    ChooseSubjects(folder.Path());
    Click("ChkSelectAll");
    ASSERT_TRUE(Get("BtnProcess")->isEnabled());
    QTest::keyClicks(Get<QLineEdit>("FldScale"), "42");
    State().EqualizationCompleted = true;
    State().ErrorMessages = {"one", "two", ""};
    const auto card = State().Tiffb;

    OpenWhite("");
    EXPECT_EQ(State().Tiffb, card);
    EXPECT_FALSE(State().WhiteOpened);
    EXPECT_FALSE(State().SubjectSelected);
    EXPECT_FALSE(State().EqualizationCompleted);
    EXPECT_DOUBLE_EQ(State().AmountToApply, 1.0);
    EXPECT_EQ(State().ErrorMessages, (std::vector<std::string>{"", "", ""}));
    ASSERT_TRUE(State().ptone);  // wiped, not released
    EXPECT_EQ(State().ptone->Pixel(2, 1), Picture::kTransparent);
    EXPECT_TRUE(Get("BtnProcess")->isEnabled());
    EXPECT_EQ(Get<QTableWidget>("LstSubject")->rowCount(), 0);
    EXPECT_EQ(Get<QLineEdit>("FldScale")->text(), "100.0");
    EXPECT_EQ(Get<QLabel>("TxtMaxVal")->text(), "");
    EXPECT_EQ(Get<QLabel>("TxtMaxLoc")->text(), "  x: 2  y: 1");
    EXPECT_EQ(Get<QLabel>("TxtSubjectFolder")->text(),
              QString::fromStdString(folder.Path().filename().string()));
    EXPECT_EQ(Get<QCheckBox>("ChkSelectAll")->text(), "Unselect All");
    EXPECT_EQ(WhitePixel(2, 1), QColor(Qt::white));  // the wiped preview wipes the canvas
    EXPECT_TRUE(dialogs.messages.empty());
}

}  // namespace

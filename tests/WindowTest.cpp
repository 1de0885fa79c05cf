#include <QCheckBox>
#include <QDir>
#include <QLineEdit>
#include <QTableWidget>
#include <QTest>
#include <QTimer>

#include "App.h"
#include "OutputFileName.h"
#include "PictureCanvas.h"
#include "WinAbout.h"
#include "WindowFixture.h"
#include "support/RowMarkOf.h"

namespace {
using WindowTest = WindowFixture;

TEST_F(WindowTest, ScaleKeysSetTheAmountAndClearTheCompletedBatch) {
    auto* field = Get<QLineEdit>("FldScale");
    // typed, the amount, what the field's mask let through
    const std::tuple<const char*, double, const char*> cases[] = {{"", 0.0, ""},
                                                                  {"999.9", 9.999, "999.9"},
                                                                  {"50", 0.5, "50"},
                                                                  {".", 0.0, "."},
                                                                  {"12.5", 0.125, "12.5"},
                                                                  {"1000", 1.0, "100"},
                                                                  {"12.34", 0.123, "12.3"},
                                                                  {"-1e3,", 0.13, "13"}};
    for (const auto& [typed, amount, shown] : cases) {
        field->clear();
        State().EqualizationCompleted = true;
        QTest::keyClicks(field, typed);
        QTest::keyClick(field, Qt::Key_Shift);  // a key release with no text change
        EXPECT_EQ(field->text(), shown);
        EXPECT_DOUBLE_EQ(State().AmountToApply, amount) << typed;
        EXPECT_FALSE(State().EqualizationCompleted);
    }
    field->setText("1");
    QTest::keyClick(field, Qt::Key_Backspace);  // emptied by the user
    EXPECT_DOUBLE_EQ(State().AmountToApply, 0.0);
}

// The strip shows with its tick box; hiding the box with the previews keeps its effect.
TEST_F(WindowTest, ToneMapBoxShowsTheStripAndHidesWithThePreviews) {
    auto* previews = Get<QCheckBox>("ChkShowPreviews");
    auto* toneBox = Get<QCheckBox>("ChkShowToneMap");
    auto* strip = Get<PictureCanvas>("CanToneScale");
    Show();
    QTest::mouseClick(toneBox, Qt::LeftButton);
    strip->repaint();
    const QImage& shown = strip->Surface();
    ASSERT_EQ(shown.size(), QSize(230, 20));
    EXPECT_EQ(shown.pixelColor(1, 1), QColor(0, 0, 255));  // the key, blue to red
    EXPECT_EQ(shown.pixelColor(228, 1), QColor(255, 0, 0));
    QTest::mouseClick(previews, Qt::LeftButton);
    EXPECT_FALSE(toneBox->isVisible());
    EXPECT_TRUE(toneBox->isChecked());
    EXPECT_TRUE(strip->isVisible());
    QTest::mouseClick(previews, Qt::LeftButton);
    EXPECT_TRUE(toneBox->isVisible());
    QTest::mouseClick(toneBox, Qt::LeftButton);
    EXPECT_FALSE(strip->isVisible());
}

TEST_F(WindowTest, EscapeAndControlPeriodCancelOnlyARunningOperation) {
    Show();
    WindowEventPump& pump = win->Pump();
    QTest::keyClick(win.get(), Qt::Key_Escape);
    pump.Begin();
    EXPECT_FALSE(pump.UserCancelled());  // pressed before the operation began
    QTest::keyClick(win.get(), Qt::Key_Period);
    EXPECT_FALSE(pump.UserCancelled());
    QTest::keyClick(win.get(), Qt::Key_Escape);
    EXPECT_TRUE(pump.UserCancelled());
    pump.Begin();
    EXPECT_FALSE(pump.UserCancelled());
    QTest::keyClick(win.get(), Qt::Key_Period, Qt::ControlModifier);
    EXPECT_TRUE(pump.UserCancelled());
    pump.End();
}

// The steps the README gives a new user, on the shipped samples, with the
// tone map on: each subject is checked and lifted; the window is left as a
// picture for a reviewer's eye. Layouts and outcomes are the batch's (BatchTest).
TEST_F(WindowTest, TheSamplesGoThroughTheWindow) {
    const std::filesystem::path samples = BRISAVANE_SOURCE_DIR "/samples", out = folder / "out";
    std::filesystem::create_directories(out);
    Show();
    OpenWhite(samples / "white_card.tif");
    ChooseSubjects(samples / "subjects");
    Click("ChkSelectAll");
    Click("ChkShowToneMap");
    dialogs.folderAnswers.push_back(out);
    Click("BtnProcess");
    EXPECT_TRUE(dialogs.messages.empty());
    auto* list = Get<QTableWidget>("LstSubject");
    ASSERT_EQ(list->rowCount(), 2);
    for (int row = 0; row < 2; ++row) {
        const std::string name = win->FileName(row);
        EXPECT_STREQ(MarkOf(*list, row), "check") << name;
        const std::string subject = testing_tiff::ReadFile(samples / "subjects" / name);
        const std::string output = testing_tiff::ReadFile(out / CreateOutputFileName(name));
        EXPECT_EQ(output.size(), subject.size());
        EXPECT_NE(output, subject);  // the falloff was lifted
    }
    QDir().mkpath(BRISAVANE_ARTIFACT_DIR);
    ASSERT_TRUE(win->grab().save(BRISAVANE_ARTIFACT_DIR "/window.png"));
}

TEST(AppTest, TheSplashClosesItsWindow) {
    auto* app = qobject_cast<App*>(QCoreApplication::instance());
    ASSERT_TRUE(app);
    bool shownDuringSplash = false;
    QTimer::singleShot(20, [&] {
        shownDuringSplash = WinAbout::Instance()->isVisible() &&
                            WinAbout::Instance()->TxtVersion()->text() == "Version 3.2.2";
        // The About item during the splash shows the same window.
        app->MenuBar()->Item("AppleAboutBrisavane")->trigger();
    });
    app->AddMenuHandler("AppleAboutBrisavane", [app] { return app->AppleAboutBrisavane_Action(); });
    app->Event_Open(6);
    EXPECT_TRUE(shownDuringSplash);
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QWidget* open = nullptr;
    for (QWidget* w : QApplication::topLevelWidgets())
        if (qobject_cast<WinAbout*>(w) && w->isVisible()) open = w;
    EXPECT_EQ(open, nullptr);
}

class WindowWhiteCardTest : public WindowFixture {
  protected:
    // 16-bit, 4 x 3: green 61680 at (2, 1), 47545 (185 on the 8-bit scale) elsewhere.
    std::filesystem::path Card() {
        testing_tiff::TiffSpec card = testing_tiff::SpecOf(4, 3, 16, true);
        card.pixel = [](std::uint32_t x, std::uint32_t y) {
            return testing_tiff::Rgb{0, std::uint16_t(x == 2 && y == 1 ? 61680 : 47545), 0};
        };
        testing_tiff::WriteTiff(folder / "card.tif", card);
        return folder / "card.tif";
    }
    QColor WhitePixel(int x, int y) { return Get("CanWhite")->grab().toImage().pixelColor(x, y); }
};

TEST_F(WindowWhiteCardTest, OpenShowsFiguresPreviewAndToneMap) {
    Show();
    OpenWhite(Card());
    EXPECT_TRUE(dialogs.messages.empty());
    EXPECT_EQ(Texts({"TxtMaxVal", "TxtInfoWhite", "TxtMaxLoc", "TxtWhite"}),
              "61680 (240)\n4 x 3 pixels  16 bits/channel\n  x: 2  y: 1\ncard.tif\n");
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
    Show();
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
    EXPECT_EQ(Texts({"FldScale", "TxtMaxVal", "TxtMaxLoc", "TxtSubjectFolder", "ChkSelectAll"}),
              "100.0\n\n  x: 2  y: 1\n" + folder.Path().filename().string() + "\nUnselect All\n");
    EXPECT_EQ(WhitePixel(2, 1), QColor(Qt::white));  // the wiped preview wipes the canvas
    EXPECT_TRUE(dialogs.messages.empty());
}
}  // namespace

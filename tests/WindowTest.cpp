#include <QCheckBox>
#include <QClipboard>
#include <QDir>
#include <QGroupBox>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QTableWidget>
#include <QTest>
#include <QTimer>
#include <QValidator>

#include "App.h"
#include "PictureCanvas.h"
#include "ProgressBarProgress.h"
#include "ResourcePictures.h"
#include "WinAbout.h"
#include "WindowFixture.h"

namespace {
struct ExpectedControl {
    const char* name;
    const char* qtClass;
    const char* text;
    int left, top, width, height;
    bool bold, visible, enabled;
};

// Window coordinates, whatever group box holds the control.
const ExpectedControl kExpected[] = {
    {"BtnProcess", "QPushButton", "Process", 593, 470, 80, 20, false, true, false},
    {"GrpSubject", "QGroupBox", "Subject Folder", 260, 10, 240, 455, true, true, true},
    {"BtnSubject", "QPushButton", "Choose", 267, 30, 55, 20, false, true, true},
    {"LstSubject", "QTableWidget", "", 265, 80, 230, 132, false, true, true},
    {"CanSubject", "PictureCanvas", "", 265, 229, 230, 230, false, true, true},
    {"TxtSubjectFolder", "QLabel", "", 340, 30, 155, 30, false, true, true},
    {"ChkSelectAll", "QCheckBox", "Select All", 265, 55, 100, 20, false, true, true},
    {"GrpWhite", "QGroupBox", "White Image", 10, 10, 240, 455, true, true, true},
    {"BtnWhite", "QPushButton", "Open", 17, 30, 55, 20, false, true, true},
    {"TxtWhite", "QLabel", "", 80, 30, 165, 30, false, true, true},
    {"TxtMax", "QLabel", "Maximum:", 18, 138, 58, 20, false, true, true},
    {"FldScale", "QLineEdit", "100.0", 120, 183, 40, 20, false, true, true},
    {"StaticText6", "QLabel", "Correction amount:", 15, 182, 100, 20, false, true, true},
    {"CanWhite", "PictureCanvas", "", 15, 229, 230, 230, false, true, true},
    {"TxtStatusWhite", "QLabel", "", 18, 95, 225, 20, false, true, true},
    {"PrgAnalyze", "QProgressBar", "", 29, 120, 200, 11, false, false, true},
    {"TxtInfoWhite", "QLabel", "", 18, 70, 225, 20, false, true, true},
    {"StaticText1", "QLabel", "%", 164, 182, 15, 20, false, true, true},
    {"TxtMaxLoc", "QLabel", "", 18, 160, 225, 20, false, true, true},
    {"TxtMaxVal", "QLabel", "", 78, 138, 100, 20, true, true, true},
    {"CanToneScale", "PictureCanvas", "", 15, 207, 230, 20, false, false, true},
    {"GrpResults", "QGroupBox", "Results", 510, 10, 240, 455, true, true, true},
    {"TxtResult", "QLabel", "", 518, 30, 227, 75, false, true, true},
    {"PrgEqualize", "QProgressBar", "", 529, 160, 200, 11, false, false, true},
    {"TxtStatusSubject", "QLabel", "", 518, 115, 225, 40, false, true, true},
    {"CanResult", "PictureCanvas", "", 515, 229, 230, 230, false, true, true},
    {"ChkShowPreviews", "QCheckBox", "Show previews", 10, 470, 100, 20, false, true, true},
    {"ChkShowToneMap", "QCheckBox", "Show tone map", 130, 470, 100, 20, false, true, true},
};

QString TextOf(QWidget* w) {
    if (auto* b = qobject_cast<QAbstractButton*>(w)) return b->text();
    if (auto* g = qobject_cast<QGroupBox*>(w)) return g->title();
    if (auto* l = qobject_cast<QLabel*>(w)) return l->text();
    if (auto* f = qobject_cast<QLineEdit*>(w)) return f->text();
    return QString();
}

using WindowTest = WindowFixture;

TEST_F(WindowTest, ControlsStandWhereTheTablePutsThem) {
    QWidget* client = win->centralWidget();
    for (const ExpectedControl& c : kExpected) {
        SCOPED_TRACE(c.name);
        QWidget* w = Get(c.name);
        ASSERT_TRUE(w);
        EXPECT_STREQ(w->metaObject()->className(), c.qtClass);
        EXPECT_EQ(QRect(w->mapTo(client, QPoint(0, 0)), w->size()),
                  QRect(c.left, c.top, c.width, c.height));
        EXPECT_EQ(TextOf(w), QString::fromUtf8(c.text));
        EXPECT_EQ(w->font().bold(), c.bold);
        EXPECT_EQ(!w->isHidden(), c.visible);
        EXPECT_EQ(w->isEnabled(), c.enabled);
    }
    EXPECT_EQ(client->findChildren<QWidget*>(QString(), Qt::FindDirectChildrenOnly).size(), 6);
}

TEST_F(WindowTest, WindowIsFixedWhiteAndTitled) {
    EXPECT_EQ(win->windowTitle(), "Brisavane 3");
    EXPECT_EQ(win->centralWidget()->size(), QSize(760, 500));
    win->show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(win.get()));
    EXPECT_EQ(win->minimumSize(), win->maximumSize());
    EXPECT_FALSE(win->windowFlags() & Qt::WindowMaximizeButtonHint);
    EXPECT_EQ(win->centralWidget()->palette().color(QPalette::Window), QColor(Qt::white));
    EXPECT_TRUE(win->centralWidget()->autoFillBackground());
}

TEST_F(WindowTest, AlignmentsAndMultilineLabels) {
    EXPECT_TRUE(Get<QLineEdit>("FldScale")->alignment() & Qt::AlignRight);
    EXPECT_TRUE(Get<QLabel>("StaticText6")->alignment() & Qt::AlignRight);
    for (const char* name : {"TxtSubjectFolder", "TxtWhite", "TxtResult", "TxtStatusSubject"})
        EXPECT_TRUE(Get<QLabel>(name)->wordWrap()) << name;
    EXPECT_FALSE(Get<QLabel>("TxtStatusWhite")->wordWrap());
    EXPECT_TRUE(Get<QCheckBox>("ChkShowPreviews")->isChecked());
    EXPECT_FALSE(Get<QCheckBox>("ChkShowToneMap")->isChecked());
    EXPECT_FALSE(Get<QCheckBox>("ChkSelectAll")->isChecked());
    for (const char* name : {"PrgAnalyze", "PrgEqualize"}) {
        EXPECT_EQ(Get<QProgressBar>(name)->maximum(), 100) << name;
        EXPECT_EQ(Get<QProgressBar>(name)->value(), 0) << name;
    }
}

TEST_F(WindowTest, SubjectListHasThreeHeadlessColumns) {
    auto* list = Get<QTableWidget>("LstSubject");
    win->show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(win.get()));
    EXPECT_EQ(list->columnCount(), 3);
    EXPECT_EQ(list->columnWidth(0), 15);
    EXPECT_EQ(list->columnWidth(1), 20);
    EXPECT_EQ(list->columnWidth(2), list->viewport()->width() - 35);
    EXPECT_TRUE(list->horizontalHeader()->isHidden());
    EXPECT_TRUE(list->verticalHeader()->isHidden());
    EXPECT_EQ(list->verticalScrollBarPolicy(), Qt::ScrollBarAlwaysOn);
}

TEST_F(WindowTest, ScaleFieldAcceptsWhatItsMaskAccepts) {
    const QValidator* validator = Get<QLineEdit>("FldScale")->validator();
    ASSERT_TRUE(validator);
    const std::pair<const char*, bool> cases[] = {
        {"", true},    {"5", true},    {"100.0", true}, {"999.9", true},
        {".5", true},  {"12.", true},  {"1000", false}, {"12.34", false},
        {"-1", false}, {"1e3", false}, {"abc", false},  {"1,5", false},
    };
    for (const auto& [text, accepted] : cases) {
        QString input = text;
        int position = 0;
        EXPECT_EQ(validator->validate(input, position) == QValidator::Acceptable, accepted) << text;
    }
}

TEST_F(WindowTest, ScaleKeysSetTheAmountAndClearTheCompletedBatch) {
    auto* field = Get<QLineEdit>("FldScale");
    struct Case {
        const char* typed;
        double amount;
    };
    const Case cases[] = {{"", 0.0}, {"999.9", 9.999}, {"50", 0.5}, {".", 0.0}, {"12.5", 0.125}};
    for (const Case& c : cases) {
        SCOPED_TRACE(c.typed);
        field->clear();
        State().EqualizationCompleted = true;
        QTest::keyClicks(field, c.typed);
        QTest::keyClick(field, Qt::Key_Shift);  // a key release with no text change
        EXPECT_EQ(field->text(), c.typed);
        EXPECT_DOUBLE_EQ(State().AmountToApply, c.amount);
        EXPECT_FALSE(State().EqualizationCompleted);
    }
    field->setText("1");
    QTest::keyClick(field, Qt::Key_Backspace);  // emptied by the user
    EXPECT_DOUBLE_EQ(State().AmountToApply, 0.0);
}

TEST_F(WindowTest, ProcessRuleAppliesOnlyAtItsPoints) {
    auto* process = Get<QPushButton>("BtnProcess");
    auto* field = Get<QLineEdit>("FldScale");
    struct Case {
        bool white, subject, enabled;
    };
    const Case cases[] = {{false, false, false},
                          {true, false, false},
                          {false, true, false},
                          {true, true, true},
                          {true, false, false}};
    bool previous = false;
    for (const Case& c : cases) {
        State().WhiteOpened = c.white;
        State().SubjectSelected = c.subject;
        EXPECT_EQ(process->isEnabled(), previous);  // the flags alone change nothing
        QTest::keyClick(field, Qt::Key_End);
        EXPECT_EQ(process->isEnabled(), c.enabled) << c.white << c.subject;
        previous = c.enabled;
    }
    // After a batch left it disabled, a key brings it back.
    State().WhiteOpened = State().SubjectSelected = true;
    win->DisableProcess();
    EXPECT_FALSE(process->isEnabled());
    QTest::keyClick(field, Qt::Key_End);
    EXPECT_TRUE(process->isEnabled());
}

TEST_F(WindowTest, ShowPreviewsHidesTheToneMapBoxButNotItsEffect) {
    auto* previews = Get<QCheckBox>("ChkShowPreviews");
    auto* toneBox = Get<QCheckBox>("ChkShowToneMap");
    auto* strip = Get("CanToneScale");
    win->show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(win.get()));
    QTest::mouseClick(toneBox, Qt::LeftButton);
    ASSERT_TRUE(toneBox->isChecked());
    EXPECT_TRUE(strip->isVisible());
    QTest::mouseClick(previews, Qt::LeftButton);
    EXPECT_FALSE(previews->isChecked());
    EXPECT_FALSE(toneBox->isVisible());
    EXPECT_TRUE(toneBox->isChecked());
    EXPECT_TRUE(strip->isVisible());
    QTest::mouseClick(previews, Qt::LeftButton);
    EXPECT_TRUE(toneBox->isVisible());
    EXPECT_TRUE(toneBox->isChecked());
}

TEST_F(WindowTest, ToneMapBoxShowsTheStripWithItsKey) {
    auto* strip = Get<PictureCanvas>("CanToneScale");
    win->show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(win.get()));
    QTest::mouseClick(Get<QCheckBox>("ChkShowToneMap"), Qt::LeftButton);
    strip->repaint();
    const QImage& shown = strip->Surface();
    ASSERT_EQ(shown.size(), QSize(230, 20));
    // Its left end is the blue of the lowest band, its right end the red of the top one.
    EXPECT_EQ(shown.pixelColor(1, 1), QColor(0, 0, 255));
    EXPECT_EQ(shown.pixelColor(228, 1), QColor(255, 0, 0));
    QTest::mouseClick(Get<QCheckBox>("ChkShowToneMap"), Qt::LeftButton);
    EXPECT_FALSE(strip->isVisible());
}

std::shared_ptr<Picture> Filled(int width, int height, std::uint32_t colour) {
    auto picture = std::make_shared<Picture>(width, height);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) picture->SetPixel(x, y, colour);
    return picture;
}

TEST_F(WindowTest, ResultCanvasWipesBeforeASmallerPictureSubjectCanvasDoesNot) {
    win->show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(win.get()));
    auto* result = Get<PictureCanvas>("CanResult");
    auto* subject = Get<PictureCanvas>("CanSubject");
    State().presult = Filled(200, 150, RGB(255, 0, 0));
    State().psubject = Filled(200, 150, RGB(255, 0, 0));
    result->repaint();
    subject->repaint();
    EXPECT_EQ(result->Surface().pixelColor(150, 100), QColor(255, 0, 0));
    State().presult = Filled(100, 50, RGB(0, 0, 255));
    State().psubject = Filled(100, 50, RGB(0, 0, 255));
    result->repaint();
    subject->repaint();
    EXPECT_EQ(result->Surface().pixelColor(10, 10), QColor(0, 0, 255));
    EXPECT_EQ(result->Surface().pixelColor(150, 100), QColor(Qt::white));
    EXPECT_EQ(subject->Surface().pixelColor(10, 10), QColor(0, 0, 255));
    EXPECT_EQ(subject->Surface().pixelColor(150, 100), QColor(255, 0, 0));
    // Drawn at its own size: nothing beyond 100 x 50.
    EXPECT_EQ(result->Surface().pixelColor(100, 10), QColor(Qt::white));
    EXPECT_EQ(result->Surface().pixelColor(10, 50), QColor(Qt::white));
}

TEST_F(WindowTest, EscapeAndControlPeriodCancelOnlyARunningOperation) {
    win->show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(win.get()));
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

struct ExpectedItem {
    const char* menu;
    const char* name;
    const char* caption;
    const char* shortcut;
    bool autoEnabled;
    bool separator;
};

TEST(MenuBarTest, ItemsNamesCaptionsAndShortcuts) {
    const ExpectedItem expected[] = {
        {"FileMenu", "AppleAboutBrisavane", "About Brisavane...", "", true, false},
        {"FileMenu", "UntitledSeparator", "-", "", false, true},
        {"FileMenu", "FileQuit", "&Quit", "Ctrl+Q", true, false},
        {"EditMenu", "EditUndo", "&Undo", "Ctrl+Z", true, false},
        {"EditMenu", "UntitledMenu1", "-", "", true, true},
        {"EditMenu", "EditCut", "Cu&t", "Ctrl+X", true, false},
        {"EditMenu", "EditCopy", "&Copy", "Ctrl+C", true, false},
        {"EditMenu", "EditPaste", "&Paste", "Ctrl+V", true, false},
        {"EditMenu", "EditClear", "&Delete", "", true, false},
        {"EditMenu", "UntitledMenu0", "-", "", true, true},
        {"EditMenu", "EditSelectAll", "Select &All", "Ctrl+A", true, false},
    };
    MenuBar1 bar;
    const QList<QAction*> top = bar.actions();
    ASSERT_EQ(top.size(), 2);
    EXPECT_EQ(top[0]->objectName(), "FileMenu");
    EXPECT_EQ(top[0]->text(), "&File");
    EXPECT_EQ(top[1]->objectName(), "EditMenu");
    EXPECT_EQ(top[1]->text(), "&Edit");
    std::vector<QAction*> items;
    for (QAction* menu : top)
        for (QAction* item : menu->menu()->actions()) items.push_back(item);
    ASSERT_EQ(items.size(), std::size(expected));
    for (std::size_t n = 0; n < items.size(); ++n) {
        const ExpectedItem& e = expected[n];
        SCOPED_TRACE(e.name);
        EXPECT_EQ(items[n]->parent()->objectName(), e.menu);
        EXPECT_EQ(items[n]->objectName(), e.name);
        EXPECT_EQ(items[n]->text(), e.caption);
        EXPECT_EQ(items[n]->shortcut(), QKeySequence(e.shortcut));
        EXPECT_EQ(items[n]->property("AutoEnabled").toBool(), e.autoEnabled);
        EXPECT_EQ(items[n]->isSeparator(), e.separator);
        EXPECT_TRUE(items[n]->isVisible());
        EXPECT_EQ(bar.Item(e.name), items[n]);
    }
}

TEST_F(WindowTest, EditItemsActOnTheFocusedField) {
    win->show();
    ASSERT_TRUE(QTest::qWaitForWindowActive(win.get()));
    auto* field = Get<QLineEdit>("FldScale");
    field->setFocus();
    auto* bar = qobject_cast<MenuBar1*>(win->menuBar());
    ASSERT_TRUE(bar);
    bar->Item("EditSelectAll")->trigger();
    EXPECT_EQ(field->selectedText(), "100.0");
    bar->Item("EditCopy")->trigger();
    EXPECT_EQ(QGuiApplication::clipboard()->text(), "100.0");
    bar->Item("EditClear")->trigger();
    EXPECT_EQ(field->text(), "");
    bar->Item("EditUndo")->trigger();
    EXPECT_EQ(field->text(), "100.0");
}

TEST(WinAboutTest, TextsAndAFreshWindowEachTime) {
    const std::pair<const char*, QString> texts[] = {
        {"StaticText1", QString::fromUtf8("Brisavane\u2122 3")},
        {"StaticText4", "Equalize lens and light falloff in TIFF images."},
    };
    WinAbout* about = WinAbout::Instance();
    EXPECT_EQ(WinAbout::Instance(), about);  // one at a time
    EXPECT_EQ(about->size(), QSize(400, 240));
    EXPECT_EQ(about->windowTitle(), "");
    EXPECT_EQ(about->TxtVersion()->text(), "");  // filled as it opens
    about->show();
    EXPECT_EQ(about->TxtVersion()->text(), "Version 3.2.2");
    for (const auto& [name, text] : texts) {
        auto* label = about->findChild<QLabel*>(name);
        ASSERT_TRUE(label) << name;
        EXPECT_EQ(label->text(), text);
        EXPECT_EQ(label->geometry().left(), 20);
        EXPECT_EQ(label->geometry().width(), 360);
        EXPECT_TRUE(label->alignment() & Qt::AlignHCenter);
    }
    EXPECT_TRUE(about->findChild<QLabel*>("StaticText1")->font().bold());
    QDir().mkpath(BRISAVANE_ARTIFACT_DIR);
    about->grab().save(BRISAVANE_ARTIFACT_DIR "/about.png");  // for a reviewer's eye
    about->close();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    WinAbout* again = WinAbout::Instance();
    EXPECT_EQ(again->TxtVersion()->text(), "");
    again->show();
    EXPECT_EQ(again->TxtVersion()->text(), "Version 3.2.2");
    again->close();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
}

TEST(AppTest, VersionAndTheSplashClosesItsWindow) {
    EXPECT_EQ(App::Version(), "3.2.2");
    EXPECT_EQ(App::MajorVersion, 3);
    EXPECT_EQ(App::MinorVersion, 2);
    EXPECT_EQ(App::BugVersion, 2);
    auto* app = qobject_cast<App*>(QCoreApplication::instance());
    ASSERT_TRUE(app);
    bool shownDuringSplash = false;
    QTimer::singleShot(20, [&] {
        shownDuringSplash = WinAbout::Instance()->isVisible();
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

// Built into the program: no file beside the test binary holds them.
TEST(ResourcePicturesTest, ReadFromTheProgramAtTheirOwnSize) {
    EXPECT_EQ(ResourcePictures::OpenFromApp("Missing.tif"), nullptr);
    const auto cross = ResourcePictures::Cross();
    ASSERT_TRUE(cross);
    EXPECT_EQ(ResourcePictures::Cross(), cross);  // kept once read
    ASSERT_TRUE(ResourcePictures::Check());
    EXPECT_EQ(ResourcePictures::Check()->Width(), 15);
    EXPECT_EQ(ResourcePictures::Check()->Height(), 15);
    ASSERT_TRUE(ResourcePictures::tone_scale());
    EXPECT_EQ(ResourcePictures::tone_scale()->Width(), 230);
    EXPECT_EQ(ResourcePictures::tone_scale()->Height(), 20);
}
}  // namespace

namespace {
TEST(ProgressBarProgressTest, LongOperationsFitTheBar) {
    struct Case {
        std::int64_t maximum;
        double value;
        int barMaximum, barValue;
    };
    const Case cases[] = {
        {4000, 1000.0, 4000, 1000},
        {4000, 5000.0, 4000, 4000},  // held at the end
        {4000, -3.0, 4000, 0},
        {4294967294LL, 2147483647.0, 2147483647, 1073741823},  // scaled into int range
        {-5, 1.0, 0, 0},
    };
    QProgressBar bar;
    ProgressBarProgress progress(&bar);
    for (const Case& c : cases) {
        SCOPED_TRACE(c.maximum);
        progress.SetMaximum(c.maximum);
        progress.SetValue(c.value);
        EXPECT_EQ(bar.maximum(), c.barMaximum);
        EXPECT_EQ(bar.value(), c.barValue);
    }
    progress.SetVisible(true);
    EXPECT_FALSE(bar.isHidden());
}
}  // namespace

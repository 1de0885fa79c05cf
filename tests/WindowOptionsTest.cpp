// What the window does beyond its own job, through its real widgets: the
// correction options and the places, kept between sessions; the card report;
// drops. The
// command line's outputs are the reference: the window must give its bytes.

#include <QAction>
#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QDir>
#include <QDoubleSpinBox>
#include <QFileDialog>
#include <QLabel>
#include <QListWidget>
#include <QMenu>
#include <QMimeData>
#include <QPushButton>
#include <QSpinBox>
#include <QTimer>
#include <fstream>

#include "CorrectionOptionsDialog.h"
#include "WindowDialogs.h"
#include "WindowFixture.h"
#include "support/CliRun.h"
#include "support/ExifTiff.h"
#include "support/FileHashes.h"

namespace {
namespace fs = std::filesystem;
const fs::path kModes = fs::path(BRISAVANE_SOURCE_DIR) / "samples/modes";

// Acts on the next dialog as a user would, once it shows.
template <class Dialog>
void Answer(const std::function<void(Dialog&)>& act) {
    QTimer::singleShot(0, [act] {
        auto* dialog = qobject_cast<Dialog*>(QApplication::activeModalWidget());
        ASSERT_NE(dialog, nullptr);
        act(*dialog);
    });
}

// Sets the options dialog, and says OK.
void AnswerOptions(const std::function<void(CorrectionOptionsDialog&)>& answer) {
    Answer<CorrectionOptionsDialog>([answer](auto& dialog) {
        answer(dialog);
        dialog.accept();
    });
}

template <class T>
T* In(QWidget& dialog, const char* name) {
    return dialog.findChild<T*>(name);
}

class WindowOptions : public WindowFixture {
  protected:
    void SetUp() override {
        Show();
        OpenWhite(kModes / "white_card_a.tif");
    }
    // The batch into out, every subject ticked.
    void ProcessAll(const fs::path& out) {
        fs::create_directories(out);
        win->Drop(DropArea::Subjects,
                  {kModes / "subjects/chart.tif", kModes / "subjects/scene.tif"});
        dialogs.folderAnswers.push_back(out);
        Click("BtnProcess");
    }
};

// Each row: what the dialog is set to, and the same on the command line.
struct OptionsRow {
    const char* label;
    std::function<void(CorrectionOptionsDialog&)> set;
    std::vector<std::string> flags;
};

TEST_F(WindowOptions, GiveTheCommandLinesBytesAndSayWhichAreOn) {
    const std::string shot = kModes / "white_card_b.tif", dark = kModes / "dark_frame.tif";
    const OptionsRow rows[] = {
        {"rgb and cap",
         [](auto& d) {
             In<QComboBox>(d, "Channels")->setCurrentIndex(1);
             In<QCheckBox>(d, "Capped")->setChecked(true);
             In<QDoubleSpinBox>(d, "MaxGain")->setValue(1.25);
         },
         {"--channels", "rgb", "--max-gain", "1.25"}},
        {"smooth, linear, darken",
         [](auto& d) {
             In<QSpinBox>(d, "Smooth")->setValue(3);
             In<QCheckBox>(d, "Linear")->setChecked(true);
             In<QCheckBox>(d, "Darken")->setChecked(true);
         },
         {"--smooth", "3", "--linear", "--darken"}},
        {"shots and dark",
         [&](auto& d) {
             dialogs.openAnswers = {shot, dark};
             In<QPushButton>(d, "BtnAddShot")->click();
             In<QPushButton>(d, "BtnChooseDark")->click();
         },
         {"--white", shot, "--dark", dark}},
    };
    for (const OptionsRow& row : rows) {
        SCOPED_TRACE(row.label);
        OpenWhite(kModes / "white_card_a.tif");
        AnswerOptions([](auto& d) { In<QPushButton>(d, "BtnReset")->click(); });
        Click("BtnOptions");
        AnswerOptions(row.set);
        Click("BtnOptions");
        EXPECT_FALSE(Get<QLabel>("TxtOptions")->text().isEmpty());
        const fs::path window = folder / row.label / "window", cli = folder / row.label / "cli";
        ProcessAll(window);
        fs::create_directories(cli);
        std::vector<std::string> args = {"--white", kModes / "white_card_a.tif", "--output", cli};
        args.insert(args.end(), row.flags.begin(), row.flags.end());
        args.push_back(kModes / "subjects");
        ASSERT_EQ(Equalize(args).code, 0);
        EXPECT_EQ(HashFolder(window), HashFolder(cli));
        EXPECT_EQ(State().ErrorMessages[0].rfind("Equalized with ", 0), 0u);
    }
    // Pictures of the window, its Correction menu and the dialog as they
    // stand, for a reviewer's eye and the README.
    QDir().mkpath(BRISAVANE_ARTIFACT_DIR);
    win->grab().save(BRISAVANE_ARTIFACT_DIR "/window-options.png");
    auto* menu = win->findChild<QMenu*>("CorrectionMenu");
    menu->popup(win->mapToGlobal(QPoint(110, 20)));
    menu->grab().save(BRISAVANE_ARTIFACT_DIR "/correction-menu.png");
    menu->hide();
    QTimer::singleShot(0, [] {
        QWidget* dialog = QApplication::activeModalWidget();
        dialog->grab().save(BRISAVANE_ARTIFACT_DIR "/correction-options.png");
        static_cast<QDialog*>(dialog)->reject();
    });
    Click("BtnOptions");
}

// The options come back with the window; the card's files never do, and Reset
// brings back the window's own correction.
TEST_F(WindowOptions, OptionsOutliveTheWindowCardFilesDont) {
    AnswerOptions([&](auto& d) {
        In<QCheckBox>(d, "Linear")->setChecked(true);
        dialogs.openAnswers = {kModes / "white_card_b.tif"};
        In<QPushButton>(d, "BtnAddShot")->click();
    });
    Click("BtnOptions");
    const QString shown = Get<QLabel>("TxtOptions")->text();
    EXPECT_EQ(shown, "Options: linear light, 2 shots of the card");
    win = std::make_unique<WinEqualize>(new MenuBar1(), &dialogs);
    EXPECT_EQ(Get<QLabel>("TxtOptions")->text(), "Options: linear light");
    EXPECT_TRUE(State().modes.linear);
    AnswerOptions([](auto& d) { In<QPushButton>(d, "BtnReset")->click(); });
    Click("BtnOptions");
    EXPECT_EQ(Get<QLabel>("TxtOptions")->text(), "");
}

// The window's report of the open card is the command line's.
TEST_F(WindowOptions, CardReportIsTheCommandLines) {
    auto* report = win->menuBar()->findChild<QAction*>("CardReport");
    ASSERT_TRUE(report->isEnabled());
    dialogs.folderAnswers.push_back(folder / "window");
    dialogs.itemAnswers.push_back("A2");
    report->trigger();
    EXPECT_EQ(dialogs.documents, std::vector<std::string>{folder / "window/report.html"});
    ASSERT_EQ(
        Analyze({kModes / "white_card_a.tif", "--report", folder / "cli", "--format", "A2"}).code,
        0);
    EXPECT_EQ(testing_tiff::ReadFile(folder / "window/report.json"),
              testing_tiff::ReadFile(folder / "cli/report.json"));
}

// A card dropped opens as Open does; a folder chooses as Choose does; TIFFs of
// one folder tick exactly those; anything else is refused in words.
TEST_F(WindowOptions, DropsDoWhatOpenAndChooseDo) {
    // As the desktop delivers them: the drag offered, then the drop.
    const auto drop = [&](const char* group, const fs::path& path) {
        QMimeData data;
        data.setUrls({QUrl::fromLocalFile(QString::fromStdString(path))});
        QDragEnterEvent enter({5, 5}, Qt::CopyAction, &data, Qt::LeftButton, {});
        QApplication::sendEvent(Get(group), &enter);
        EXPECT_TRUE(enter.isAccepted());
        QDropEvent dropped({5, 5}, Qt::CopyAction, &data, Qt::LeftButton, {});
        QApplication::sendEvent(Get(group), &dropped);
    };
    drop("GrpWhite", kModes / "white_card_b.tif");
    const std::string dropped = Texts({"TxtWhite", "TxtInfoWhite", "TxtMaxVal", "TxtMaxLoc"});
    EXPECT_TRUE(dropped.starts_with("white_card_b.tif\n"));
    OpenWhite(kModes / "white_card_a.tif");
    OpenWhite(kModes / "white_card_b.tif");
    EXPECT_EQ(Texts({"TxtWhite", "TxtInfoWhite", "TxtMaxVal", "TxtMaxLoc"}), dropped);
    drop("GrpSubject", kModes / "subjects");
    EXPECT_EQ(win->ListCount(), 2);
    win->Drop(DropArea::Subjects, {kModes / "subjects/scene.tif"});
    EXPECT_EQ(std::vector<bool>({win->Ticked(0), win->Ticked(1)}),
              std::vector<bool>({false, true}));
    win->Drop(DropArea::WhiteImage, {kModes / "white_card_a.tif", kModes / "dark_frame.tif"});
    win->Drop(DropArea::Subjects, {kModes / "subjects/chart.tif", kModes / "dark_frame.tif"});
    EXPECT_EQ(Texts({"TxtStatusWhite", "TxtStatusSubject"}),
              "Drop one TIFF file here: it opens as the white card.\n"
              "The files come from several folders: drop those of one folder.\n");
}

// A card library from the Correction menu: the white card area counts its
// cards, each row names its card before the batch, and the batch writes the
// command line's bytes, crossing the subject no card serves.
TEST_F(WindowOptions, CardLibraryGivesTheCommandLinesBytes) {
    const fs::path cards = folder / "cards", subjects = folder / "subjects";
    fs::create_directories(cards);
    fs::create_directories(subjects);
    WriteExifTiff(cards / "a.tif", Macro(8, "2024:05:01 10:00:00"), {.level = 61000});
    WriteExifTiff(cards / "c.tif", Macro(11, "2024:05:01 10:00:00"), {.level = 59000});
    WriteExifTiff(cards / "e.tif", {.width = 6, .height = 4, .bitsPerSample = 16},
                  {.level = 57000});
    for (const auto& [name, fNumber] : {std::pair{"1.tif", 8.0}, {"3.tif", 11.0}, {"5.tif", 4.0}})
        WriteExifTiff(subjects / name, Macro(fNumber, "2024:05:01 12:00:00"), {.level = 30000});
    dialogs.folderAnswers.push_back(cards);
    static_cast<MenuBar1*>(win->menuBar())->Item("OpenCardFolder")->trigger();
    EXPECT_EQ(Texts({"TxtWhite", "TxtInfoWhite"}), "cards\nCard library: 2 usable cards\n");
    ChooseSubjects(subjects);
    const std::string none = "No card in " + cards.string() +
                             " matches Camera X, Macro 100mm, 100 mm, f/4 (1 card without EXIF, "
                             "2 cards of another aperture).";
    for (const auto& [row, message] :
         {std::pair{0, std::string("Card: a.tif.")}, {1, "Card: c.tif."}, {2, none}}) {
        ClickCell(row, 2);
        EXPECT_EQ(Get<QLabel>("TxtResult")->text().toStdString(), message);
    }
    Click("ChkSelectAll");
    dialogs.folderAnswers.push_back(folder / "window");
    fs::create_directories(folder / "window");
    Click("BtnProcess");
    fs::create_directories(folder / "cli");
    Equalize({"--cards", cards, "--output", folder / "cli", subjects});
    EXPECT_EQ(HashFolder(folder / "window").size(), 2u);
    EXPECT_EQ(HashFolder(folder / "window"), HashFolder(folder / "cli"));
    EXPECT_EQ(State().ErrorMessages[2], none);
}
// The desktop's own dialogs. Each question starts in the folder it was last
// answered with (a cancel keeps it): Open in the card's, Choose and Process
// each in their own; the save dialog proposes the output's name there. The
// window opens where it was closed.
TEST_F(WindowOptions, DialogsStartWhereTheyWereLastAnswered) {
    const fs::path cards = folder / "cards", shoot = folder / "shoot", out = folder / "out";
    for (const fs::path& made : {cards, shoot, out}) fs::create_directories(made);
    std::ofstream(cards / "w.tif") << "x";
    WindowDialogs real(win.get());
    std::string started;
    const auto pick = [&](const fs::path& path) {
        Answer<QFileDialog>([&started, path](QFileDialog& d) {
            started = d.selectedFiles().value(0, d.directory().absolutePath()).toStdString();
            if (path.empty()) return d.reject();
            d.selectFile(QString::fromStdString(path));
            static_cast<QDialog&>(d).accept();
        });
    };
    const auto path = [](const std::shared_ptr<FolderItem>& item) {
        return item ? item->NativePath() : "nothing";
    };
    const std::string tiff = "image/tiff", choose = "Select the image folder",
                      process = "Select the folder for the equalized images";
    pick(cards / "w.tif");
    EXPECT_EQ(path(real.GetOpenFolderItem(tiff)), cards / "w.tif");
    for (const auto& [answer, ask, startedIn, gave] :
         {std::tuple{fs::path(), std::function([&] { return real.GetOpenFolderItem(tiff); }),
                     cards.string(), std::string("nothing")},
          {shoot, [&] { return real.SelectFolder(choose); }, "", shoot.string()},
          {out, [&] { return real.SelectFolder(process); }, "", out.string()},
          {fs::path(), [&] { return real.SelectFolder(choose); }, shoot.string(), "nothing"},
          {fs::path(), [&] { return real.GetSaveFolderItem(tiff, "a_eq.tif"); },
           (out / "a_eq.tif").string(), "nothing"}}) {
        pick(answer);
        EXPECT_EQ(path(ask()), gave);
        if (!startedIn.empty()) {
            EXPECT_EQ(started, startedIn);
        }
    }
    win->move(123, 45);
    win->close();
    EXPECT_EQ(WinEqualize(new MenuBar1(), &dialogs).pos(), QPoint(123, 45));
}
}  // namespace

// The whole job through the real window, as a user does it: open a white card,
// choose a folder of subjects, tick, set the amount, press Process, read the
// marks and messages. Dialogs answer with prepared paths; everything else goes
// through the widgets. Expected files are worked out here from the samples the
// test wrote, not by the program's own code.

#include <unistd.h>

#include <QCheckBox>
#include <QDir>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QTableWidget>
#include <QTest>
#include <cmath>
#include <fstream>
#include <map>
#include <set>
#include <sstream>

#include "PictureImage.h"
#include "ResourcePictures.h"
#include "WindowFixture.h"
#include "support/LibtiffFiles.h"

namespace {
namespace fs = std::filesystem;

// A scene in the 8-bit scale; 16-bit files carry the same figures scaled up.
struct Scene {
    std::uint32_t width = 4;
    std::uint32_t height = 3;
    int bits = 8;

    // The white card's green; its red and blue differ so that a use of them shows.
    std::uint16_t WhiteGreen(std::uint32_t x, std::uint32_t y) const {
        return Scale(50 + 25 * x + 20 * y);
    }
    // Subject samples that reach the ceiling in places.
    std::uint16_t Subject(std::uint32_t x, std::uint32_t y, std::uint32_t c) const {
        const std::uint32_t s8 = (37 * x + 53 * y + 71 * c + 20) % 256;
        return static_cast<std::uint16_t>(bits == 8 ? s8 : s8 * 256 + 13 * x + c);
    }
    std::uint16_t Scale(std::uint32_t v8) const {
        return static_cast<std::uint16_t>(bits == 8 ? v8 : v8 * 257);
    }
    double Ceiling() const { return bits == 8 ? 255.0 : 65535.0; }

    LibtiffImage White(bool bigEndian) const {
        std::vector<std::uint16_t> samples;
        for (std::uint32_t y = 0; y < height; ++y)
            for (std::uint32_t x = 0; x < width; ++x)
                samples.insert(samples.end(),
                               {Scale(255 - 10 * x), WhiteGreen(x, y), Scale(3 * y)});
        LibtiffImage image = ImageOfSamples(width, height, bits, samples);
        image.bigEndian = bigEndian;
        return image;
    }
    LibtiffImage Subjects(bool bigEndian, std::uint32_t rowsPerStrip = 0) const {
        std::vector<std::uint16_t> samples;
        for (std::uint32_t y = 0; y < height; ++y)
            for (std::uint32_t x = 0; x < width; ++x)
                for (std::uint32_t c = 0; c < 3; ++c) samples.push_back(Subject(x, y, c));
        LibtiffImage image = ImageOfSamples(width, height, bits, samples);
        image.bigEndian = bigEndian;
        image.rowsPerStrip = rowsPerStrip;
        return image;
    }

    // The level that the brightest and darkest green of the card and the amount give.
    double Target(double amount) const {
        double brightest = 0.0, darkest = 1e9;
        for (std::uint32_t y = 0; y < height; ++y)
            for (std::uint32_t x = 0; x < width; ++x) {
                const double green = WhiteGreen(x, y);
                brightest = std::max(brightest, green);
                darkest = std::min(darkest, green);
            }
        return darkest + (brightest - darkest) * amount;
    }
    std::uint16_t Corrected(double target, std::uint32_t x, std::uint32_t y,
                            std::uint32_t c) const {
        double gain = target / WhiteGreen(x, y);
        if (gain < 1.0) gain = 1.0;
        return static_cast<std::uint16_t>(std::trunc(std::min(gain * Subject(x, y, c), Ceiling())));
    }
};

std::string ReadAll(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream bytes;
    bytes << in.rdbuf();
    return bytes.str();
}

// The subject's bytes with rows [0, correctedRows) replaced by corrected
// samples in the file's own byte order, found from its header.
std::string ExpectedOutput(const fs::path& subject, const Scene& scene, double target,
                           std::uint32_t correctedRows) {
    std::string bytes = ReadAll(subject);
    const bool little = bytes.compare(0, 2, "II") == 0;
    const std::size_t sampleBytes = scene.bits / 8;
    std::size_t at = LibtiffStripOffset(subject);
    for (std::uint32_t y = 0; y < correctedRows; ++y)
        for (std::uint32_t x = 0; x < scene.width; ++x)
            for (std::uint32_t c = 0; c < 3; ++c) {
                const std::uint16_t v = scene.Corrected(target, x, y, c);
                for (std::size_t k = 0; k < sampleBytes; ++k) {
                    const std::size_t shift = little ? k : sampleBytes - 1 - k;
                    bytes[at++] = static_cast<char>((v >> (8 * shift)) & 255);
                }
            }
    return bytes;
}

// How many of this process's open files are the given file.
int OpenDescriptorsOn(const fs::path& file) {
    const fs::path wanted = fs::canonical(file);
    int count = 0;
    for (const auto& entry : fs::directory_iterator("/proc/self/fd")) {
        std::error_code ec;
        if (fs::read_symlink(entry.path(), ec) == wanted) ++count;
    }
    return count;
}

enum class Mark { None, Check, Cross };

class WholeJob : public WindowFixture {
  protected:
    QTableWidget* list = nullptr;
    const fs::path shoot = folder / "shoot";
    const fs::path out = folder / "out";

    void SetUp() override {
        list = Get<QTableWidget>("LstSubject");
        fs::create_directories(shoot);
        fs::create_directories(out);
        win->show();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(win.get()));
    }

    void Click(const char* name) { QTest::mouseClick(Get(name), Qt::LeftButton); }
    void OpenWhite(const fs::path& path) {
        dialogs.openAnswers.push_back(path);
        Click("BtnWhite");
    }
    void ChooseSubjects() {
        dialogs.folderAnswers.push_back(shoot);
        Click("BtnSubject");
    }
    void Process(const fs::path& into) {
        dialogs.folderAnswers.push_back(into);
        Click("BtnProcess");
    }
    int Row(const std::string& name) {
        for (int row = 0; row < list->rowCount(); ++row)
            if (win->FileName(row) == name) return row;
        ADD_FAILURE() << name << " is not listed";
        return 0;
    }
    void ClickCell(const std::string& name, int column) {
        QTableWidgetItem* cell = list->item(Row(name), column);
        list->scrollToItem(cell);
        QTest::mouseClick(list->viewport(), Qt::LeftButton, {},
                          list->visualItemRect(cell).center());
    }
    Mark MarkOf(const std::string& name) {
        const QVariant shown = list->item(Row(name), 0)->data(Qt::UserRole + 1);
        if (!shown.isValid()) return Mark::None;
        const QImage image = shown.value<QImage>();
        if (image == ToQImage(*ResourcePictures::Check())) return Mark::Check;
        if (image == ToQImage(*ResourcePictures::Cross())) return Mark::Cross;
        ADD_FAILURE() << name << " has a picture that is no mark";
        return Mark::None;
    }
    void WriteSubject(const std::string& name, const LibtiffImage& image) {
        WriteWithLibtiff(shoot / name, image);
    }
};

struct Depth {
    int bits;
    bool whiteBigEndian;
};

class WholeJobTest : public WholeJob, public ::testing::WithParamInterface<Depth> {};

struct RowOutcome {
    const char* name;
    const char* output;  // nullptr: none is written
    Mark mark;
    const char* message;
};

const RowOutcome kOutcomes[] = {
    {"a_little.tif", "a_little_eq.tif", Mark::Check, ""},
    {"b_big.tif", "b_big_eq.tif", Mark::Check, ""},
    {"c_small.tif", nullptr, Mark::Cross,
     "White and image files have different pixel dimensions. White: 4x3  Image: 3x3"},
    {"d_strips.tif", nullptr, Mark::Cross,
     "Image file is not in one single strip. Height: 3Rows per strip: 1"},
    {"e_cut.tif", nullptr, Mark::Cross,
     "Image data is incomplete: the file ends before its last pixel row."},
    {"f_notes.tif", nullptr, Mark::None, ""},
    {"g_unticked.tif", nullptr, Mark::None, ""},
};

TEST_P(WholeJobTest, OpenChooseTickProcessAndReadTheResults) {
    const Scene scene{.bits = GetParam().bits};
    WriteWithLibtiff(folder / "card.tif", scene.White(GetParam().whiteBigEndian));
    WriteSubject("a_little.tif", scene.Subjects(false));
    WriteSubject("b_big.tif", scene.Subjects(true));
    Scene small = scene;
    small.width = 3;
    WriteSubject("c_small.tif", small.Subjects(false));
    WriteSubject("d_strips.tif", scene.Subjects(true, 1));
    testing_tiff::TiffSpec cut;
    cut.bits = scene.bits;
    cut.dropTailBytes = 5;
    testing_tiff::WriteTiff(shoot / "e_cut.tif", cut);
    std::ofstream(shoot / "f_notes.tif") << "not a picture";
    WriteSubject("g_unticked.tif", scene.Subjects(false));
    std::ofstream(shoot / "readme.txt") << "not listed";
    std::map<std::string, std::string> before;
    for (const auto& entry : fs::directory_iterator(shoot))
        before[entry.path().filename()] = ReadAll(entry.path());

    OpenWhite(folder / "card.tif");
    ASSERT_TRUE(dialogs.messages.empty());
    ChooseSubjects();
    ASSERT_EQ(list->rowCount(), static_cast<int>(std::size(kOutcomes)));
    ClickCell("a_little.tif", 1);
    Click("ChkSelectAll");
    EXPECT_EQ(Get<QCheckBox>("ChkSelectAll")->text(), "Unselect All");
    ClickCell("g_unticked.tif", 1);
    auto* amount = Get<QLineEdit>("FldScale");
    amount->selectAll();
    QTest::keyClicks(amount, "80");
    EXPECT_EQ(amount->text(), "80");
    ASSERT_TRUE(Get("BtnProcess")->isEnabled());

    Process(out);
    EXPECT_TRUE(dialogs.messages.empty());
    EXPECT_EQ(dialogs.folderPrompts.back(), "Select the folder for the equalized images");
    EXPECT_TRUE(State().EqualizationCompleted);
    EXPECT_FALSE(Get("BtnProcess")->isEnabled());
    EXPECT_FALSE(Get("PrgEqualize")->isVisible());
    EXPECT_EQ(Get<QLabel>("TxtStatusSubject")->text(), "");
    const double target = scene.Target(80 / 100.0);
    std::set<std::string> written;
    for (const auto& entry : fs::directory_iterator(out)) written.insert(entry.path().filename());
    EXPECT_EQ(written, (std::set<std::string>{"a_little_eq.tif", "b_big_eq.tif"}));
    for (const RowOutcome& o : kOutcomes) {
        SCOPED_TRACE(o.name);
        EXPECT_EQ(MarkOf(o.name), o.mark);
        ClickCell(o.name, 2);
        EXPECT_EQ(Get<QLabel>("TxtResult")->text().toStdString(), o.message);
        EXPECT_EQ(ReadAll(shoot / o.name), before[o.name]);  // never touched
        if (o.output) {
            EXPECT_EQ(ReadAll(out / o.output),
                      ExpectedOutput(shoot / o.name, scene, target, scene.height));
        }
    }
    QDir().mkpath(BRISAVANE_ARTIFACT_DIR);
    win->grab().save(BRISAVANE_ARTIFACT_DIR "/window-after-batch.png");

    // Into the same folder again: each existing output asks where to save, once.
    fs::create_directories(folder / "again");
    dialogs.saveAnswers = {folder / "again/first.tif", folder / "again/second.tif"};
    QTest::keyClick(amount, Qt::Key_End);  // the Process rule brings the button back
    ASSERT_TRUE(Get("BtnProcess")->isEnabled());
    Process(out);
    EXPECT_EQ(dialogs.saveProposals, (std::vector<std::string>{"a_little_eq.tif", "b_big_eq.tif"}));
    EXPECT_EQ(ReadAll(folder / "again/first.tif"),
              ExpectedOutput(shoot / "a_little.tif", scene, target, scene.height));
    EXPECT_EQ(ReadAll(folder / "again/second.tif"),
              ExpectedOutput(shoot / "b_big.tif", scene, target, scene.height));
    EXPECT_TRUE(dialogs.messages.empty());
}

INSTANTIATE_TEST_SUITE_P(Depths, WholeJobTest,
                         ::testing::Values(Depth{8, false}, Depth{16, false}, Depth{16, true}),
                         [](const auto& info) {
                             return std::to_string(info.param.bits) + (info.param.whiteBigEndian
                                                                           ? "bit_big_card"
                                                                           : "bit_little_card");
                         });

// Escape pressed while the second file's fourth row is written: it arrives
// through the event pump after that row, so four rows come out corrected and
// the rest stay as in the subject; the third file is never taken up.
TEST_F(WholeJob, EscapeInTheMiddleOfAFileEndsTheBatch) {
    const Scene scene{.width = 5, .height = 8, .bits = 16};
    WriteWithLibtiff(folder / "card.tif", scene.White(false));
    for (const char* name : {"a.tif", "b.tif", "c.tif"}) WriteSubject(name, scene.Subjects(true));
    OpenWhite(folder / "card.tif");
    ChooseSubjects();
    Click("ChkSelectAll");

    auto* bar = Get<QProgressBar>("PrgEqualize");
    auto* status = Get<QLabel>("TxtStatusSubject");
    constexpr int kLastWrittenRow = 3;
    QObject::connect(bar, &QProgressBar::valueChanged, [&](int value) {
        if (value == kLastWrittenRow && status->text() == "Saving file: b_eq.tif")
            QCoreApplication::postEvent(win.get(),
                                        new QKeyEvent(QEvent::KeyPress, Qt::Key_Escape, {}));
    });
    Process(out);

    EXPECT_TRUE(State().EqualizationCompleted);
    EXPECT_TRUE(dialogs.messages.empty());
    EXPECT_EQ(MarkOf("a.tif"), Mark::Check);
    EXPECT_EQ(MarkOf("b.tif"), Mark::None);
    EXPECT_EQ(MarkOf("c.tif"), Mark::None);
    const double target = scene.Target(1.0);
    EXPECT_EQ(ReadAll(out / "a_eq.tif"),
              ExpectedOutput(shoot / "a.tif", scene, target, scene.height));
    EXPECT_EQ(ReadAll(out / "b_eq.tif"),
              ExpectedOutput(shoot / "b.tif", scene, target, kLastWrittenRow + 1));
    EXPECT_FALSE(fs::exists(out / "c_eq.tif"));
    EXPECT_EQ(OpenDescriptorsOn(out / "b_eq.tif"), 0);
    EXPECT_FALSE(bar->isVisible());
    EXPECT_EQ(status->text(), "");
    ClickCell("b.tif", 2);
    EXPECT_EQ(Get<QLabel>("TxtResult")->text(), "");
}

// The steps the README gives a new user, on the shipped samples.
TEST_F(WholeJob, TheSamplesGoThroughTheWindow) {
    const fs::path samples = BRISAVANE_SOURCE_DIR "/samples";
    OpenWhite(samples / "white_card.tif");
    dialogs.folderAnswers.push_back(samples / "subjects");
    Click("BtnSubject");
    Click("ChkSelectAll");
    Process(out);
    EXPECT_TRUE(dialogs.messages.empty());
    for (const char* name : {"chart_16bit", "chart_16bit_big_endian"}) {
        SCOPED_TRACE(name);
        EXPECT_EQ(MarkOf(std::string(name) + ".tif"), Mark::Check);
        const std::string subject = ReadAll(samples / "subjects" / (std::string(name) + ".tif"));
        const std::string output = ReadAll(out / (std::string(name) + "_eq.tif"));
        EXPECT_EQ(output.size(), subject.size());
        EXPECT_NE(output, subject);  // the falloff was lifted
    }
}
}  // namespace

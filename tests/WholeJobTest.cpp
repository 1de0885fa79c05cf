// The whole job through the real window's widgets; dialogs answer with
// prepared paths.

#include <QDir>
#include <QLineEdit>
#include <QTableWidget>
#include <QTest>
#include <map>

#include "WindowFixture.h"
#include "support/BatchRig.h"
#include "support/FileHashes.h"
#include "support/ReferenceEqualize.h"
#include "support/RowMarkOf.h"

namespace {
namespace fs = std::filesystem;
using namespace testing_tiff;

// The level the amount gives between the card's brightest green, at its top
// left corner, and its darkest, at the opposite one.
double Target(const TiffSpec& card, double amount) {
    return ExpectedTarget(FullTarget(card), card.pixel(card.width - 1, card.height - 1).g, amount);
}

class WholeJob : public WindowFixture {
  protected:
    QTableWidget* list = nullptr;
    const fs::path shoot = folder / "shoot";
    const fs::path out = folder / "out";

    void SetUp() override {
        list = Get<QTableWidget>("LstSubject");
        fs::create_directories(shoot);
        fs::create_directories(out);
        Show();
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
    std::string Mark(const std::string& name) { return MarkOf(*list, Row(name)); }
};

struct RowOutcome {
    const char* name;
    const char* output;  // nullptr: none is written
    const char* mark;
    const char* message;
};

const RowOutcome kOutcomes[] = {
    {"a_little.tif", "a_little_eq.tif", "check", ""},
    {"b_big.tif", "b_big_eq.tif", "check", ""},
    {"c_small.tif", nullptr, "cross",
     "White and image files have different pixel dimensions. White: 6x4  Image: 5x4"},
    {"d_notes.tif", nullptr, "none", ""},
    {"e_unticked.tif", nullptr, "none", ""},
};

// Both byte orders in one batch; each depth and byte order goes through the
// batch itself in BatchTest.
TEST_F(WholeJob, OpenChooseTickProcessAndReadTheResults) {
    const TiffSpec card = Card(16, false);
    WriteTiff(folder / "card.tif", card);
    TiffSpec small = Scene();
    small.width = 5;
    const std::map<std::string, TiffSpec> subjects = {{"a_little.tif", Scene(16, true)},
                                                      {"b_big.tif", Scene(16, false)},
                                                      {"c_small.tif", small},
                                                      {"e_unticked.tif", Scene()}};
    for (const auto& [name, image] : subjects) WriteTiff(shoot / name, image);
    WriteFile(shoot / "d_notes.tif", "not a picture");
    WriteFile(shoot / "readme.txt", "not listed");
    const auto before = HashFolder(shoot);

    OpenWhite(folder / "card.tif");
    ASSERT_TRUE(dialogs.messages.empty());
    ChooseSubjects(shoot);
    ASSERT_EQ(list->rowCount(), static_cast<int>(std::size(kOutcomes)));
    ClickCell(Row("a_little.tif"), 1);
    Click("ChkSelectAll");
    ClickCell(Row("e_unticked.tif"), 1);
    auto* amount = Get<QLineEdit>("FldScale");
    amount->selectAll();
    QTest::keyClicks(amount, "80");
    ASSERT_TRUE(Get("BtnProcess")->isEnabled());

    Process(out);
    EXPECT_TRUE(dialogs.messages.empty());
    EXPECT_TRUE(State().EqualizationCompleted);
    EXPECT_FALSE(Get("BtnProcess")->isEnabled());
    EXPECT_FALSE(Get("PrgEqualize")->isVisible());
    EXPECT_EQ(Texts({"TxtStatusSubject", "ChkSelectAll"}), "\nUnselect All\n");
    const double target = Target(card, 0.8);
    EXPECT_EQ(HashFolder(shoot), before);   // no subject touched
    EXPECT_EQ(HashFolder(out).size(), 2u);  // a_little_eq.tif and b_big_eq.tif, read below
    for (const RowOutcome& o : kOutcomes) {
        SCOPED_TRACE(o.name);
        EXPECT_EQ(Mark(o.name), o.mark);
        ClickCell(Row(o.name), 2);
        EXPECT_EQ(Texts({"TxtResult"}), o.message + std::string("\n"));
        if (o.output) {
            EXPECT_EQ(ReadFile(out / o.output), ExpectedOutput(subjects.at(o.name), card, target));
        }
    }
}

// The steps the README gives a new user, on the shipped samples, with the
// tone map on; the window is left as a picture for a reviewer's eye.
TEST_F(WholeJob, TheSamplesGoThroughTheWindow) {
    const fs::path samples = BRISAVANE_SOURCE_DIR "/samples";
    OpenWhite(samples / "white_card.tif");
    ChooseSubjects(samples / "subjects");
    Click("ChkSelectAll");
    Click("ChkShowToneMap");
    Process(out);
    EXPECT_TRUE(dialogs.messages.empty());
    for (const std::string name : {"chart_16bit", "chart_16bit_big_endian"}) {
        SCOPED_TRACE(name);
        EXPECT_EQ(Mark(name + ".tif"), "check");
        const std::string subject = ReadFile(samples / "subjects" / (name + ".tif"));
        const std::string output = ReadFile(out / (name + "_eq.tif"));
        EXPECT_EQ(output.size(), subject.size());
        EXPECT_NE(output, subject);  // the falloff was lifted
    }
    QDir().mkpath(BRISAVANE_ARTIFACT_DIR);
    ASSERT_TRUE(win->grab().save(BRISAVANE_ARTIFACT_DIR "/window.png"));
}
}  // namespace

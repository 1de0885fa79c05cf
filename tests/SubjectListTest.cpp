#include <QCheckBox>
#include <QLabel>
#include <QPushButton>
#include <QTableWidget>
#include <QTest>

#include "FileTypes.h"
#include "WindowFixture.h"

namespace {
class SubjectListTest : public WindowFixture {
  protected:
    QTableWidget* list = nullptr;

    void SetUp() override { list = Get<QTableWidget>("LstSubject"); }

    // A folder with TIFFs among other files and a subfolder.
    std::filesystem::path MixedFolder() {
        const auto subjects = folder / "shoot";
        std::filesystem::create_directories(subjects / "inner.tif");
        for (const char* name : {"b.TIFF", "a.tif", "notes.txt", "c.jfx", "d.jpg", "e.tif"})
            std::ofstream(subjects / name) << "x";
        return subjects;
    }
    std::vector<std::string> Names() {
        std::vector<std::string> names;
        for (int row = 0; row < list->rowCount(); ++row) names.push_back(win->FileName(row));
        return names;
    }
};

TEST_F(SubjectListTest, ChoosingAFolderListsItsTiffsOnly) {
    State().ErrorMessages = {"old", "older"};
    State().EqualizationCompleted = true;
    Get<QLabel>("TxtResult")->setText("old result");
    ChooseSubjects(MixedFolder());
    EXPECT_EQ(dialogs.folderPrompts, std::vector<std::string>{"Select the image folder"});
    EXPECT_EQ(Names(), (std::vector<std::string>{"a.tif", "b.TIFF", "c.jfx", "e.tif"}));
    EXPECT_EQ(State().ErrorMessages, std::vector<std::string>(5, ""));
    EXPECT_FALSE(State().EqualizationCompleted);
    EXPECT_EQ(Get<QLabel>("TxtResult")->text(), "");
    EXPECT_EQ(Get<QLabel>("TxtSubjectFolder")->text(), "shoot");
    for (int row = 0; row < list->rowCount(); ++row) EXPECT_FALSE(win->Ticked(row));
    // A cancelled dialog forgets the folder but keeps the list.
    ChooseSubjects("");
    EXPECT_EQ(State().fsubject, nullptr);
    EXPECT_EQ(list->rowCount(), 4);
    EXPECT_EQ(Get<QLabel>("TxtSubjectFolder")->text(), "shoot");
    // A folder without TIFFs leaves one empty message.
    std::filesystem::create_directories(folder / "empty");
    ChooseSubjects(folder / "empty");
    EXPECT_EQ(list->rowCount(), 0);
    EXPECT_EQ(State().ErrorMessages, std::vector<std::string>{""});
}

TEST_F(SubjectListTest, ClicksOnTheTickBoxesDecideSubjectSelectedAndTheProcessButton) {
    Show();
    ChooseSubjects(MixedFolder());
    State().WhiteOpened = true;
    struct Step {
        int row;
        bool ticked;
        bool selected;
    };
    const Step steps[] = {{3, true, true}, {0, true, true}, {0, false, true}, {3, false, false}};
    for (const Step& s : steps) {
        ClickCell(s.row, 1);
        EXPECT_EQ(win->Ticked(s.row), s.ticked);
        EXPECT_EQ(State().SubjectSelected, s.selected) << s.row << s.ticked;
        EXPECT_EQ(Get("BtnProcess")->isEnabled(), s.selected);
    }
}

TEST_F(SubjectListTest, SelectAllTicksAndUnticksEveryRow) {
    auto* box = Get<QCheckBox>("ChkSelectAll");
    QTest::mouseClick(box, Qt::LeftButton);  // an empty list still flips the caption
    EXPECT_EQ(box->text(), "Unselect All");
    EXPECT_FALSE(State().SubjectSelected);
    QTest::mouseClick(box, Qt::LeftButton);
    ChooseSubjects(MixedFolder());
    State().WhiteOpened = true;
    struct Step {
        bool ticked;
        const char* caption;
    };
    for (const Step& s : {Step{true, "Unselect All"}, Step{false, "Select All"}}) {
        QTest::mouseClick(box, Qt::LeftButton);
        EXPECT_EQ(box->text(), s.caption);
        for (int row = 0; row < list->rowCount(); ++row)
            EXPECT_EQ(win->Ticked(row), s.ticked) << row;
        EXPECT_EQ(State().SubjectSelected, s.ticked);
        EXPECT_EQ(Get<QPushButton>("BtnProcess")->isEnabled(), s.ticked);
    }
    // A single tick leaves the box as it is.
    list->item(1, 1)->setCheckState(Qt::Checked);
    EXPECT_FALSE(box->isChecked());
    EXPECT_EQ(box->text(), "Select All");
}

TEST_F(SubjectListTest, ARowShowsItsMessageOnlyAfterABatch) {
    ChooseSubjects(MixedFolder());
    auto* result = Get<QLabel>("TxtResult");
    State().ErrorMessages = {"first", "second", "", "fourth", ""};
    list->selectRow(1);
    EXPECT_EQ(result->text(), "");  // no batch has ended
    State().EqualizationCompleted = true;
    list->selectRow(0);
    EXPECT_EQ(result->text(), "first");
    list->clearSelection();
    EXPECT_EQ(result->text(), "");
}

// The batch asks about rows by number: rows outside the list are none, and a
// mark on a row is no tick.
TEST_F(SubjectListTest, RowsOutsideTheListAreNoneAndAMarkIsNoTick) {
    ChooseSubjects(MixedFolder());
    EXPECT_FALSE(win->Ticked(-1));
    EXPECT_FALSE(win->Ticked(4));
    EXPECT_EQ(win->FileName(9), "");
    win->SetRowPicture(3, RowMark::Cross);
    win->SetRowPicture(7, RowMark::Cross);  // no such row: nothing happens
    EXPECT_FALSE(State().SubjectSelected);
}

// The first type a name matches decides, whatever the case of its extension.
TEST(FileTypesTest, TypeOfNamesTheFirstMatchingType) {
    const std::pair<const char*, const char*> cases[] = {
        {"chart.tif", "image/tiff"}, {"CHART.TIF", "image/tiff"},
        {"old.jfx", "image/tiff"},   {"notes.txt", "text"},
        {"card.tif.bak", ""},        {"tif", ""},
        {"chart.tifx", ""},          {"", ""},
    };
    for (const auto& [file, type] : cases)
        EXPECT_EQ(FileTypes::Instance().TypeOf(file), type) << file;
    EXPECT_EQ(FileTypes::Instance().Find("image/tiff")->Name, "image/tiff");
    EXPECT_EQ(FileTypes::Instance().Find("image/png"), nullptr);
}
}  // namespace

#include <QCheckBox>
#include <QLabel>
#include <QTableWidget>
#include <QTest>

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
    EXPECT_EQ(Texts({"TxtResult", "TxtSubjectFolder"}), "\nshoot\n");
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

// Each click on a row's tick box or on Select All, and what the list, the
// caption, SubjectSelected and the Process button show after it.
TEST_F(SubjectListTest, TickBoxesAndSelectAllDecideTheProcessButton) {
    Show();
    Click("ChkSelectAll");  // an empty list still flips the caption
    EXPECT_EQ(Texts({"ChkSelectAll"}), "Unselect All\n");
    EXPECT_FALSE(State().SubjectSelected);
    Click("ChkSelectAll");
    ChooseSubjects(MixedFolder());
    State().WhiteOpened = true;
    struct Step {
        int row;  // -1: Select All
        const char* ticks;
        const char* caption;
    };
    const Step steps[] = {{3, "0001", "Select All"},    {0, "1001", "Select All"},
                          {0, "0001", "Select All"},    {3, "0000", "Select All"},
                          {-1, "1111", "Unselect All"}, {-1, "0000", "Select All"},
                          {1, "0100", "Select All"}};  // a single tick leaves the box as it is
    for (const Step& s : steps) {
        if (s.row < 0)
            Click("ChkSelectAll");
        else
            ClickCell(s.row, 1);
        std::string ticks;
        for (int row = 0; row < list->rowCount(); ++row) ticks += win->Ticked(row) ? '1' : '0';
        const bool selected = ticks.find('1') != std::string::npos;
        EXPECT_EQ(ticks + " " + Texts({"ChkSelectAll"}),
                  s.ticks + std::string(" ") + s.caption + "\n");
        EXPECT_EQ(State().SubjectSelected, selected) << s.row << s.ticks;
        EXPECT_EQ(Get("BtnProcess")->isEnabled(), selected);
    }
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

}  // namespace

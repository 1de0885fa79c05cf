#pragma once

#include <gtest/gtest.h>

#include <QSettings>
#include <QTableWidget>
#include <QTest>
#include <QWidget>
#include <memory>

#include "FakeDialogs.h"
#include "MenuBar1.h"
#include "WinEqualize.h"
#include "support/TempFolder.h"
#include "support/TiffBuilder.h"

// A main window with prepared dialogs, and its controls by name; it starts
// with nothing kept from earlier sessions.
class WindowFixture : public ::testing::Test {
  protected:
    struct FreshSettings {
        FreshSettings() { QSettings().clear(); }
    } fresh;
    FakeDialogs dialogs;
    TempFolder folder;
    std::unique_ptr<WinEqualize> win = std::make_unique<WinEqualize>(new MenuBar1(), &dialogs);

    template <class T = QWidget>
    T* Get(const char* name) {
        T* control = win->findChild<T*>(name);
        EXPECT_NE(control, nullptr) << name;
        return control;
    }
    WindowState& State() { return win->State(); }
    // The texts of the named labels, fields and buttons, one a line, for a
    // whole-window check in one comparison.
    std::string Texts(std::initializer_list<const char*> names) {
        std::string all;
        for (const char* name : names)
            all += Get(name)->property("text").toString().toStdString() + "\n";
        return all;
    }

    void Show() {
        win->show();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(win.get()));
    }
    // As the user does it, with the dialogs answering the given path.
    void Click(const char* name) { QTest::mouseClick(Get(name), Qt::LeftButton); }
    void OpenWhite(const std::filesystem::path& path) {
        dialogs.openAnswers.push_back(path);
        Click("BtnWhite");
    }
    void ChooseSubjects(const std::filesystem::path& path) {
        dialogs.folderAnswers.push_back(path);
        Click("BtnSubject");
    }
    void ClickCell(int row, int column) {
        auto* list = Get<QTableWidget>("LstSubject");
        QTableWidgetItem* cell = list->item(row, column);
        list->scrollToItem(cell);
        QTest::mouseClick(list->viewport(), Qt::LeftButton, {},
                          list->visualItemRect(cell).center());
    }
};

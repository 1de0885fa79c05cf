#pragma once

#include <gtest/gtest.h>

#include <QWidget>
#include <memory>

#include "FakeDialogs.h"
#include "MenuBar1.h"
#include "WinEqualize.h"
#include "support/TempFolder.h"
#include "support/TiffBuilder.h"

// A main window with prepared dialogs, and its controls by name.
class WindowFixture : public ::testing::Test {
  protected:
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
};

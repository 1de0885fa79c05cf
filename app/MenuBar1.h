#pragma once

#include <QMenuBar>

class QAction;
class QLineEdit;

// The program's menu bar: File, then Edit, then Correction. Every item carries its name as
// object name and its AutoEnabled flag as the "AutoEnabled" property. Quit
// and the Edit items do what they do in any desktop program, the Edit items on
// the text field that has the focus; the About item is bound by the program,
// the Correction items by the window.
class MenuBar1 : public QMenuBar {
    Q_OBJECT
  public:
    explicit MenuBar1(QWidget* parent = nullptr);

    // The item of that name; nullptr when the bar has none.
    QAction* Item(const QString& name) const;

  private:
    void AddEditItem(QMenu* menu, const char* name, const char* caption, const char* shortcut,
                     void (*command)(QLineEdit& field));
};

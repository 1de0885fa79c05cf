#pragma once

#include <QWidget>
#include <span>

// How the window's controls are laid out: one row a control, in creation
// order, with window coordinates. A control inside a group box is placed
// relative to the box, which must come earlier in the table.
enum class ControlKind {
    PushButton,
    GroupBox,
    Listbox,
    Canvas,
    Label,
    TextField,
    CheckBox,
    ProgressBar
};

namespace ControlFlag {
constexpr unsigned Bold = 1u << 0;
constexpr unsigned Disabled = 1u << 1;
constexpr unsigned Hidden = 1u << 2;
constexpr unsigned RightAligned = 1u << 3;
constexpr unsigned Multiline = 1u << 4;
constexpr unsigned Ticked = 1u << 5;
}  // namespace ControlFlag

struct ControlSpec {
    const char* name;
    ControlKind kind;
    const char* group;  // nullptr: directly on the window
    const char* text;
    int left, top, width, height;
    unsigned flags;
};

// Makes every control of the table on client, named after its row; a Listbox
// is a QTableWidget, a Canvas a PictureCanvas, a Label a QLabel, a TextField a
// QLineEdit. Controls that aren't bold get the plain font even inside a bold
// group box.
void CreateControls(QWidget* client, std::span<const ControlSpec> table);

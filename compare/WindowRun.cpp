// Runs the whole job once in the real main window and prints what the window
// shows, for compare/same_outputs.py to compare between two builds:
//
//     brisavane-window-run CARD SUBJECT_DIR OUTPUT_DIR [AMOUNT_TEXT]
//                          [--no-previews] [--pictures DIR]
//
// The window runs on Qt's offscreen platform unless the environment asks for
// another; its dialogs answer with the given paths, and a save dialog (an
// output already there) with a cancel. Open the card, Choose the folder, tick
// Select All, type the amount into the field as a user does (so its key
// handler runs), Process. Printed: the message boxes, the card's labels and a
// line a list row: index, name, mark (check, cross or none) and message, tab
// separated. --pictures also writes the state's previews as PNG files.

#include <QCheckBox>
#include <QLabel>
#include <QLineEdit>
#include <QTableWidget>
#include <QTest>
#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

#include "App.h"
#include "FakeDialogs.h"
#include "FileTypes.h"
#include "MenuBar1.h"
#include "PngFile.h"
#include "RowMarkOf.h"
#include "WinEqualize.h"

namespace {
namespace fs = std::filesystem;

struct Request {
    fs::path card, subjects, output, pictures;
    std::string amount;  // empty: the field is left as the window opens it
    bool previews = true;
};

bool Parse(int argc, char** argv, Request& request) {
    std::vector<std::string> positional;
    for (int i = 1; i < argc; ++i) {
        const std::string arg = argv[i];
        if (arg == "--no-previews")
            request.previews = false;
        else if (arg == "--pictures" && i + 1 < argc)
            request.pictures = argv[++i];
        else if (arg.starts_with("--"))
            return false;
        else
            positional.push_back(arg);
    }
    if (positional.size() < 3 || positional.size() > 4) return false;
    request.card = fs::absolute(positional[0]);
    request.subjects = fs::absolute(positional[1]);
    request.output = fs::absolute(positional[2]);
    if (positional.size() == 4) request.amount = positional[3];
    return true;
}

// Texts go out one a line, whatever they hold.
std::string OneLine(QString text) {
    return text.replace('\\', "\\\\").replace('\n', "\\n").replace('\t', "\\t").toStdString();
}

template <class T = QWidget>
T* Control(WinEqualize& win, const char* name) {
    T* control = win.findChild<T*>(name);
    if (!control) {
        std::fprintf(stderr, "brisavane-window-run: the window has no %s\n", name);
        std::exit(1);
    }
    return control;
}

void Click(WinEqualize& win, const char* name) {
    QTest::mouseClick(Control(win, name), Qt::LeftButton);
}

void WritePictures(const WindowState& state, const fs::path& folder) {
    fs::create_directories(folder);
    const std::pair<const char*, const std::shared_ptr<Picture>&> pictures[] = {
        {"pwhite", state.pwhite},
        {"ptone", state.ptone},
        {"psubject", state.psubject},
        {"presult", state.presult}};
    for (const auto& [name, picture] : pictures)
        if (picture && !WritePng(*picture, (folder / (std::string(name) + ".png")).string()))
            std::fprintf(stderr, "brisavane-window-run: can't write %s.png\n", name);
}
}  // namespace

int main(int argc, char** argv) {
    Request request;
    if (!Parse(argc, argv, request)) {
        std::fprintf(stderr,
                     "usage: brisavane-window-run CARD SUBJECT_DIR OUTPUT_DIR [AMOUNT_TEXT]"
                     " [--no-previews] [--pictures DIR]\n");
        return 2;
    }
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
    FileTypes::Instance();
    // Qt sees the program's name alone, so no path given here is taken for one
    // of its own options.
    int qtArgc = 1;
    App app(qtArgc, argv);

    FakeDialogs dialogs;
    WinEqualize win(new MenuBar1(), &dialogs);
    win.show();
    if (!QTest::qWaitForWindowExposed(&win)) {
        std::fprintf(stderr, "brisavane-window-run: the window was never shown\n");
        return 1;
    }
    if (!request.previews) Click(win, "ChkShowPreviews");
    dialogs.openAnswers.push_back(request.card);
    Click(win, "BtnWhite");
    dialogs.folderAnswers.push_back(request.subjects);
    Click(win, "BtnSubject");
    Click(win, "ChkSelectAll");
    if (!request.amount.empty()) {
        auto* amount = Control<QLineEdit>(win, "FldScale");
        amount->selectAll();
        QTest::keyClicks(amount, QString::fromStdString(request.amount));
    }
    dialogs.folderAnswers.push_back(request.output);
    Click(win, "BtnProcess");

    for (const std::string& message : dialogs.messages)
        std::printf("message: %s\n", OneLine(QString::fromStdString(message)).c_str());
    for (const char* name : {"TxtInfoWhite", "TxtMaxVal", "TxtMaxLoc", "TxtStatusWhite"})
        std::printf("%s: %s\n", name, OneLine(Control<QLabel>(win, name)->text()).c_str());
    const auto* list = Control<QTableWidget>(win, "LstSubject");
    const std::vector<std::string>& messages = win.State().ErrorMessages;
    for (int row = 0; row < list->rowCount(); ++row) {
        const std::string message =
            static_cast<std::size_t>(row) < messages.size() ? messages[row] : std::string();
        std::printf("%d\t%s\t%s\t%s\n", row,
                    OneLine(QString::fromStdString(win.FileName(row))).c_str(), MarkOf(*list, row),
                    OneLine(QString::fromStdString(message)).c_str());
    }
    if (!request.pictures.empty()) WritePictures(win.State(), request.pictures);
    return std::fflush(stdout) == 0 ? 0 : 1;
}

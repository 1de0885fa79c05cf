#include "MenuBar1.h"

#include <QApplication>
#include <QLineEdit>

namespace {
QAction* Named(QAction* action, const char* name, bool autoEnabled) {
    action->setObjectName(name);
    action->setProperty("AutoEnabled", autoEnabled);
    return action;
}

QMenu* AddMenu(QMenuBar* bar, const char* name, const char* caption) {
    QMenu* menu = bar->addMenu(caption);
    menu->setObjectName(name);
    Named(menu->menuAction(), name, true);
    return menu;
}

void AddSeparator(QMenu* menu, const char* name, bool autoEnabled) {
    QAction* separator = Named(menu->addSeparator(), name, autoEnabled);
    separator->setText("-");
}
}  // namespace

MenuBar1::MenuBar1(QWidget* parent) : QMenuBar(parent) {
    QMenu* file = AddMenu(this, "FileMenu", "&File");
    QAction* about = Named(file->addAction("About Brisavane..."), "AppleAboutBrisavane", true);
    about->setMenuRole(QAction::AboutRole);
    AddSeparator(file, "UntitledSeparator", false);
    QAction* quit = Named(file->addAction("&Quit"), "FileQuit", true);
    quit->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_Q));
    quit->setMenuRole(QAction::QuitRole);
    connect(quit, &QAction::triggered, qApp, [] {
        QApplication::closeAllWindows();
        QCoreApplication::quit();
    });

    QMenu* edit = AddMenu(this, "EditMenu", "&Edit");
    AddEditItem(edit, "EditUndo", "&Undo", "Ctrl+Z", [](QLineEdit& f) { f.undo(); });
    AddSeparator(edit, "UntitledMenu1", true);
    AddEditItem(edit, "EditCut", "Cu&t", "Ctrl+X", [](QLineEdit& f) { f.cut(); });
    AddEditItem(edit, "EditCopy", "&Copy", "Ctrl+C", [](QLineEdit& f) { f.copy(); });
    AddEditItem(edit, "EditPaste", "&Paste", "Ctrl+V", [](QLineEdit& f) { f.paste(); });
    AddEditItem(edit, "EditClear", "&Delete", "", [](QLineEdit& f) { f.del(); });
    AddSeparator(edit, "UntitledMenu0", true);
    AddEditItem(edit, "EditSelectAll", "Select &All", "Ctrl+A",
                [](QLineEdit& f) { f.selectAll(); });

    // What the window does beyond its own correction; the window binds them.
    QMenu* correction = AddMenu(this, "CorrectionMenu", "&Correction");
    Named(correction->addAction("Correction Options\u2026"), "CorrectionOptions", true);
    Named(correction->addAction("Card Report\u2026"), "CardReport", true)->setEnabled(false);
    Named(correction->addAction("Open Card Folder\u2026"), "OpenCardFolder", true);
}

void MenuBar1::AddEditItem(QMenu* menu, const char* name, const char* caption, const char* shortcut,
                           void (*command)(QLineEdit& field)) {
    QAction* item = Named(menu->addAction(caption), name, true);
    item->setShortcut(QKeySequence(shortcut));
    // The Edit commands act on the text field that has the focus, if any.
    connect(item, &QAction::triggered, this, [command] {
        if (auto* field = qobject_cast<QLineEdit*>(QApplication::focusWidget())) command(*field);
    });
}

QAction* MenuBar1::Item(const QString& name) const {
    for (QAction* action : findChildren<QAction*>())
        if (action->objectName() == name) return action;
    return nullptr;
}

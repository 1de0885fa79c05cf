#pragma once

#include <QApplication>
#include <QPointer>
#include <cstdint>
#include <functional>
#include <string>

#include "MenuBar1.h"
#include "Version.h"

class WinEqualize;

// The application: its version data, its menu bar, the splash at start and
// the About item. Exceptions that no handler caught end here.
class App : public QApplication {
    Q_OBJECT
  public:
    App(int& argc, char** argv);
    ~App() override;

    static constexpr int MajorVersion = kBrisavaneVersionMajor;
    static constexpr int MinorVersion = kBrisavaneVersionMinor;
    static constexpr int BugVersion = kBrisavaneVersionPatch;
    static std::string Version() { return kBrisavaneVersion; }
    static std::string Copyright() { return "\u00a9 The Brisavane developers"; }

    // Units of 1/60 s since the program started.
    static std::int64_t Ticks();

    MenuBar1* MenuBar() const { return menuBar_; }
    // Binds a menu item, by its name, to a handler.
    void AddMenuHandler(const QString& name, std::function<bool()> handler);
    // Makes the default window, once the event loop is ready.
    WinEqualize* DefaultWindow();

    // The splash: the About window for the given ticks, the program staying
    // responsive meanwhile, then closed.
    void Event_Open(std::int64_t ticks = 240);
    bool AppleAboutBrisavane_Action();

    bool notify(QObject* receiver, QEvent* event) override;

  private:
    QPointer<MenuBar1> menuBar_;
    QPointer<WinEqualize> window_;
};

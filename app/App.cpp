#include "App.h"

#include <QElapsedTimer>
#include <QEventLoop>
#include <QMessageBox>
#include <QTimer>

#include "WinAbout.h"
#include "WinEqualize.h"

namespace {
constexpr std::int64_t kMillisecondsPerSecond = 1000;
constexpr std::int64_t kTicksPerSecond = 60;

QElapsedTimer& Clock() {
    static QElapsedTimer clock = [] {
        QElapsedTimer started;
        started.start();
        return started;
    }();
    return clock;
}
}  // namespace

App::App(int& argc, char** argv) : QApplication(argc, argv), menuBar_(new MenuBar1()) {
    Clock();
    setApplicationName("Brisavane");
    setOrganizationName("Brisavane");
    setApplicationVersion(QString::fromStdString(Version()));
    // The program ends with its last window from the first activation on.
    connect(this, &QGuiApplication::applicationStateChanged, this, [this](Qt::ApplicationState s) {
        if (s == Qt::ApplicationActive) setQuitOnLastWindowClosed(true);
    });
}

App::~App() {
    delete window_;
    delete menuBar_;
}

std::int64_t App::Ticks() {
    return Clock().elapsed() * kTicksPerSecond / kMillisecondsPerSecond;
}

void App::AddMenuHandler(const QString& name, std::function<bool()> handler) {
    if (QAction* item = menuBar_ ? menuBar_->Item(name) : nullptr)
        connect(item, &QAction::triggered, this, [handler] { handler(); });
}

WinEqualize* App::DefaultWindow() {
    if (!window_) window_ = new WinEqualize(menuBar_);
    return window_;
}

void App::Event_Open(std::int64_t ticks) {
    const QPointer<WinAbout> splash = WinAbout::Instance();
    splash->show();
    const std::int64_t start = Ticks();
    QEventLoop wait;
    QTimer poll;
    connect(&poll, &QTimer::timeout, &wait, [&] {
        if (Ticks() - start >= ticks) wait.quit();
    });
    poll.start(1000 / kTicksPerSecond);
    wait.exec();
    if (splash) splash->close();
}

bool App::AppleAboutBrisavane_Action() {
    WinAbout* about = WinAbout::Instance();
    about->show();
    about->raise();
    return false;
}

// An exception that escaped every handler is shown, and the program goes on:
// letting it into the event loop would end the program.
bool App::notify(QObject* receiver, QEvent* event) {
    try {
        return QApplication::notify(receiver, event);
    } catch (const std::exception& e) {
        QMessageBox::warning(nullptr, QString(), QString("Error: ") + e.what());
    }
    return false;
}

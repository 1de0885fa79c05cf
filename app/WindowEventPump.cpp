#include "WindowEventPump.h"

#include <QCoreApplication>
#include <QKeyEvent>

namespace {
bool IsStopKey(const QKeyEvent& key) {
    if (key.key() == Qt::Key_Escape) return true;
    return key.key() == Qt::Key_Period && (key.modifiers() & Qt::ControlModifier);
}
}  // namespace

WindowEventPump::WindowEventPump(QObject* parent) : QObject(parent) {
    QCoreApplication::instance()->installEventFilter(this);
}

WindowEventPump::~WindowEventPump() {
    if (QCoreApplication::instance()) QCoreApplication::instance()->removeEventFilter(this);
}

void WindowEventPump::Begin() {
    running_ = true;
    cancelled_ = false;
}

void WindowEventPump::End() {
    running_ = false;
}

// Events the program posts to itself (a queued key, a deferred update) are
// delivered at every call. The window system is asked for its own only once a
// frame: asking costs more than correcting a row, and a long row pass calls
// this thousands of times a second, while nobody sees or types faster.
void WindowEventPump::DoEvents() {
    QCoreApplication::sendPostedEvents();
    if (sinceWindowEvents_.isValid() && sinceWindowEvents_.elapsed() < kFrameMilliseconds) return;
    QCoreApplication::processEvents();
    sinceWindowEvents_.start();
}

bool WindowEventPump::eventFilter(QObject* watched, QEvent* event) {
    if (running_ && event->type() == QEvent::KeyPress &&
        IsStopKey(*static_cast<QKeyEvent*>(event))) {
        cancelled_ = true;
        return true;
    }
    return QObject::eventFilter(watched, event);
}

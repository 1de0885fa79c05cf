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

void WindowEventPump::DoEvents() {
    QCoreApplication::processEvents();
}

bool WindowEventPump::eventFilter(QObject* watched, QEvent* event) {
    if (running_ && event->type() == QEvent::KeyPress &&
        IsStopKey(*static_cast<QKeyEvent*>(event))) {
        cancelled_ = true;
        return true;
    }
    return QObject::eventFilter(watched, event);
}

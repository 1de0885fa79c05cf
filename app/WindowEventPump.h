#pragma once

#include <QElapsedTimer>
#include <QObject>

#include "Dialogs.h"

// The user's request to stop a long operation: Escape, or Ctrl+. (Cmd+. on a
// Mac), pressed anywhere in the program while the operation runs. The keys
// arrive through DoEvents, which the operation calls as it goes.
class WindowEventPump final : public QObject, public EventPump {
    Q_OBJECT
  public:
    explicit WindowEventPump(QObject* parent = nullptr);
    ~WindowEventPump() override;

    // Brackets the running operation: a stop key counts only in between.
    void Begin();
    void End();

    bool UserCancelled() override { return cancelled_; }
    void DoEvents() override;

  protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

  private:
    static constexpr qint64 kFrameMilliseconds = 15;

    QElapsedTimer sinceWindowEvents_;  // since the window system was last asked
    bool running_ = false;
    bool cancelled_ = false;
};

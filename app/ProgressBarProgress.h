#pragma once

#include <QPointer>
#include <QProgressBar>

#include "Progress.h"

// A long operation's progress shown on one of the window's progress bars.
// Maxima beyond the bar's int range are scaled down to fit.
class ProgressBarProgress final : public Progress {
  public:
    explicit ProgressBarProgress(QProgressBar* bar) : bar_(bar) {}

    void SetMaximum(std::int64_t maximum) override;
    void SetValue(double value) override;
    void SetVisible(bool visible) override;
    void Refresh() override;

  private:
    QPointer<QProgressBar> bar_;
    double factor_ = 1.0;
};

#include "ProgressBarProgress.h"

#include <algorithm>
#include <limits>

namespace {
constexpr double kIntMax = std::numeric_limits<int>::max();
}

void ProgressBarProgress::SetMaximum(std::int64_t maximum) {
    if (!bar_) return;
    const double wanted = static_cast<double>(std::max<std::int64_t>(maximum, 0));
    factor_ = wanted > kIntMax ? kIntMax / wanted : 1.0;
    bar_->setMaximum(static_cast<int>(wanted * factor_));
}

void ProgressBarProgress::SetValue(double value) {
    if (!bar_) return;
    const double scaled = std::clamp(value * factor_, 0.0, static_cast<double>(bar_->maximum()));
    bar_->setValue(static_cast<int>(scaled));
}

void ProgressBarProgress::SetVisible(bool visible) {
    if (bar_) bar_->setVisible(visible);
}

// The bar repaints itself at once whenever its drawn length changes, so there
// is nothing left to push here; repainting on every row would only slow a
// long scan down.
void ProgressBarProgress::Refresh() {}

#include "TerminalHost.h"

// The bar's value is the row just written, counted from 0.
void TerminalHost::SetValue(double value) {
    if (!terminal_ || maximum_ <= 0) return;
    const int percent = static_cast<int>((value + 1.0) * 100.0 / static_cast<double>(maximum_));
    if (percent == shown_) return;
    shown_ = percent;
    const std::lock_guard<std::mutex> hold(lock_);
    *terminal_ << "\r\033[K" << name_ << ": " << percent << "%" << std::flush;
}

void TerminalHost::SetVisible(bool visible) {
    if (!terminal_ || visible) return;
    const std::lock_guard<std::mutex> hold(lock_);
    *terminal_ << "\r\033[K" << std::flush;
}

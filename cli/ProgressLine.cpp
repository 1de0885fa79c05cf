#include "ProgressLine.h"

#include <algorithm>
#include <cstdio>

namespace {
constexpr auto kRedrawEvery = std::chrono::milliseconds(100);
// Estimates from less than this are mostly noise.
constexpr auto kEstimateAfter = std::chrono::seconds(1);

// "1:05" or "2:01:05"
std::string Duration(std::int64_t seconds) {
    char text[32];
    const auto h = seconds / 3600, m = seconds / 60 % 60, s = seconds % 60;
    if (h > 0)
        std::snprintf(text, sizeof text, "%lld:%02lld:%02lld", static_cast<long long>(h),
                      static_cast<long long>(m), static_cast<long long>(s));
    else
        std::snprintf(text, sizeof text, "%lld:%02lld", static_cast<long long>(m),
                      static_cast<long long>(s));
    return text;
}
}  // namespace

ProgressLine::ProgressLine(std::ostream* terminal, std::size_t files,
                           std::function<Clock::time_point()> now)
    : terminal_(terminal),
      files_(files),
      now_(std::move(now)),
      start_(now_()),
      drawnAt_(start_ - kRedrawEvery) {}

void ProgressLine::Rows(std::size_t file, const std::string& name, std::int64_t done,
                        std::int64_t rows) {
    if (!terminal_ || rows <= 0) return;
    const std::lock_guard<std::mutex> hold(lock_);
    running_[file] = static_cast<double>(std::min(done, rows)) / static_cast<double>(rows);
    const Clock::time_point now = now_();
    if (now - drawnAt_ < kRedrawEvery) return;
    drawnAt_ = now;
    onScreen_ = true;
    *terminal_ << "\r\033[K" << finished_ << " of " << files_ << " files done  " << name << ": row "
               << std::min(done, rows) << " of " << rows << TimeLeft(now) << std::flush;
}

void ProgressLine::Finished(std::size_t file) {
    if (!terminal_) return;
    const std::lock_guard<std::mutex> hold(lock_);
    running_.erase(file);
    ++finished_;
}

void ProgressLine::Above(const std::function<void()>& print) {
    const std::lock_guard<std::mutex> hold(lock_);
    Erase();
    print();
}

void ProgressLine::Clear() {
    const std::lock_guard<std::mutex> hold(lock_);
    Erase();
}

void ProgressLine::Erase() {
    if (!onScreen_) return;
    *terminal_ << "\r\033[K" << std::flush;
    onScreen_ = false;
}

// What is left, from the pace so far: finished files and the done share of
// the files in work against all files.
std::string ProgressLine::TimeLeft(Clock::time_point now) const {
    const auto elapsed = now - start_;
    double done = static_cast<double>(finished_);
    for (const auto& [file, share] : running_) done += share;
    if (elapsed < kEstimateAfter || done <= 0.0) return "";
    const double seconds = std::chrono::duration<double>(elapsed).count() *
                           (static_cast<double>(files_) - done) / done;
    return "  about " + Duration(static_cast<std::int64_t>(seconds + 0.5)) + " left";
}

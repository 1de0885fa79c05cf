#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <ostream>
#include <string>

// The one progress line of an equalize run on a terminal: files done of all,
// the rows of the file in work and the time left, redrawn at most ten times a
// second so that a fast run isn't slowed by its own display. Jobs report to it
// from their threads. Without a terminal it does nothing.
class ProgressLine {
  public:
    using Clock = std::chrono::steady_clock;

    ProgressLine(std::ostream* terminal, std::size_t files,
                 std::function<Clock::time_point()> now = Clock::now);

    // File number `file` (counted in the order given) has `done` of its `rows`.
    void Rows(std::size_t file, const std::string& name, std::int64_t done, std::int64_t rows);
    void Finished(std::size_t file);
    // Takes the line off the screen while print writes a result line; the
    // next report draws it again.
    void Above(const std::function<void()>& print);
    void Clear();

  private:
    void Erase();
    std::string TimeLeft(Clock::time_point now) const;

    std::ostream* terminal_;  // nil when nobody watches
    std::size_t files_;
    std::function<Clock::time_point()> now_;
    Clock::time_point start_;
    Clock::time_point drawnAt_;
    bool onScreen_ = false;
    std::size_t finished_ = 0;
    std::map<std::size_t, double> running_;  // share of its rows done, by file
    std::mutex lock_;
};

#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <thread>

// A thread that takes one part of a split piece of work while its owner does
// the other, for a core that would otherwise stand idle. Between parts it
// waits a little on the processor, since the next part usually comes within
// microseconds, and then sleeps.
class SecondThread {
  public:
    SecondThread();
    ~SecondThread();
    SecondThread(const SecondThread&) = delete;
    SecondThread& operator=(const SecondThread&) = delete;

    // Runs theirs on the second thread and ours on the calling one; returns
    // when both are done. Neither may throw.
    void Together(const std::function<void()>& theirs, const std::function<void()>& ours);

  private:
    void Serve();

    const std::function<void()>* task_ = nullptr;  // nil: the thread ends
    std::atomic<std::uint32_t> posted_{0};         // parts handed over
    std::atomic<std::uint32_t> done_{0};           // parts finished
    std::thread thread_;
};

#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <thread>

// A thread that takes a part of the work while its owner does another, for a
// core that would otherwise stand idle: one part of a row split in two, or
// the next row's card drawn while this row is worked on. Between parts it
// waits a little on the processor, since the next part usually comes within
// microseconds, and then sleeps.
class SecondThread {
  public:
    SecondThread();
    ~SecondThread();
    SecondThread(const SecondThread&) = delete;
    SecondThread& operator=(const SecondThread&) = delete;

    // Hands the task over, once the one before it is done, and returns at
    // once. The task may not throw.
    void Start(std::function<void()> task);
    // Returns when the task handed over last is done.
    void Wait();
    // Runs theirs on the second thread and ours on the calling one; returns
    // when both are done.
    void Together(std::function<void()> theirs, const std::function<void()>& ours);

  private:
    void Serve();

    std::function<void()> task_;
    bool stop_ = false;
    std::atomic<std::uint32_t> posted_{0};  // tasks handed over
    std::atomic<std::uint32_t> done_{0};    // the last one finished
    std::thread thread_;
};

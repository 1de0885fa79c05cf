#include "SecondThread.h"

namespace {
// Waits until value differs from seen: first on the processor, about as long
// as the steps between two parts take, then asleep. Gives the new value.
std::uint32_t WaitPast(const std::atomic<std::uint32_t>& value, std::uint32_t seen) {
    for (int spin = 0; spin < 5000; ++spin) {
        const std::uint32_t now = value.load(std::memory_order_acquire);
        if (now != seen) return now;
#if defined(__x86_64__)
        __builtin_ia32_pause();
#endif
    }
    value.wait(seen, std::memory_order_acquire);
    return value.load(std::memory_order_acquire);
}
}  // namespace

SecondThread::SecondThread() : thread_([this] { Serve(); }) {}

SecondThread::~SecondThread() {
    Wait();
    stop_ = true;
    posted_.fetch_add(1, std::memory_order_release);
    posted_.notify_one();
    thread_.join();
}

void SecondThread::Start(std::function<void()> task) {
    Wait();
    task_ = std::move(task);
    posted_.fetch_add(1, std::memory_order_release);
    posted_.notify_one();
}

void SecondThread::Wait() {
    const std::uint32_t part = posted_.load(std::memory_order_relaxed);
    for (std::uint32_t done = done_.load(std::memory_order_acquire); done != part;)
        done = WaitPast(done_, done);
}

void SecondThread::Together(std::function<void()> theirs, const std::function<void()>& ours) {
    Start(std::move(theirs));
    ours();
    Wait();
}

void SecondThread::Serve() {
    for (std::uint32_t seen = 0;;) {
        seen = WaitPast(posted_, seen);
        if (stop_) return;
        task_();
        done_.store(seen, std::memory_order_release);
        done_.notify_one();
    }
}

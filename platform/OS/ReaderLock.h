#pragma once

#include <atomic>
#include <mutex>
#include <thread>

// A lock of many short reads and rare writes: a read that meets no writer costs two atomic instructions. A
// writer keeps new readers out and waits for those that are in; a thread that reads must not lock again.
// For std::shared_lock and std::unique_lock. Any thread.
class ReaderLock
{
public:
    void lock_shared()
    {
        while ((state_.fetch_add(1, std::memory_order_acquire) & writing) != 0)
            [[unlikely]]
            {
                unlock_shared();
                const std::lock_guard untilTheWriterLeaves(writers_);
            }
    }
    void unlock_shared() { state_.fetch_sub(1, std::memory_order_release); }

    void lock()
    {
        writers_.lock();
        state_.fetch_or(writing, std::memory_order_relaxed);
        while (state_.load(std::memory_order_acquire) != writing)
            std::this_thread::yield();
    }
    void unlock()
    {
        state_.fetch_and(~writing, std::memory_order_release);
        writers_.unlock();
    }

private:
    static constexpr unsigned writing = 0x80000000u;

    std::atomic<unsigned> state_{0}; // the readers that are in or try, and whether a writer is
    std::mutex writers_;
};

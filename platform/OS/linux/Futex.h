#pragma once

#include <atomic>
#include <cstdint>
#include <ctime>

// The system's primitive below all waiting: sleep while a word holds a value. Private to the process.
// The words are 32-bit atomics, here by their address alone, so that every edge between threads is one of the C++
// memory model; the system calls add none.

using FutexWord = std::atomic<std::uint32_t>;

// A moment of the monotonic clock at which waiting ends.
class Deadline
{
public:
    // That many milliseconds from now; never, if negative.
    explicit Deadline(int timeoutMs) noexcept;

    // Null for never.
    const timespec* time() const noexcept { return never_ ? nullptr : &time_; }

private:
    bool never_;
    timespec time_{};
};

// Sleeps if the word holds `expected`, until woken. False if the deadline came first; true says nothing
// of the word, which is to be looked at again.
bool futexWait(const void* word, std::uint32_t expected, const Deadline& deadline) noexcept;

// Wakes up to `count` sleepers and gives how many. The word itself is not read: it may be gone.
int futexWake(const void* word, int count) noexcept;

// Has every running thread of the process pass a full memory barrier before it returns. False where the system
// doesn't do that.
bool barrierInAllThreads() noexcept;

// Sleeps for so long, whatever signals come.
void sleepForMs(unsigned timeMs) noexcept;

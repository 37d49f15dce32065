#include "OS/RecursiveLock.h"

#include "OS/linux/Futex.h"

#include <sys/syscall.h>
#include <unistd.h>

constinit thread_local std::uint32_t ThreadId::current_ = 0;

std::uint32_t ThreadId::assign() noexcept
{
    current_ = static_cast<std::uint32_t>(::syscall(SYS_gettid));
    return current_;
}

// The flag `contended` must stand whenever a thread may sleep. A thread that has slept can't know whether
// others still do, so it takes the lock with the flag set, at the price of one needless wake-up later.
//
// No wake-up is lost to a thread that gives up: it sets the flag before each sleep and gives up only when
// the sleep itself ran out of time, which is to say that no wake-up was spent on it.
bool RecursiveLock::waitAndEnter(std::uint32_t self, int timeoutMs) noexcept
{
    const Deadline deadline(timeoutMs);
    std::uint32_t found = word_.load(std::memory_order_relaxed);
    for (;;)
    {
        if (found == 0)
        {
            if (word_.compare_exchange_weak(found, self | contended, std::memory_order_acquire,
                                            std::memory_order_relaxed))
                return true;
            continue;
        }
        if ((found & contended) == 0 &&
            !word_.compare_exchange_weak(found, found | contended, std::memory_order_relaxed,
                                         std::memory_order_relaxed))
            continue;
        if (!futexWait(&word_, found | contended, deadline))
            return false;
        found = word_.load(std::memory_order_relaxed);
    }
}

void RecursiveLock::wakeOne(std::atomic<std::uint32_t>* word) noexcept
{
    futexWake(word, 1);
}

#include "OS/linux/Futex.h"

#include <cerrno>
#include <linux/futex.h>
#include <linux/membarrier.h>
#include <sys/syscall.h>
#include <unistd.h>

static_assert(sizeof(FutexWord) == sizeof(std::uint32_t) && FutexWord::is_always_lock_free);

Deadline::Deadline(int timeoutMs) noexcept : never_(timeoutMs < 0)
{
    if (never_)
        return;
    ::clock_gettime(CLOCK_MONOTONIC, &time_);
    time_.tv_sec += timeoutMs / 1000;
    time_.tv_nsec += timeoutMs % 1000 * 1'000'000L;
    if (time_.tv_nsec >= 1'000'000'000L)
    {
        ++time_.tv_sec;
        time_.tv_nsec -= 1'000'000'000L;
    }
}

// Locks are taken and left where callers still want the errno of their own calls.
bool futexWait(const void* word, std::uint32_t expected, const Deadline& deadline) noexcept
{
    const int callersErrno = errno;
    // The form with a bit set is the one that takes a moment instead of a duration.
    const long result = ::syscall(SYS_futex, word, FUTEX_WAIT_BITSET_PRIVATE, expected, deadline.time(), nullptr,
                                  FUTEX_BITSET_MATCH_ANY);
    const bool timedOut = result != 0 && errno == ETIMEDOUT;
    errno = callersErrno;
    return !timedOut;
}

int futexWake(const void* word, int count) noexcept
{
    const int callersErrno = errno;
    // Fails where the word's page is gone; then nobody sleeps on it.
    const long woken = ::syscall(SYS_futex, word, FUTEX_WAKE_PRIVATE, count);
    errno = callersErrno;
    return woken > 0 ? static_cast<int>(woken) : 0;
}

// A process asks for such barriers once before the first of them; its children inherit that.
bool barrierInAllThreads() noexcept
{
    const int callersErrno = errno;
    const auto call = [](int command) { return ::syscall(SYS_membarrier, command, 0, 0) == 0; };
    const bool passed = call(MEMBARRIER_CMD_PRIVATE_EXPEDITED) ||
                        (call(MEMBARRIER_CMD_REGISTER_PRIVATE_EXPEDITED) && call(MEMBARRIER_CMD_PRIVATE_EXPEDITED));
    errno = callersErrno;
    return passed;
}

void sleepForMs(unsigned timeMs) noexcept
{
    timespec left{timeMs / 1000, timeMs % 1000 * 1'000'000L};
    while (::clock_nanosleep(CLOCK_MONOTONIC, 0, &left, &left) == EINTR)
    {
    }
}

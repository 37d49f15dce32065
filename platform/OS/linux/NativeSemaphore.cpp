#include "OS/linux/NativeSemaphore.h"

#include "Mw/Assert.h"

#include <algorithm>
#include <climits>

NativeSemaphore::NativeSemaphore(int units) noexcept : units_(static_cast<std::uint32_t>(std::max(units, 0)))
{
    MW_ASSERT(units >= 0);
}

bool NativeSemaphore::acquire(int timeoutMs)
{
    if (take())
        return true;
    if (timeoutMs == 0)
        return false;
    const Deadline deadline(timeoutMs);
    units_.state.fetch_add(WaitedWord::oneWaiter, std::memory_order_relaxed);
    bool taken;
    do
        taken = take();
    while (!taken && futexWait(units_.word(), 0, deadline));
    taken = taken || take();
    units_.state.fetch_sub(WaitedWord::oneWaiter, std::memory_order_relaxed);
    return taken;
}

void NativeSemaphore::release(int units)
{
    MW_ASSERT(units > 0);
    if (units <= 0)
        return;
    std::uint64_t before = units_.state.load(std::memory_order_relaxed);
    std::uint32_t added;
    do
        added = std::min(static_cast<std::uint32_t>(units), INT_MAX - WaitedWord::value(before));
    while (!units_.state.compare_exchange_weak(before, before + added, std::memory_order_release,
                                               std::memory_order_relaxed));
    if (WaitedWord::waiters(before) != 0)
        futexWake(units_.word(), units);
}

bool NativeSemaphore::take() noexcept
{
    std::uint64_t found = units_.state.load(std::memory_order_relaxed);
    while (WaitedWord::value(found) != 0)
        if (units_.state.compare_exchange_weak(found, found - 1, std::memory_order_acquire, std::memory_order_relaxed))
            return true;
    return false;
}

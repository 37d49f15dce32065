#include "OS/linux/NativeEvent.h"

#include "OS/linux/EventWaits.h"

#include <climits>

iThreadEvent::eWaitRC NativeEvent::wait(int timeoutMs)
{
    if (take())
        return eWaitSuccess;
    if (timeoutMs == 0)
        return eWaitTimeout;
    const Deadline deadline(timeoutMs);
    enter();
    bool taken;
    do
        taken = take();
    while (!taken && futexWait(word(), 0, deadline));
    taken = taken || take();
    leave();
    return taken ? eWaitSuccess : eWaitTimeout;
}

void NativeEvent::set()
{
    const int count = kind_ == eAutoReset ? 1 : INT_MAX; // read now: the woken thread may destroy this
    // Release: who takes the event sees what was done before. Acquire: a waiter that is counted has
    // entered its record, if it has one. An event that is set already is written all the same, since
    // this thread's work is to be seen too.
    const std::uint64_t before = waited_.state.fetch_or(1, std::memory_order_acq_rel);
    if (WaitedWord::value(before) == 0 && WaitedWord::waiters(before) != 0)
        wakeSleepers(word(), count);
}

void NativeEvent::reset()
{
    waited_.state.fetch_and(~std::uint64_t{1}, std::memory_order_acq_rel);
}

bool NativeEvent::take() noexcept
{
    if (!isSet())
        return false;
    if (kind_ == eManualReset)
        return true;
    return WaitedWord::value(waited_.state.fetch_and(~std::uint64_t{1}, std::memory_order_acq_rel)) != 0;
}

void NativeEvent::leave() noexcept
{
    const std::uint64_t before = waited_.state.fetch_sub(WaitedWord::oneWaiter, std::memory_order_acq_rel);
    if (kind_ == eAutoReset && WaitedWord::value(before) != 0 && WaitedWord::waiters(before) > 1)
        wakeSleepers(word(), 1);
}

bool NativeEvent::waitUntilSet(const Deadline& deadline) noexcept
{
    enter();
    while (!isSet() && futexWait(word(), 0, deadline))
    {
    }
    const bool set = isSet();
    leave();
    return set;
}

#include "misc/threads/ServiceLock.h"

#include "OS/Debugger.h"
#include "OS/OS.h"
#include "libmw/CriticalSection.h"

#include <atomic>

namespace
{

std::atomic<int> waiting{0};
std::atomic<int> entered{0};

constinit CriticalSection serviceLock("service");

} // namespace

void service_disable()
{
    waiting.fetch_add(1, std::memory_order_relaxed);
    serviceLock.enter();
    waiting.fetch_sub(1, std::memory_order_relaxed);
    entered.fetch_add(1, std::memory_order_relaxed);
}

void service_enable()
{
    serviceLock.leave();
}

std::uint32_t who_owns_service_lock()
{
    return serviceLock.owner();
}

ServiceLockCounts service_lock_counts() noexcept
{
    return {waiting.load(std::memory_order_relaxed), entered.load(std::memory_order_relaxed)};
}

std::int64_t service_get_msecs()
{
    return static_cast<std::int64_t>(service_get_msecs_precise());
}

double service_get_msecs_precise()
{
    return OS().debugger().getPreciseTimeMs();
}

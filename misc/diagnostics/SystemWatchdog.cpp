#include "misc/diagnostics/SystemWatchdog.h"

#include "Mw/Assert.h"

#include <atomic>

namespace SystemWatchdog
{

namespace
{

std::atomic<int> depth{0};

} // namespace

void beginLifeSupport() noexcept
{
    depth.fetch_add(1, std::memory_order_relaxed);
}

void endLifeSupport() noexcept
{
    int before = depth.load(std::memory_order_relaxed);
    while (before > 0 && !depth.compare_exchange_weak(before, before - 1, std::memory_order_relaxed))
    {
    }
    MW_ASSERT(before > 0);
}

bool isOnLifeSupport() noexcept
{
    return depth.load(std::memory_order_relaxed) > 0;
}

} // namespace SystemWatchdog

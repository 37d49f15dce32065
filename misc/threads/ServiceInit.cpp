#include "misc/settings/config.h"
#include "misc/threads/ServiceLock.h"

#include <atomic>

// Apart from the lock, which stands below the settings.

namespace
{

std::atomic<bool> isInitialised{false};
std::atomic<int> disablePin{-1};

} // namespace

void service_init()
{
    if (!isInitialised.exchange(true))
        disablePin.store(config_int("disable_pin", -1), std::memory_order_relaxed);
}

int service_disable_pin() noexcept
{
    return disablePin.load(std::memory_order_relaxed);
}

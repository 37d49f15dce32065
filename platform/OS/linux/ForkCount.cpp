#include "OS/ForkCount.h"

#include <atomic>
#include <pthread.h>

namespace
{

std::atomic<unsigned> theForkCount{0};

} // namespace

unsigned forkCount() noexcept
{
    [[maybe_unused]] static const int registered =
        ::pthread_atfork(nullptr, nullptr, [] { theForkCount.fetch_add(1, std::memory_order_relaxed); });
    return theForkCount.load(std::memory_order_relaxed);
}

#include "OS/ForkCount.h"

#include <pthread.h>

constinit std::atomic<unsigned> theForkCount{0};

namespace
{

// When the library is loaded: there is no state to share before.
[[maybe_unused]] const int registered =
    ::pthread_atfork(nullptr, nullptr, [] { theForkCount.fetch_add(1, std::memory_order_relaxed); });

} // namespace

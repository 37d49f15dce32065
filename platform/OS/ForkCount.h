#pragma once

#include "OS/Export.h"

#include <atomic>

extern OS_API std::atomic<unsigned> theForkCount;

// How often this process was forked off since the library was loaded in it or a forebear: 0 for a process
// that began with exec. State that a parent and its child must not both use (random numbers in stock,
// counters of identities) is stamped with it and renewed when it has changed. Any thread.
inline unsigned forkCount() noexcept
{
    return theForkCount.load(std::memory_order_relaxed);
}

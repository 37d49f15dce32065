#pragma once

#include "bench/queue.h"

#include <atomic>

// The same cases for all sides, which are pools of two threads: `start` has `call` called on one of them.

namespace bench::tasks
{

inline constexpr const char* idle[] = {"tasks/queue and run, idle", "tasks/queue and run, idle, one processor"};
inline constexpr const char* fullRate = "tasks/queue and run, full rate";

// Those that the tasks of all sides make.
using Calls = queue::Calls<std::atomic<std::size_t>>;
inline Calls* calls = nullptr;

template <class Start>
void add(Registry& registry, Role role, const char* name, Start start)
{
    queue::addHandOff<Calls>(registry, fullRate, idle, role, name,
                             [start](Calls& expected)
                             {
                                 calls = &expected;
                                 start();
                             });
}

} // namespace bench::tasks

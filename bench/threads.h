#pragma once

#include "bench/harness/Registry.h"

#include <functional>

// The cases of co-processes, for the files that add peers to them.

namespace bench::threads
{

inline constexpr const char* ownId = "tasks/co_pid";
inline constexpr const char* ownObject = "tasks/thread-local object";
inline constexpr const char* mainObject = "tasks/thread-local object, main thread";

// Runs a function on a co-process that stays for all of them, and waits for it.
void onCoProcess(const std::function<void()>& function);

// Adds a side to the two cases of objects, one of which runs on a co-process. `make` makes the thread's objects.
template <class Make, class Operation>
void addObject(Registry& registry, Role role, const char* name, Make make, Operation operation)
{
    const auto batch = [=](std::size_t count)
    {
        make();
        for (; count != 0; --count)
            operation();
    };
    registry.add(mainObject, {role, name, batch});
    registry.add(ownObject, {role, name, [=](std::size_t count) { onCoProcess([&] { batch(count); }); }});
}

} // namespace bench::threads

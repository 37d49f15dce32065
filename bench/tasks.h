#pragma once

#include "bench/queue.h"

#include <atomic>

// The same cases for all sides, which are pools of two threads: `start` has `call` called on one of them.

namespace bench::tasks
{

inline constexpr const char* idle = "tasks/queue and run, idle";
inline constexpr const char* fullRate = "tasks/queue and run, full rate";

// Wakes who waits once the expected calls were made, by whatever threads.
class Calls
{
public:
    void expect(std::size_t calls) { left_.store(static_cast<long>(calls), std::memory_order_relaxed); }
    void await() { done_.acquire(); }

    void one()
    {
        if (left_.fetch_sub(1, std::memory_order_acq_rel) == 1)
            done_.release();
    }

private:
    std::atomic<long> left_{0};
    std::binary_semaphore done_{0};
};

inline Calls calls;

template <class Start>
void add(Registry& registry, Role role, const char* name, Start start)
{
    registry.add(fullRate, {role, name,
                            [=](std::size_t tasks)
                            {
                                calls.expect(tasks);
                                for (; tasks != 0; --tasks)
                                    start();
                                calls.await();
                            }});
    registry.add(idle, {role, name,
                        [=](std::size_t tasks)
                        {
                            for (; tasks != 0; --tasks)
                            {
                                calls.expect(1);
                                start();
                                calls.await();
                            }
                        }});
}

} // namespace bench::tasks

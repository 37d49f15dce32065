#pragma once

#include "bench/harness/Keep.h"
#include "bench/harness/Registry.h"

#include <cstddef>
#include <semaphore>

// The same cases for all sides. A side that runs in place is a way to queue a call with a priority and one to run
// all that is queued; a side that hands off is a way to give a call to a thread.

namespace bench::queue
{

inline constexpr const char* inOrder[] = {"queue/insert and run", "queue/insert and run, no lock of ours"};
inline constexpr const char* byPriority[] = {"queue/insert and run, 8 priorities",
                                             "queue/insert and run, 8 priorities, no lock of ours"};
inline constexpr const char* fullRate = "queue/hand off, full rate";
inline constexpr const char* idle = "queue/hand off and back, idle";

inline constexpr std::size_t batchSize = 64;

// Of the n-th command of a batch.
inline constexpr unsigned priority(std::size_t n)
{
    return static_cast<unsigned>(n * 5 % 8);
}

// What the queued calls do.
inline void count(long& runs)
{
    ++runs;
    keep(runs);
}

template <class Insert, class RunAll>
void addInPlace(Registry& registry, const char* caseName, Role role, const char* name, Insert insert, RunAll runAll)
{
    registry.add(caseName, {role, name,
                            [=](std::size_t commands)
                            {
                                for (; commands >= batchSize; commands -= batchSize)
                                {
                                    for (std::size_t n = 0; n < batchSize; ++n)
                                        insert(priority(n));
                                    runAll();
                                }
                            }});
}

// Calls that are to be made on another thread.
class Calls
{
public:
    // So many will come; `await` waits until the last one was made.
    void expect(std::size_t calls) { left_ = calls; }
    void await() { done_.acquire(); }

    void one()
    {
        if (--left_ == 0)
            done_.release();
    }

private:
    std::size_t left_ = 0;
    std::binary_semaphore done_{0};
};

// `handOff` has `calls.one()` called by its thread.
template <class HandOff>
void addHandOff(Registry& registry, Role role, const char* name, HandOff handOff)
{
    static Calls calls;
    registry.add(fullRate, {role, name,
                            [=](std::size_t commands)
                            {
                                calls.expect(commands);
                                for (; commands != 0; --commands)
                                    handOff(calls);
                                calls.await();
                            }});
    registry.add(idle, {role, name,
                        [=](std::size_t commands)
                        {
                            for (; commands != 0; --commands)
                            {
                                calls.expect(1);
                                handOff(calls);
                                calls.await();
                            }
                        }});
}

} // namespace bench::queue

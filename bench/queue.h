#pragma once

#include "bench/harness/Keep.h"
#include "bench/harness/Processors.h"
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
inline constexpr const char* idle[] = {"queue/hand off and back, idle", "queue/hand off and back, idle, one processor"};

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

// Calls that are to be made by other threads, on a processor of theirs or on that of the thread that waits.
template <class Count>
class Calls
{
public:
    explicit Calls(int processor = 1) : processor_(processor) {}

    // So many will come; `await` waits until the last one was made.
    void expect(std::size_t calls) { left_ = calls; }
    void await() { done_.acquire(); }

    void one()
    {
        stayOn(processor_);
        if (--left_ == 0)
            done_.release();
    }

private:
    const int processor_;
    Count left_{0};
    std::binary_semaphore done_{0};
};

using OneThreadCalls = Calls<std::size_t>;

// Hands so many calls over and waits until they were made.
template <class Calls, class HandOff>
void handOver(Calls& calls, std::size_t count, HandOff& handOff)
{
    calls.expect(count);
    for (; count != 0; --count)
        handOff(calls);
    calls.await();
}

// Adds a side to a case of many calls on another processor, and to those of one call there and on the same one.
// `handOff` has `calls.one()` called by another thread.
template <class Calls, class HandOff>
void addHandOff(Registry& registry, const char* fullRateCase, const char* const (&idleCases)[2], Role role,
                const char* name, HandOff handOff)
{
    static Calls calls[] = {Calls(1), Calls(0)};
    registry.add(fullRateCase, {role, name,
                                [=](std::size_t count)
                                {
                                    const Pinned pinned(0);
                                    handOver(calls[0], count, handOff);
                                }});
    for (int i = 0; i < 2; ++i)
        registry.add(idleCases[i], {role, name,
                                    [=](std::size_t count)
                                    {
                                        const Pinned pinned(0);
                                        for (; count != 0; --count)
                                            handOver(calls[i], 1, handOff);
                                    }});
}

// The same where one thread makes the calls.
template <class HandOff>
void addHandOff(Registry& registry, Role role, const char* name, HandOff handOff)
{
    addHandOff<OneThreadCalls>(registry, fullRate, idle, role, name, handOff);
}

} // namespace bench::queue

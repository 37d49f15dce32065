// Area queue: work that is done later, in place or by another thread.
//
// Workload: calls of a function of two instructions through a pointer. In place, 64 of them are queued and then
// run, in the order of arrival or with priorities that follow each other in no order; both sides of ours, with a
// lock and without one, stand beside the peers, which have one. Handed off, one thread queues and another runs:
// at full rate the time is that of a call among many; idle, it is from queueing to the call and from there back
// to the thread that waits for it, two wake-ups, of which the second is the same on all sides. The two threads have a
// processor each, and in a case of its own they share one, where a wake-up is a change of threads.

#include "bench/queue.h"

#include "misc/threads/WorkerThreadQueue.h"

namespace
{

template <class Safety>
class Counter : public MwDC::Receiver<MwDC::SmplCmd<MwDC::NoCtx, MwDC::NoTag, Safety>>
{
public:
    using Cmd = MwDC::SmplCmd<MwDC::NoCtx, MwDC::NoTag, Safety>;
    bool execute(Cmd&, MwDC::NoCtx&) override
    {
        bench::queue::count(runs_);
        return true;
    }

private:
    long runs_ = 0;
};

template <class Safety>
void addInPlace(bench::Registry& registry, const char* caseName, bool sorted)
{
    auto* const queue = new MwCmdProcessors::Queue<Safety, MwDC::NoCtx>(sorted);
    static Counter<Safety> counter;
    static const typename Counter<Safety>::Cmd command(counter);
    bench::queue::addInPlace(
        registry, caseName, bench::Role::ours, "ours", [queue](unsigned priority) { queue->insert(command, priority); },
        [queue] { queue->executeAll(); });
}

using Safe = MwDC::ThreadSafetyTraits::ThreadSafe;

class Caller : public MwDC::Receiver<MwDC::SmplCmd<MwDC::NoCtx, MwDC::NoTag, Safe>>
{
public:
    using Cmd = MwDC::SmplCmd<MwDC::NoCtx, MwDC::NoTag, Safe>;
    bool execute(Cmd&, MwDC::NoCtx&) override
    {
        calls_->one();
        return true;
    }
    bench::queue::OneThreadCalls* calls_ = nullptr;
};

void addHandOff(bench::Registry& registry)
{
    using Worker = MwCmdProcessors::WorkerThreadQueue<Safe, MwDC::NoCtx>;
    static const MwDC::NullCommand<MwDC::NoCtx, Safe> nothing;
    static auto& worker = *new Worker("bench", nothing, nothing, 0, 0, false);
    static Caller caller;
    static const Caller::Cmd command(caller);
    bench::queue::addHandOff(registry, bench::Role::ours, "ours",
                             [](bench::queue::OneThreadCalls& calls)
                             {
                                 caller.calls_ = &calls;
                                 worker.insert(command, 0, MwDC::NoCtx());
                             });
}

void declare(bench::Registry& registry)
{
    const double aims[] = {2.0, 1.3};
    for (int i = 0; i < 2; ++i)
    {
        registry.declare({bench::queue::inOrder[i],
                          i == 0 ? "Queues a command and runs it, first in first out."
                                 : "The same where ours is left to one thread.",
                          {{aims[i], bench::bestPeer}}});
        registry.declare({bench::queue::byPriority[i],
                          i == 0 ? "Queues a command with one of 8 priorities and runs it."
                                 : "The same where ours is left to one thread.",
                          {{aims[i], bench::bestPeer}}});
    }
    registry.declare({bench::queue::fullRate,
                      "Gives a command to a thread that is busy with others.",
                      {{2.5, "deque"}, {1.0, "GThreadPool"}, {1.0, "Qt queued call"}},
                      1,
                      bench::Clock::wall});
    for (const char* idle : bench::queue::idle)
        registry.declare({idle,
                          "Gives a command to a thread that sleeps, and sleeps until it was run.",
                          {{1.15, bench::bestPeer}},
                          1,
                          bench::Clock::wall});
}

const bench::Registration registration(
    [](bench::Registry& registry)
    {
        declare(registry);
        addInPlace<Safe>(registry, bench::queue::inOrder[0], false);
        addInPlace<Safe>(registry, bench::queue::byPriority[0], true);
        addInPlace<MwDC::ThreadSafetyTraits::NoLocking>(registry, bench::queue::inOrder[1], false);
        addInPlace<MwDC::ThreadSafetyTraits::NoLocking>(registry, bench::queue::byPriority[1], true);
        addHandOff(registry);
    });

} // namespace

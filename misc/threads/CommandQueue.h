#pragma once

#include "misc/threads/Decoupler.h"

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <list>
#include <utility>
#include <vector>

// Queues of commands that wait to be run.

namespace MwCmdProcessors
{

// What a queued command is run with.
template <class C, class Ctx>
struct CommandContextPair
{
    C cmd;
    Ctx context;
};

// Commands with priorities, run on demand by whoever calls one of the execute operations. The same command may
// stand in the queue twice. The queue owns the commands that wait.
//
// With ThreadSafe, any thread, several at once: each command is run by one of them. A command runs with no lock
// held, so it may insert into its own queue, run it and empty it. With NoLocking, one thread at a time.
template <class Safety, class Ctx>
class Queue
{
public:
    using Command = MwDC::Cmd<Ctx, Safety>;

    struct QueueItem
    {
        QueueItem(Command&& command, unsigned itsPriority) noexcept : cmd(std::move(command)), priority(itsPriority) {}

        Command cmd;
        unsigned priority; // a smaller number is more urgent

        // Whether the first is less urgent.
        struct priority_greater
        {
            bool operator()(const QueueItem& a, const QueueItem& b) const noexcept { return a.priority > b.priority; }
        };
    };

    // A sorted queue keeps its commands in the order of their priorities, those of one priority in the order of
    // arrival. Any other is first-in-first-out, and a priority is no more than stored.
    explicit Queue(bool sorted) noexcept : sorted_(sorted) {}
    virtual ~Queue() { flushAll(); }
    Queue(const Queue&) = delete;
    Queue& operator=(const Queue&) = delete;

    void insert(Command cmd, unsigned priority)
    {
        const BareEntry entry(safety_);
        if (sorted_)
            insertSorted(std::move(cmd), priority);
        else
            putBefore(items_.end(), std::move(cmd), priority);
    }

    // Runs the head, if there is one.
    void executeHead(Ctx& ctx) { executeNext(ctx); }

    // Runs from the head until the queue is empty: what is inserted meanwhile is run as well.
    void executeAll(Ctx& ctx) { executeWhile(Side::head, anyPriority, ctx); }

    // For sorted queues: runs from the head on what is as urgent as this priority, or more.
    void executePriorityAtLeast(unsigned priority, Ctx& ctx) { executeWhile(Side::head, atLeast(priority), ctx); }

    // For sorted queues: runs what is less urgent, from the tail backwards.
    void executePriorityLessThan(unsigned priority, Ctx& ctx) { executeWhile(Side::tail, lessThan(priority), ctx); }

    // The same with a context of their own.
    void executeHead()
    {
        withContext([this](Ctx& ctx) { executeHead(ctx); });
    }
    void executeAll()
    {
        withContext([this](Ctx& ctx) { executeAll(ctx); });
    }
    void executePriorityAtLeast(unsigned priority)
    {
        withContext([=, this](Ctx& ctx) { executePriorityAtLeast(priority, ctx); });
    }
    void executePriorityLessThan(unsigned priority)
    {
        withContext([=, this](Ctx& ctx) { executePriorityLessThan(priority, ctx); });
    }

    // Drop, without running it, what the operations above would run of what stands in the queue at one moment.
    void flushHead()
    {
        bool first = true;
        flushWhile(Side::head, [&first](unsigned) { return std::exchange(first, false); });
    }
    void flushAll() { flushWhile(Side::head, anyPriority); }
    void flushPriorityAtLeast(unsigned priority) { flushWhile(Side::head, atLeast(priority)); }
    void flushPriorityLessThan(unsigned priority) { flushWhile(Side::tail, lessThan(priority)); }

    bool isEmpty() const { return size() == 0; }
    std::size_t size() const
    {
        const BareEntry entry(safety_);
        return items_.size();
    }

protected:
    // Runs the head. False if there is none; touches nothing of the queue after the run, in which it may have gone.
    bool executeNext(Ctx& ctx)
    {
        Command cmd;
        if (!take(cmd, Side::head, anyPriority))
            return false;
        cmd.executeAndRelease(ctx);
        return true;
    }

private:
    using Items = std::list<QueueItem, Mw::PooledStdAllocator<QueueItem>>;
    using Place = typename Items::iterator;
    using BareEntry = MwDC::ThreadSafetyTraits::BareEntry<Safety>;
    using Entry = MwDC::ThreadSafetyTraits::Entry<Safety>;

    enum class Side
    {
        head,
        tail
    };

    static bool anyPriority(unsigned) noexcept { return true; }
    static auto atLeast(unsigned limit) noexcept
    {
        return [limit](unsigned priority) { return priority <= limit; };
    }
    static auto lessThan(unsigned limit) noexcept
    {
        return [limit](unsigned priority) { return priority > limit; };
    }

    template <class Operation>
    static void withContext(Operation operation)
    {
        Ctx ctx{};
        operation(ctx);
    }

    template <class Wanted>
    void executeWhile(Side side, Wanted wanted, Ctx& ctx)
    {
        for (Command cmd; take(cmd, side, wanted);)
            cmd.executeAndRelease(ctx);
    }

    // Takes one command out, if the one on that side is wanted. `cmd` is empty before.
    template <class Wanted>
    bool take(Command& cmd, Side side, Wanted wanted)
    {
        const Entry entry(safety_);
        if (items_.empty() || !wanted(at(side)->priority))
            return false;
        const Place place = at(side);
        cmd = std::move(place->cmd);
        leaveRun(place, side);
        drop(place);
        return true;
    }

    // Puts a command in front of an item, in a node that was used before if there is one.
    Place putBefore(Place behind, Command&& cmd, unsigned priority)
    {
        if (spares_.empty())
            return items_.emplace(behind, std::move(cmd), priority);
        const Place item = spares_.begin();
        item->cmd = std::move(cmd);
        item->priority = priority;
        items_.splice(behind, spares_, item);
        return item;
    }

    // Takes an item out, whose command is moved away already.
    void drop(Place item) noexcept
    {
        if (spares_.size() < maxSpares)
            spares_.splice(spares_.begin(), items_, item);
        else
            items_.erase(item);
    }

    // The commands themselves go when the lock is free again: their destructors are their makers' business.
    template <class Wanted>
    void flushWhile(Side side, Wanted wanted)
    {
        Items flushed;
        const BareEntry entry(safety_);
        while (!items_.empty() && wanted(at(side)->priority))
        {
            const Place place = at(side);
            leaveRun(place, side);
            flushed.splice(flushed.end(), items_, place);
        }
    }

    Place at(Side side) noexcept { return side == Side::head ? items_.begin() : std::prev(items_.end()); }

    // In front of the first item that is less urgent, and so behind the last one of its run.
    void insertSorted(Command&& cmd, unsigned priority)
    {
        const auto run = std::partition_point(lastOfRuns_.begin(), lastOfRuns_.end(),
                                              [priority](Place last) { return last->priority > priority; });
        if (run != lastOfRuns_.end() && (*run)->priority == priority)
            *run = putBefore(std::next(*run), std::move(cmd), priority);
        else
        {
            const Place behind = run != lastOfRuns_.end() ? std::next(*run) : items_.begin();
            const auto last = lastOfRuns_.insert(run, Place());
            try
            {
                *last = putBefore(behind, std::move(cmd), priority);
            }
            catch (...)
            {
                lastOfRuns_.erase(last);
                throw;
            }
        }
    }

    // Forgets an item that leaves the queue at one side.
    void leaveRun(Place item, Side side)
    {
        if (!sorted_)
            return;
        if (side == Side::head)
        {
            if (lastOfRuns_.back() == item)
                lastOfRuns_.pop_back();
        }
        else if (item == items_.begin() || std::prev(item)->priority != item->priority)
            lastOfRuns_.erase(lastOfRuns_.begin());
        else
            lastOfRuns_.front() = std::prev(item);
    }

    mutable Safety safety_{true};
    Items items_;
    // Nodes of items that were run, for those that come: under the queue's own lock they cost nothing, while a way
    // through the pool and back is five locked instructions and a cache line that all threads write to.
    Items spares_;
    static constexpr std::size_t maxSpares = 64;
    // Of a sorted queue: the last item of each priority, the least urgent first. An insert need not walk the
    // items, and the run that is used up by running from the head is the last of the array.
    std::vector<Place> lastOfRuns_;
    const bool sorted_;
};

extern template class MISC_API Queue<MwDC::ThreadSafetyTraits::ThreadSafe, MwDC::NoCtx>;
extern template class MISC_API Queue<MwDC::ThreadSafetyTraits::NoLocking, MwDC::NoCtx>;

} // namespace MwCmdProcessors

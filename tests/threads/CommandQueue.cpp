#include "OS/testing/ForwardingThreadMgr.h"
#include "misc/threads/WorkerThreadQueue.h"
#include "platform/ThreadSupport.h"
#include "threads/Calls.h"

#include <algorithm>
#include <deque>
#include <functional>
#include <gtest/gtest.h>
#include <random>
#include <stdexcept>
#include <thread>
#include <vector>

using namespace MwCmdProcessors;

namespace
{

using Safe = MwDC::ThreadSafetyTraits::ThreadSafe;
using Worker = WorkerThreadQueue<Safe, long>;
using Calls = test::Calls<Safe, long>;
const MwDC::NullCommand<long, Safe> nothing;

// No more than a turn for others where somebody wants to sleep, and a switch that lets the making of threads fail.
class QuickThreads : public ForwardingThreadMgr
{
public:
    Mw::Ptr<iThread> createThread(const ThreadParams& params) override
    {
        return last_ = fails_ ? nullptr : ForwardingThreadMgr::createThread(params);
    }
    void sleep(unsigned) override { yield(); }

    bool fails_ = false;
    Mw::Ptr<iThread> last_;

private:
    OSReplacement<iThreadMgr> replacement_{*this};
};

// Keeps the numbers that its commands are run with.
struct Seen : Calls
{
    Seen() : Calls([this](Cmd&, long& number) { return numbers.push_back(number), true; }) {}
    std::vector<long> numbers;
};

// Runs a queue and a plain vector side by side through operations in random order. Every fifth command runs the
// head of its own queue.
template <class Safety>
void compareWithAPlainVector(bool sorted)
{
    using QueueCalls = test::Calls<Safety, MwDC::NoCtx>;
    using Item = std::pair<unsigned, int>; // priority and number
    using Items = std::vector<Item>;
    Items model;
    std::vector<int> ran, expected;
    Queue<Safety, MwDC::NoCtx> queue(sorted);
    std::deque<QueueCalls> calls;
    const auto insert = [&](unsigned priority, int number)
    {
        const auto run = [&ran, &queue, number](typename QueueCalls::Cmd&, MwDC::NoCtx&)
        {
            ran.push_back(number);
            if (number % 5 == 0)
                queue.executeHead();
            return number % 2 == 0;
        };
        calls.emplace_back(run);
        queue.insert(calls.back().cmd(), priority);
        const auto later = [&](const Item& other) { return sorted && other.first > priority; };
        model.insert(std::find_if(model.begin(), model.end(), later), {priority, number});
    };
    const std::function<void(Items::iterator, bool)> take = [&](Items::iterator at, bool run)
    {
        const int number = at->second;
        model.erase(at);
        if (run)
            expected.push_back(number);
        if (run && number % 5 == 0 && !model.empty())
            take(model.begin(), true);
    };
    std::minstd_rand random(7);
    for (int step = 0; step < 3000; ++step)
    {
        const unsigned p = static_cast<unsigned>(random() % 6);
        const bool run = random() % 2 == 0;
        const auto which = random() % 24;
        if (which == 0)
            run ? queue.executeAll() : queue.flushAll();
        else if (which == 1)
            run ? queue.executePriorityAtLeast(p) : queue.flushPriorityAtLeast(p);
        else if (which == 2)
            run ? queue.executePriorityLessThan(p) : queue.flushPriorityLessThan(p);
        else if (which == 3)
            run ? queue.executeHead() : queue.flushHead();
        else
            insert(p, step);
        if (which == 3 && !model.empty())
            take(model.begin(), run);
        while (!model.empty() && (which == 0 || (which == 1 && model.front().first <= p)))
            take(model.begin(), run);
        while (!model.empty() && which == 2 && model.back().first > p)
            take(std::prev(model.end()), run);
        ASSERT_EQ(queue.size(), model.size()) << step;
    }
    EXPECT_EQ(ran, expected);
}

} // namespace

TEST(CommandQueue, runsAndDropsWhatAPlainVectorWould)
{
    for (const bool sorted : {true, false})
    {
        compareWithAPlainVector<Safe>(sorted);
        compareWithAPlainVector<MwDC::ThreadSafetyTraits::NoLocking>(sorted);
    }
}

// In every second round the worker is held until all commands wait, and the whole order is known.
TEST(WorkerThreadQueue, losesAndRepeatsNoCommandOfFourProducers)
{
    constexpr long rounds = 10, producers = 4, each = 25'000, priorities = 8;
    struct Ctx
    {
        long producer, sequence;
        long priority() const { return sequence % priorities; }
    };
    std::vector<Ctx> runs;
    const auto all = OS().threadMgr().createEvent(iThreadEvent::eAutoReset);
    test::Calls<Safe, Ctx> command(
        [&](auto&, Ctx& ctx)
        {
            runs.push_back(ctx);
            if (std::ssize(runs) == producers * each)
                all->set();
            return true;
        });
    const MwDC::NullCommand<Ctx, Safe> none;
    for (long round = 0; round < rounds; ++round)
    {
        runs.clear();
        const auto gate = OS().threadMgr().createEvent(iThreadEvent::eManualReset, round % 2 != 0);
        test::Calls<Safe, Ctx> held([&](auto&, Ctx&) { return gate->wait() == iThreadEvent::eWaitSuccess; });
        {
            WorkerThreadQueue<Safe, Ctx> queue("producers", none, none, 0, 0, true);
            queue.insert(held.cmd(), 0, Ctx{});
            const auto produce = [&](int producer)
            {
                for (long i = 0; i < each; ++i)
                    queue.insert(command.cmd(), static_cast<unsigned>(i % priorities), {producer, i});
            };
            test::Crowd(producers, produce);
            gate->set();
            ASSERT_EQ(all->wait(250'000), iThreadEvent::eWaitSuccess) << "a command was lost";
        }
        ASSERT_EQ(std::ssize(runs), producers * each);
        long last[priorities][producers];
        std::fill_n(&last[0][0], priorities * producers, -1L);
        for (const Ctx& run : runs)
        {
            long& before = last[run.priority()][run.producer];
            ASSERT_EQ(run.sequence, before < 0 ? run.priority() : before + priorities);
            before = run.sequence;
        }
        EXPECT_TRUE(round % 2 != 0 || std::ranges::is_sorted(runs, {}, &Ctx::priority));
    }
}

TEST(WorkerThreadQueue, canBeDestroyedAtAnyTimeWhileBusy)
{
    QuickThreads threads;
    for (long round = 0; round < 1000; ++round)
    {
        const long before = round % 20;
        Seen seen;
        Worker* target = nullptr;
        Calls again([&](auto&, long&) { return target->insert(again.cmd(), 1, 0), true; });
        std::thread racing;
        // The destructor waits for this one, and this one for the thread that inserts meanwhile.
        Calls exit([&](auto&, long&) { return racing.join(), true; });
        {
            Worker queue("busy", nothing, exit.cmd(), 0, 0, true);
            target = &queue;
            for (long i = 0; i < before; ++i)
            {
                queue.insert(seen.cmd(), 0, i);
                queue.insert(again.cmd(), 1, 0);
            }
            const auto insertMore = [&]
            {
                for (long i = before; i < before + 20; ++i)
                    queue.insert(seen.cmd(), 0, i);
            };
            racing = std::thread(insertMore);
        }
        ASSERT_GE(std::ssize(seen.numbers), before) << "what was inserted before is run";
        for (long i = 0; i < std::ssize(seen.numbers); ++i)
            ASSERT_EQ(seen.numbers[static_cast<std::size_t>(i)], i) << "and nothing behind what was dropped";
    }
}

TEST(WorkerThreadQueue, isDroppedByItsOwnCommand)
{
    QuickThreads threads;
    Seen seen;
    const auto ready = OS().threadMgr().createEvent(iThreadEvent::eManualReset);
    auto* queue = new Worker("dropped", nothing, seen.cmd(), 0, 0, false);
    Calls drop([&](auto&, long&) { return ready->wait(), delete queue, true; });
    queue->insert(drop.cmd(), 0, 0);
    queue->insert(seen.cmd(), 0, 0);
    ready->set();
    threads.last_->waitForExit(-1);
    EXPECT_TRUE(seen.numbers.empty());
}

TEST(WorkerThreadQueue, runsInitFirstAndExitLast)
{
    Seen seen;
    Worker* target = nullptr;
    Calls init([&](auto&, long&) { return seen.numbers.push_back(-1), true; });
    Calls exit([&](auto&, long&) { return target->insert(seen.cmd(), 0, 99), seen.numbers.push_back(-2), true; });
    {
        QuickThreads threads;
        Worker queue("worker", init.cmd(), exit.cmd(), 4, 0, false);
        target = &queue;
        EXPECT_TRUE(queue.threadRunning());
        for (const long i : {5, 1, 3})
            queue.insert(seen.cmd(), static_cast<unsigned>(i), i);
    }
    EXPECT_EQ(seen.numbers, (std::vector<long>{-1, 5, 1, 3, -2})) << "and not what came during destruction";
}

TEST(WorkerThreadQueue, neverRunsWhereItCouldNotStart)
{
    QuickThreads threads;
    Seen seen;
    Calls no([](auto&, long&) { return false; });
    Calls bad([](auto&, long&) -> bool { throw std::runtime_error("init"); });
    for (const Calls::Cmd& init : {no.cmd(), bad.cmd(), Calls::Cmd()})
    {
        threads.fails_ = !init.isValid();
        Worker queue("failed", init, seen.cmd(), 0, 0, false);
        EXPECT_FALSE(queue.threadRunning());
        queue.insert(seen.cmd(), 0, 1);
        EXPECT_EQ(queue.size(), 1u);
    }
    EXPECT_TRUE(seen.numbers.empty());
}

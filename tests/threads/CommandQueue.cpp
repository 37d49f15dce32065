#include "misc/diagnostics/Log.h"
#include "misc/threads/WorkerThreadQueue.h"

#include <algorithm>
#include <array>
#include <functional>
#include <gtest/gtest.h>
#include <memory>
#include <numeric>
#include <random>
#include <stdexcept>
#include <thread>
#include <vector>

using namespace MwCmdProcessors;
using MwDC::NoCtx;

namespace
{

using Safe = MwDC::ThreadSafetyTraits::ThreadSafe;

// Commands that call a function, for either kind of safety and any context.
template <class Safety, class Ctx>
class Calls : public MwDC::Receiver<MwDC::SmplCmd<Ctx, MwDC::NoTag, Safety>>
{
public:
    using Cmd = MwDC::SmplCmd<Ctx, MwDC::NoTag, Safety>;
    using Function = std::function<bool(Ctx&)>;

    Calls(Function function) : function_(std::move(function)) {}
    Cmd cmd() { return Cmd(*this); }
    bool execute(Cmd&, Ctx& ctx) override { return function_(ctx); }

private:
    Function function_;
};

// The platform's threads, with no more than a turn for others where somebody wants to sleep, and with a switch
// that lets the making of threads fail.
class QuickThreads : public iThreadMgr
{
public:
    Mw::Ptr<iThread> createThread(const ThreadParams& p) override { return fails_ ? nullptr : real_.createThread(p); }
    Mw::Ptr<iThreadEvent> createEvent(iThreadEvent::eKind kind, bool set) override
    {
        return real_.createEvent(kind, set);
    }
    Mw::Ptr<iMutex> createMutex() override { return real_.createMutex(); }
    Mw::Ptr<iSemaphore> createSemaphore(int units) override { return real_.createSemaphore(units); }
    Mw::Ptr<iCriticalSection> createCriticalSection() override { return real_.createCriticalSection(); }
    Mw::Ptr<iIOCompletionPort> createIOCompletionPort() override { return real_.createIOCompletionPort(); }
    int waitForEvents(const std::vector<Mw::Ptr<iThreadEvent>>& events, bool all, int timeoutMs) override
    {
        return real_.waitForEvents(events, all, timeoutMs);
    }
    std::uint32_t currentThreadId() override { return real_.currentThreadId(); }
    iThread::eExecRC protect(iThread::EntryFunction f, void* argument, iThread::ExceptionHandler handler) override
    {
        return real_.protect(f, argument, handler);
    }
    void exitCurrentThread() override { real_.exitCurrentThread(); }
    void sleep(unsigned) override { real_.yield(); }
    void yield() override { real_.yield(); }
    unsigned processorCount() override { return real_.processorCount(); }

    bool fails_ = false;

private:
    iThreadMgr& real_ = OS().threadMgr();
    OSReplacement<iThreadMgr> replacement_{*this};
};

// Appends the number that it is run with to what its receiver has seen.
using Worker = WorkerThreadQueue<Safe, long>;
struct Seen : Calls<Safe, long>
{
    Seen() : Calls([this](long& number) { return numbers.push_back(number), true; }) {}
    std::vector<long> numbers;
};
using Cmd = MwDC::Cmd<long, Safe>;
const MwDC::NullCommand<long, Safe> nothing;

} // namespace

// Against a plain vector: all operations in random order, on commands of which some run the queue.
template <class Safety>
class CommandQueue : public testing::Test
{
};
using Safeties = testing::Types<Safe, MwDC::ThreadSafetyTraits::NoLocking>;
TYPED_TEST_SUITE(CommandQueue, Safeties);

TYPED_TEST(CommandQueue, runsAndDropsWhatAPlainListWould)
{
    struct Item
    {
        unsigned priority;
        int number;
    };
    for (const bool sorted : {true, false})
    {
        std::vector<Item> model;
        std::vector<int> ran, expected;
        Queue<TypeParam, NoCtx> queue(sorted);
        std::vector<std::unique_ptr<Calls<TypeParam, NoCtx>>> calls;
        const auto insert = [&](Item item)
        {
            calls.push_back(std::make_unique<Calls<TypeParam, NoCtx>>(
                [&ran, &queue, number = item.number](NoCtx&)
                {
                    ran.push_back(number);
                    if (number % 5 == 0)
                        queue.executeHead();
                    return number % 2 == 0;
                }));
            queue.insert(calls.back()->cmd(), item.priority);
            model.insert(sorted ? std::find_if(model.begin(), model.end(),
                                               [&](const Item& other) { return other.priority > item.priority; })
                                : model.end(),
                         item);
        };
        // Takes from the model what is wanted on one side, and runs it, or the head for the nested run.
        const std::function<void(bool, std::function<bool(unsigned)>, bool)> take =
            [&](bool head, const std::function<bool(unsigned)>& wanted, bool run)
        {
            while (!model.empty() && wanted(head ? model.front().priority : model.back().priority))
            {
                const Item item = head ? model.front() : model.back();
                model.erase(head ? model.begin() : std::prev(model.end()));
                if (!run)
                    continue;
                expected.push_back(item.number);
                if (item.number % 5 == 0)
                    take(
                        true, [first = true](unsigned) mutable { return std::exchange(first, false); }, true);
            }
        };
        std::minstd_rand random(7);
        for (int step = 0; step < 3000; ++step)
        {
            const unsigned p = static_cast<unsigned>(random() % 6);
            const auto atLeast = [p](unsigned priority) { return priority <= p; };
            const auto lessThan = [p](unsigned priority) { return priority > p; };
            const auto any = [](unsigned) { return true; };
            const auto one = [first = true](unsigned) mutable { return std::exchange(first, false); };
            const bool run = random() % 2 == 0;
            switch (random() % 24)
            {
            case 0:
                run ? queue.executeAll() : queue.flushAll();
                take(true, any, run);
                break;
            case 1:
                run ? queue.executePriorityAtLeast(p) : queue.flushPriorityAtLeast(p);
                take(true, atLeast, run);
                break;
            case 2:
                run ? queue.executePriorityLessThan(p) : queue.flushPriorityLessThan(p);
                take(false, lessThan, run);
                break;
            case 3:
                run ? queue.executeHead() : queue.flushHead();
                take(true, one, run);
                break;
            default:
                insert({p, step});
            }
            ASSERT_EQ(queue.size(), model.size()) << step;
        }
        EXPECT_EQ(ran, expected);
        EXPECT_FALSE(ran.empty());
    }
}

// In every second round the worker is held until all commands wait, and the whole order is known.
TEST(WorkerThreadQueue, losesAndRepeatsNoCommandOfFourProducers)
{
    constexpr long rounds = 10, producers = 4, each = 25'000, priorities = 8;
    struct Ctx
    {
        long producer, sequence;
    };
    struct Run
    {
        long priority, producer, sequence;
    };
    std::vector<Run> runs;
    Calls<Safe, Ctx> command(
        [&](Ctx& ctx) {
            return runs.push_back({ctx.sequence % priorities, ctx.producer, ctx.sequence}), true;
        });
    const MwDC::NullCommand<Ctx, Safe> none;
    for (long round = 0; round < rounds; ++round)
    {
        runs.clear();
        const auto gate = OS().threadMgr().createEvent(iThreadEvent::eManualReset, round % 2 != 0);
        Calls<Safe, Ctx> held([&](Ctx&) { return gate->wait() == iThreadEvent::eWaitSuccess; });
        {
            WorkerThreadQueue<Safe, Ctx> queue("producers", none, none, 0, 0, true);
            queue.insert(held.cmd(), 0, Ctx{});
            std::vector<std::thread> threads;
            for (long producer = 0; producer < producers; ++producer)
                threads.emplace_back(
                    [&, producer]
                    {
                        for (long i = 0; i < each; ++i)
                            queue.insert(command.cmd(), static_cast<unsigned>(i % priorities), {producer, i});
                    });
            for (std::thread& thread : threads)
                thread.join();
            gate->set();
        }
        ASSERT_EQ(std::ssize(runs), producers * each);
        long last[priorities][producers];
        std::fill_n(&last[0][0], priorities * producers, -1L);
        for (const Run& run : runs)
        {
            long& before = last[run.priority][run.producer];
            ASSERT_EQ(run.sequence, before < 0 ? run.priority : before + priorities);
            before = run.sequence;
        }
        EXPECT_TRUE(round % 2 != 0 || std::ranges::is_sorted(runs, {}, &Run::priority));
    }
}

TEST(WorkerThreadQueue, canBeDestroyedAtAnyTimeWhileBusy)
{
    QuickThreads threads;
    for (long round = 0; round < 1000; ++round)
    {
        Seen seen;
        Worker* target = nullptr;
        Calls<Safe, long> again([&](long&) { return target->insert(again.cmd(), 1, 0), true; });
        {
            Worker queue("busy", nothing, nothing, 0, 0, true);
            target = &queue;
            for (long i = 0; i < round % 20; ++i)
            {
                queue.insert(seen.cmd(), 0, i);
                queue.insert(again.cmd(), 1, 0);
            }
        }
        EXPECT_EQ(std::ssize(seen.numbers), round % 20) << "what was inserted before is run";
    }
}

TEST(WorkerThreadQueue, runsInitFirstAndExitLast)
{
    QuickThreads threads;
    Seen seen;
    Worker* target = nullptr;
    Calls<Safe, long> init([&](long&) { return seen.numbers.push_back(-1), true; });
    Calls<Safe, long> exit([&](long&) { return target->insert(seen.cmd(), 0, 99), seen.numbers.push_back(-2), true; });
    {
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
    Calls<Safe, long> no([](long&) { return false; });
    Calls<Safe, long> bad([](long&) -> bool { throw std::runtime_error("init"); });
    testing::internal::CaptureStdout();
    for (const Cmd& init : {Cmd(no.cmd()), Cmd(bad.cmd()), Cmd(nothing)})
    {
        threads.fails_ = init.isNullCommand();
        Worker queue("failed", init, seen.cmd(), 0, 0, false);
        EXPECT_FALSE(queue.threadRunning());
        queue.insert(seen.cmd(), 0, 1);
        EXPECT_EQ(queue.size(), 1u);
    }
    EXPECT_TRUE(seen.numbers.empty());
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "Warning: WorkerTheadQueue init command threw an execption.\n"
                                                      "OS().threadMgr().createThread() failed\n");
}

TEST(WorkerThreadQueue, takesTheProgramDownWithAnException)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const auto fail = []
    {
        SetLogOutput(stderr);
        Calls<Safe, long> bad([](long&) -> bool { throw std::runtime_error("command"); });
        Worker queue("dies", nothing, nothing, 0, 0, false);
        queue.insert(bad.cmd(), 0, 0);
        OS().threadMgr().createEvent(iThreadEvent::eManualReset)->wait();
    };
    EXPECT_EXIT(fail(), testing::ExitedWithCode(1), "\\* EXCEPTION \\*");
}

TEST(Threads, prioritiesMapToThoseOfThePlatform)
{
    const int expected[] = {2, 0, 1, 2, 3, 4, 5, 5, 2};
    for (int priority = -3; priority <= 5; ++priority)
        EXPECT_EQ(mapThreadPriority(priority), expected[priority + 3]);
}

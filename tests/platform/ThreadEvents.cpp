#include "CallFilter.h"
#include "ThreadSupport.h"
#include "platform/Sanitized.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <gtest/gtest.h>
#include <string_view>
#include <unistd.h>
#include <vector>

using namespace test;
using Event = Mw::Ptr<iThreadEvent>;
using Events = std::vector<Event>;

namespace
{

constexpr int patienceMs = 20'000;

Event automatic(bool set = false)
{
    return threads().createEvent(iThreadEvent::eAutoReset, set);
}
Event manual(bool set = false)
{
    return threads().createEvent(iThreadEvent::eManualReset, set);
}

// Waits for one of several events in both ways: the system's call takes up to 128 events, more take the way
// of kernels that lack it.
class EventWaits : public testing::TestWithParam<const char*>
{
protected:
    static int waitForAny(Events events, int timeoutMs)
    {
        static const Events never(128, automatic());
        if (GetParam() == std::string_view("record"))
            events.insert(events.end(), never.begin(), never.end());
        return threads().waitForEvents(events, false, timeoutMs);
    }
};

INSTANTIATE_TEST_SUITE_P(, EventWaits, testing::Values("systemCall", "record"),
                         [](const auto& way) { return way.param; });

using AwaitDone = std::function<void(int times)>;

// Rounds in which two threads each do their work once, and this one plays against them. How far they get
// before it does differs from round to round.
void compete(const std::function<void(int)>& one, const std::function<void(int)>& other,
             const std::function<void(int round, const AwaitDone&)>& play)
{
    constexpr int rounds = 2000;
    const Event gates[] = {automatic(), automatic()};
    const auto done = threads().createSemaphore(0);
    Crowd crowd(2,
                [&](int i)
                {
                    for (int round = 1; round <= rounds; ++round)
                    {
                        gates[i]->wait();
                        (i == 0 ? one : other)(round);
                        done->release();
                    }
                });
    for (int round = 1; round <= rounds; ++round)
    {
        for (const Event& gate : gates)
            gate->set();
        for (int pause = round % 16; pause > 0; --pause)
            threads().yield();
        play(round,
             [&](int times)
             {
                 for (; times > 0; --times)
                     if (!done->acquire(patienceMs))
                         std::abort(); // a wake-up was lost: the threads that sleep would never end
             });
    }
}

} // namespace

TEST_P(EventWaits, giveTheFirstThatIsSetAndTakeNoOther)
{
    const Events events{automatic(), automatic(true), manual(true), automatic(true)};
    EXPECT_EQ(waitForAny(events, 0), 1);
    EXPECT_EQ(waitForAny(events, -1), 2);
    EXPECT_EQ(waitForAny(events, 0), 2) << "stays set";
    events[2]->reset();
    EXPECT_EQ(waitForAny(events, 0), 3);
    EXPECT_EQ(waitForAny(events, 0), iThreadMgr::waitTimedOut);
}

TEST_P(EventWaits, endAtTheirTimeAndNotBefore)
{
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(waitForAny({automatic(), manual()}, 3), iThreadMgr::waitTimedOut);
    EXPECT_EQ(automatic()->wait(3), iThreadEvent::eWaitTimeout);
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(6));
}

// Where the wake-up for the second event goes to the thread that takes the first, it has to be passed on.
TEST_P(EventWaits, passOnAWakeUpThatTheyDoNotUse)
{
    const Event first = automatic(), second = automatic();
    int payload = 0; // plain: the events alone order its accesses
    compete(
        [&](int round)
        {
            if (waitForAny({first, second}, -1) == 1) // both were set between a look at the one and the other
            {
                EXPECT_EQ(first->wait(0), iThreadEvent::eWaitSuccess);
                second->set();
            }
            EXPECT_EQ(payload, round);
        },
        [&](int round)
        {
            EXPECT_EQ(waitForAny({second}, -1), 0);
            EXPECT_EQ(payload, round);
        },
        [&](int round, const AwaitDone& awaitDone)
        {
            payload = round;
            first->set();
            second->set();
            awaitDone(2);
            EXPECT_EQ(waitForAny({first, second}, 0), iThreadMgr::waitTimedOut) << "each was taken";
        });
}

TEST(EventWaitForAll, takesAllTogetherOrNone)
{
    const Events events{automatic(true), manual(true), automatic()};
    EXPECT_EQ(threads().waitForEvents(events, true, 0), iThreadMgr::waitTimedOut);
    EXPECT_EQ(events[0]->wait(0), iThreadEvent::eWaitSuccess) << "not taken by the wait that failed";
    Runner setter([&] { std::ranges::for_each(events, [](const Event& event) { event->set(); }); });
    EXPECT_EQ(threads().waitForEvents(events, true, patienceMs), 0);
    EXPECT_EQ(events[0]->wait(0), iThreadEvent::eWaitTimeout);
    EXPECT_EQ(events[1]->wait(0), iThreadEvent::eWaitSuccess);
}

// A thread that needs two events is woken for the one, and must leave it to who needs that one alone.
TEST(EventWaitForAll, passesOnAWakeUpThatIsNotEnough)
{
    const Event left = automatic(), right = automatic();
    compete(
        [&](int) {
            threads().waitForEvents({left, right}, true, -1);
        },
        [&](int) { left->wait(-1); },
        [&](int, const AwaitDone& awaitDone)
        {
            left->set();
            awaitDone(1);
            left->set();
            right->set();
            awaitDone(1);
        });
}

// A waiter that goes on may drop the event while the thread that set it is still on its way out.
TEST(ThreadEvent, canBeDestroyedByTheWaiterAtOnce)
{
    for (int round = 0; round < 1000; ++round)
    {
        Event event = automatic();
        Runner setter([set = event.get()] { set->set(); });
        EXPECT_EQ(event->wait(patienceMs), iThreadEvent::eWaitSuccess);
        event.reset();
    }
}

#if !MW_SANITIZED // they make calls of their own

TEST(ThreadEvent, makesNoSystemCallWhereNobodyWaits)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const Events events{automatic(), manual()};
    const auto mutex = threads().createMutex();
    const auto semaphore = threads().createSemaphore(1);
    threads().currentThreadId(); // asks the system once for each thread
    const auto useAll = [&](bool sleep)
    {
        filterCalls(SYS_exit_group, SECCOMP_RET_ALLOW, SECCOMP_RET_KILL_PROCESS);
        for (unsigned i = 0; i < 6; ++i)
        {
            events[i % 2]->set();
            events[i % 2]->wait(-1);
            threads().waitForEvents(events, false, i % 2 == 0 ? 0 : -1);
            events[1]->reset();
            mutex->acquire(-1);
            mutex->release();
            semaphore->acquire(-1);
            semaphore->release(1);
        }
        if (sleep)
            events[0]->wait(-1);
        ::_exit(0);
    };
    EXPECT_EXIT(useAll(false), testing::ExitedWithCode(0), "");
    EXPECT_EXIT(useAll(true), testing::KilledBySignal(SIGSYS), "") << "or the line above shows nothing";
}

TEST(ThreadEvent, isWaitedForOnKernelsWithoutTheCall)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const auto wait = []
    {
        filterCalls(SYS_futex_waitv, SECCOMP_RET_ERRNO | ENOSYS, SECCOMP_RET_ALLOW);
        const Events events{automatic(), automatic()};
        Runner setter([&] { events[1]->set(); });
        const bool woken = threads().waitForEvents(events, false, patienceMs) == 1;
        ::_exit(woken && threads().waitForEvents(events, false, 1) == iThreadMgr::waitTimedOut ? 0 : 1);
    };
    EXPECT_EXIT(wait(), testing::ExitedWithCode(0), "");
}

#endif

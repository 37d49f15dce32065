#include "ThreadSupport.h"

#include "OS/RecursiveLock.h"
#include "media/AssertionLines.h"

#include <barrier>
#include <cstdlib>
#include <gtest/gtest.h>

using namespace test;

// Blocking, timed and nested entries compete. A lost wake-up would leave a thread asleep for good.
TEST(RecursiveLock, excludesAndLosesNoWakeUp)
{
    RecursiveLock lock;
    int inside = 0, count = 0; // plain, for the thread sanitizer
    std::atomic<int> entered{0};
    const auto work = [&](int thread)
    {
        for (int i = thread; i < 5000; ++i)
        {
            if (i % 3 != 0)
                lock.enter();
            else if (!lock.tryEnterFor(i % 2))
                continue;
            EXPECT_EQ(++inside, 1);
            lock.enter();
            ++count;
            if (i % 64 == 0)
                threads().yield();
            lock.leave();
            --inside;
            lock.leave();
            ++entered;
        }
    };
    {
        Crowd crowd(4, work);
    }
    EXPECT_TRUE(count == entered && lock.owner() == 0);
}

TEST(Mutex, isReleasedByItsOwnerOnly)
{
    const auto mutex = threads().createMutex();
    const auto section = threads().createCriticalSection();
    AssertionLines lines;
    mutex->acquire();
    section->enter();
    section->enter();
    section->leave();
    Runner(
        [&]
        {
            mutex->release();
            section->leave();
            EXPECT_FALSE(mutex->acquire(0) || mutex->acquire(1) || section->tryEnter());
        })
        .join();
    EXPECT_NE(lines.text(), "");
    section->leave();
    EXPECT_EQ(section->owner(), 0u);
}

// One unit for each thread and round: a lost wake-up would leave one of them asleep.
TEST(Semaphore, givesEveryUnitToOneThreadAndStopsAtItsLimit)
{
    const auto semaphore = threads().createSemaphore(1), taken = threads().createSemaphore(0);
    constexpr int rounds = 1000;
    std::barrier together(4);
    EXPECT_TRUE(semaphore->acquire(0));
    {
        Crowd takers(3,
                     [&](int)
                     {
                         for (int i = 0; i < rounds; ++i)
                         {
                             while (!semaphore->acquire(i % 2 == 0 ? -1 : 1))
                                 threads().yield();
                             taken->release();
                             together.arrive_and_wait();
                         }
                     });
        for (int i = 0; i < rounds; ++i)
        {
            semaphore->release(3);
            for (int thread = 0; thread < 3; ++thread)
                if (!taken->acquire(20'000))
                    std::abort(); // nor would the takers end
            together.arrive_and_wait();
        }
    }
    EXPECT_FALSE(semaphore->acquire(0) || semaphore->acquire(1));
    for (int i = 0; i < 4; ++i)
        semaphore->release(0x7FFFFFFF);
    EXPECT_TRUE(semaphore->acquire(0));
}

// Several post and several take; each completion goes to one of them, those of one poster in their order.
TEST(IOCompletionPort, givesEachCompletionOnceAndEndsWhenClosed)
{
    const auto port = threads().createIOCompletionPort();
    iIOCompletionPort::Completion completion;
    EXPECT_EQ(port->wait(completion, 1), iIOCompletionPort::eTimeout);
    constexpr int posters = 2, each = 3000;
    std::atomic<int> taken{0};
    const auto take = [&](int)
    {
        iIOCompletionPort::Completion mine;
        std::int64_t last[posters] = {-1, -1};
        for (; port->wait(mine) == iIOCompletionPort::eCompleted; ++taken)
            EXPECT_GT(mine.result, std::exchange(last[mine.key], mine.result));
    };
    const auto post = [&](int poster)
    {
        for (int i = 0; i < each; ++i)
            EXPECT_TRUE(port->post({static_cast<std::uintptr_t>(poster), i, {}}));
    };
    {
        Crowd takers(2, take);
        {
            Crowd crowd(posters, post);
        }
        port->close();
    }
    EXPECT_EQ(taken, posters * each);
    EXPECT_TRUE(!port->post(completion) && port->wait(completion) == iIOCompletionPort::eClosed);
}

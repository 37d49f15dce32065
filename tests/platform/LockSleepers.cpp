// How threads that sleep for a lock and those that leave it find each other.

#include "CallFilter.h"
#include "ThreadSupport.h"

#include "OS/AsymmetricBarrier.h"
#include "OS/RecursiveLock.h"

#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <gtest/gtest.h>

using namespace test;

namespace
{

void hold(int rounds)
{
    for (volatile int round = 0; round < rounds;)
        round = round + 1;
}

// In each round a thread falls asleep for a lock about when its owner leaves it. Gives how many were not woken.
int oversleptRounds(int rounds)
{
    RecursiveLock lock;
    std::atomic<int> held{0}, over{0};
    int missed = 0;
    const auto await = [](const std::atomic<int>& counter, int round)
    {
        while (counter.load(std::memory_order_acquire) != round)
            threads().yield();
    };
    Runner sleeper(
        [&]
        {
            for (int round = 1; round <= rounds; ++round)
            {
                await(held, round);
                if (lock.tryEnterFor(20'000))
                    lock.leave();
                else
                    ++missed;
                over.store(round, std::memory_order_release);
            }
        });
    for (int round = 1; round <= rounds; ++round)
    {
        lock.enter();
        held.store(round, std::memory_order_release);
        hold(round * 61 % 4000);
        lock.leave();
        await(over, round);
    }
    sleeper.join();
    return missed;
}

} // namespace

TEST(LockSleepers, areWokenByWhoeverLeaves)
{
    EXPECT_EQ(oversleptRounds(5000), 0);
}

// In each round two threads store to one place each, and load from the other's.
TEST(AsymmetricBarrier, letsOneOfTwoThreadsSeeTheOther)
{
    constexpr int rounds = 20'000;
    std::atomic<int> arrived{0}, often{0}, seldom{0};
    const auto meet = [&](int round)
    {
        ++arrived;
        for (int looks = 1; arrived.load() < 2 * round; ++looks)
            if (looks % 1000 == 0)
                threads().yield();
    };
    std::vector<char> sawSeldom(rounds + 1), sawOften(rounds + 1);
    Runner other(
        [&]
        {
            for (int round = 1; round <= rounds; ++round)
            {
                meet(round);
                often.store(round, std::memory_order_relaxed);
                AsymmetricBarrier::light();
                sawSeldom[static_cast<unsigned>(round)] = seldom.load(std::memory_order_relaxed) >= round;
            }
        });
    for (int round = 1; round <= rounds; ++round)
    {
        meet(round);
        seldom.store(round, std::memory_order_relaxed);
        AsymmetricBarrier::heavy();
        sawOften[static_cast<unsigned>(round)] = often.load(std::memory_order_relaxed) >= round;
    }
    other.join();
    for (unsigned round = 1; round <= rounds; ++round)
        ASSERT_TRUE(sawSeldom[round] || sawOften[round]) << round;
}

TEST(LockSleepers, areWokenWhereTheSystemStopsGivingBarriers)
{
    const auto compete = []
    {
        filterCalls(SYS_membarrier, SECCOMP_RET_ERRNO | EPERM, SECCOMP_RET_ALLOW);
        return oversleptRounds(1000);
    };
    EXPECT_EXIT(std::exit(compete()), testing::ExitedWithCode(0), "");
}

// Whoever leaves touches nothing of the lock once another has it: the thread sanitizer sees any such access.
TEST(LockSleepers, mayDestroyTheLockThatTheyGot)
{
    for (int round = 0; round < 300; ++round)
    {
        auto* const lock = new RecursiveLock;
        lock->enter();
        Runner next(
            [lock, round]
            {
                round % 2 == 0 ? lock->enter() : lock->enterInTurns();
                lock->leave();
                delete lock;
            });
        hold(round * 97 % 3000);
        lock->leave();
    }
}

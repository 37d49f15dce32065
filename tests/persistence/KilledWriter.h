#pragma once

#include <gtest/gtest.h>

#include <csignal>
#include <cstdlib>
#include <functional>
#include <random>
#include <sys/wait.h>
#include <unistd.h>

// Has a child store one generation after the other, by what `begin` gives it, and tell each that is stored, until it is
// killed, at any step or between two; so many times. `found` then gives the generation that is there: the last that
// was stored, or the next.
inline void killWriters(int rounds, const std::function<std::function<bool()>()>& begin,
                        const std::function<long()>& found)
{
    rounds = std::getenv("MW_LONG_TESTS") != nullptr ? 1000 : rounds;
    std::minstd_rand random(5);
    for (int round = 0; round < rounds; ++round)
    {
        long promised = found();
        int told[2];
        ASSERT_EQ(::pipe(told), 0);
        const pid_t child = ::fork();
        if (child == 0)
        {
            const std::function<bool()> store = begin();
            for (long next = promised + 1; store() && ::write(told[1], &next, sizeof next) > 0;)
                ++next;
            ::_exit(1);
        }
        ::close(told[1]);
        const auto hear = [&] { return ::read(told[0], &promised, sizeof promised) == sizeof promised; };
        for (auto stores = random() % 3; stores != 0; --stores)
            EXPECT_TRUE(hear());
        ::usleep(static_cast<useconds_t>(random() % 8000));
        ::kill(child, SIGKILL);
        ::waitpid(child, nullptr, 0);
        while (hear())
            ;
        ::close(told[0]);
        const long generation = found();
        ASSERT_TRUE(generation == promised || generation == promised + 1) << round;
    }
}

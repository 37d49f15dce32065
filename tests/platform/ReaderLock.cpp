#include "OS/ReaderLock.h"

#include <gtest/gtest.h>

#include <array>
#include <shared_mutex>
#include <thread>

TEST(ReaderLock, keepsWritersApartFromReadersAndFromEachOther)
{
    constexpr int rounds = 2000;
    ReaderLock lock;
    int first = 0, second = 0; // the same whenever nobody writes
    {
        std::array<std::jthread, 3> threads;
        for (std::jthread& thread : threads)
            thread = std::jthread(
                [&]
                {
                    int torn = 0;
                    for (int i = 0; i < rounds * 6; ++i)
                        if (i % 6 != 0)
                        {
                            const std::shared_lock reading(lock);
                            torn += first != second ? 1 : 0;
                        }
                        else
                        {
                            const std::unique_lock writing(lock);
                            ++first;
                            std::this_thread::yield();
                            ++second;
                        }
                    EXPECT_EQ(torn, 0);
                });
    }
    EXPECT_EQ(first, 3 * rounds);
    EXPECT_EQ(second, 3 * rounds);
}

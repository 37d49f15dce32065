#include "OS/ReaderLock.h"

#include <gtest/gtest.h>

#include <shared_mutex>
#include <thread>
#include <vector>

TEST(ReaderLock, keepsWritersApartFromReadersAndFromEachOther)
{
    constexpr int rounds = 2000;
    ReaderLock lock;
    int first = 0, second = 0; // the same whenever nobody writes
    std::atomic<int> torn{0};
    const auto read = [&]
    {
        for (int i = 0; i < 10 * rounds; ++i)
        {
            const std::shared_lock reading(lock);
            torn += first != second ? 1 : 0;
        }
    };
    const auto write = [&]
    {
        for (int i = 0; i < rounds; ++i)
        {
            const std::unique_lock writing(lock);
            ++first;
            std::this_thread::yield();
            ++second;
        }
    };
    std::vector<std::thread> threads;
    for (int i = 0; i < 2; ++i)
    {
        threads.emplace_back(read);
        threads.emplace_back(write);
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(torn, 0);
    EXPECT_EQ(first, 2 * rounds);
    EXPECT_EQ(second, 2 * rounds);
}

#include "OS/ReaderLock.h"

#include <gtest/gtest.h>

#include <shared_mutex>
#include <thread>

TEST(ReaderLock, keepsWritersApartFromReadersAndFromEachOther)
{
    constexpr int rounds = 2000;
    ReaderLock lock;
    int first = 0, second = 0; // the same whenever nobody writes
    const auto work = [&]
    {
        int torn = 0;
        for (int i = 0; i < rounds; ++i)
        {
            for (int reads = 0; reads < 5; ++reads)
            {
                const std::shared_lock reading(lock);
                torn += first != second ? 1 : 0;
            }
            const std::unique_lock writing(lock);
            ++first;
            std::this_thread::yield();
            ++second;
        }
        EXPECT_EQ(torn, 0);
    };
    std::thread one(work), another(work);
    work();
    one.join();
    another.join();
    EXPECT_EQ(first, 3 * rounds);
    EXPECT_EQ(second, 3 * rounds);
}

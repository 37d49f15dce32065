#include "OS/ReaderLock.h"
#include "ThreadSupport.h"

#include <gtest/gtest.h>

#include <shared_mutex>
#include <thread>

TEST(ReaderLock, keepsWritersApartFromReadersAndFromEachOther)
{
    constexpr int rounds = 2000;
    ReaderLock lock;
    int first = 0, second = 0; // the same whenever nobody writes
    {
        test::Crowd crowd(3,
                          [&](int)
                          {
                              for (int i = 0; i < rounds * 6; ++i)
                                  if (i % 6 != 0)
                                  {
                                      const std::shared_lock reading(lock);
                                      ASSERT_EQ(first, second);
                                  }
                                  else
                                  {
                                      const std::unique_lock writing(lock);
                                      ++first;
                                      std::this_thread::yield();
                                      ++second;
                                  }
                          });
    }
    EXPECT_TRUE(first == 3 * rounds && second == first);
}

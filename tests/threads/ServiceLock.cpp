#include "misc/threads/ServiceLock.h"

#include "OS/OS.h"
#include "OS/ThreadMgr.h"

#include <cmath>
#include <gtest/gtest.h>
#include <thread>

TEST(ServiceLock, nestsNamesItsOwnerAndCountsWhoWaits)
{
    service_init();
    const int before = service_lock_counts().entered;
    EXPECT_EQ(who_owns_service_lock(), 0u);
    service_disable();
    service_disable();
    service_enable();
    EXPECT_EQ(who_owns_service_lock(), OS().threadMgr().currentThreadId());
    std::thread waiter([] { service_disable(), service_enable(); });
    while (service_lock_counts().waiting != 1)
        std::this_thread::yield();
    service_enable();
    waiter.join();
    EXPECT_EQ(who_owns_service_lock(), 0u);
    EXPECT_EQ(service_lock_counts().waiting, 0);
    EXPECT_EQ(service_lock_counts().entered, before + 3) << "leaving doesn't count down";
    const double early = service_get_msecs_precise();
    const auto between = static_cast<double>(service_get_msecs());
    EXPECT_TRUE(std::trunc(early) <= between && between <= service_get_msecs_precise());
}

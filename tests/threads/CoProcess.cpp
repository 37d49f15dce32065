#include "misc/threads/CoProcess.h"

#include "diagnostics/Dying.h"
#include "misc/threads/ServiceLock.h"
#include "platform/ThreadSupport.h"

#include <gtest/gtest.h>
#include <latch>

namespace
{

using Work = std::function<void()>;

Mw::Ptr<iThread> start(Work& work, const char* name)
{
    const auto call = [](void* function)
    {
        (*static_cast<Work*>(function))();
        return iThread::eExecOK;
    };
    return coThreadGet(co_create(call, name, -1, &work, 0, 1 << 16));
}

// In a process of its own: what doesn't hold ends it with the number of the line.
#define REQUIRE(condition) ((condition) ? void() : std::_Exit(__LINE__ & 255))

// More entries than were once thought of, and than a block has, read by id while they come.
void growTheTable()
{
    prepareToDie();
    constexpr unsigned short last = 280;
    Work look = []
    {
        const unsigned short own = co_pid();
        REQUIRE(!isMainThread() && coThreadId(own) == OS().threadMgr().currentThreadId());
        setThreadLocalObject("thread", coThreadGet(own));
        for (unsigned short id = 1; id <= last; ++id)
            if (const auto thread = coThreadGet(id))
                REQUIRE(thread->name() == "one of many");
        REQUIRE(getThreadLocalObject("thread") == coThreadGet(own));
    };
    const auto startMany = [&](int)
    {
        for (int i = 0; i < last / 4; ++i)
            start(look, "one of many");
    };
    test::Crowd(4, startMany);
    for (unsigned short id = 1; id <= last; ++id)
        coThreadGet(id)->waitForExit(-1);
    std::exit(0);
}

void killAndShutDown()
{
    prepareToDie();
    std::latch held(1), mayGo(1);
    Work hold = [&]
    {
        service_disable();
        held.count_down();
        while (!mayGo.try_wait())
            KillMyselfCheck();
        service_enable();
        KillMyselfCheck();
        REQUIRE(false);
    };
    const auto holder = start(hold, "holder");
    held.wait();
    co_kill(1);
    REQUIRE(who_owns_service_lock() == holder->threadId() && !coThreadGet(1) && coThreadId(1) == 0);
    mayGo.count_down();
    holder->waitForExit(-1);
    REQUIRE(who_owns_service_lock() == 0);
    co_kill(1);
    co_kill(9999);

    Work check = []
    {
        for (;;)
            KillMyselfCheck();
    };
    const auto nameless = start(check, nullptr), named = start(check, "5$"), systems = start(check, "$ system");
    Shutdown::executeCallbacks(Shutdown::eNormalExit);
    REQUIRE(nameless->waitForExit(0) && named->waitForExit(0) && coThreadGet(4) == systems);
    start(hold, "too late");
}

} // namespace

TEST(CoProcess, idsNamesAndObjectsStayWithTheirThreadsWhileTheTableGrows)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(growTheTable(), testing::ExitedWithCode(0),
                "^(assertion failed processes_.size\\(\\) < kMaxProcesses at misc/switch line 161\n){26}$");
}

TEST(CoProcess, killIsARequestAndShutdownLeavesTheSystem)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(killAndShutDown(), crashed,
                "OMA_SPLAT: co_create: Attempt to create process after co-process deinitialisation\n");
}

#include "misc/threads/CoProcess.h"

#include "diagnostics/Dying.h"
#include "diagnostics/Support.h"
#include "misc/diagnostics/FatalError.h"
#include "misc/threads/DecouplingQueue.h"
#include "misc/threads/ServiceLock.h"
#include "misc/threads/WorkerThreadQueue.h"
#include "platform/ThreadSupport.h"

#include <latch>
#include <unistd.h>

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

[[noreturn]] void checkUntilKilled()
{
    for (;;)
        KillMyselfCheck();
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
        REQUIRE(!getThreadLocalObject("thread"));
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
    setThreadLocalObject("thread", coThreadGet(last));
    test::Crowd(1, [](int) { REQUIRE(getThreadLocalObject("thread") == coThreadGet(last)); });
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
    REQUIRE(coThreadId(1) == holder->threadId());
    co_kill(1);
    REQUIRE(who_owns_service_lock() == holder->threadId() && !coThreadGet(1) && coThreadId(1) == 0);
    REQUIRE(service_lock_counts().waiting == 0 && service_lock_counts().entered == 1);
    mayGo.count_down();
    holder->waitForExit(-1);
    service_disable(), service_enable();
    REQUIRE(who_owns_service_lock() == 0 && service_lock_counts().entered == 2); // leaving doesn't count down
    co_kill(1);
    co_kill(9999);
    Work killItself = []
    {
        co_kill(co_pid());
        KillMyselfCheck();
        REQUIRE(false);
    };
    start(killItself, "itself");

    Work check = [] { checkUntilKilled(); };
    const auto nameless = start(check, nullptr), named = start(check, "5$"), systems = start(check, "$ system");
    Shutdown::executeCallbacks(Shutdown::eNormalExit);
    REQUIRE(nameless->waitForExit(0) && named->waitForExit(0) && coThreadId(0) == 0);
    co_kill(5);
    REQUIRE(coThreadGet(5) == systems && coThreadId(5) != 0);
    start(hold, "too late");
}

// Of two with one function and argument, the second fails.
void failInThread()
{
    prepareToDie();
    std::latch all(3);
    Work work = [&]
    {
        all.arrive_and_wait();
        if (co_pid() == 1)
            checkUntilKilled();
        Mw::Exception::RuntimeError error("told", "misc/test", 1);
        error.stack_.assign(1, std::string(300, 'f').c_str());
        throw error;
    };
    start(work, "first");
    const auto second = start(work, std::string(300, 'n').c_str());
    all.arrive_and_wait();
    second->waitForExit(-1); // whoever waits for it doesn't get past the end of the process
}

// The child has two queues and a co-process, and the threads of none.
void endAForkedChild()
{
    using Safe = MwDC::ThreadSafetyTraits::ThreadSafe;
    struct Owner : DecouplingQueue<iObject>::Decoupler
    {
        void despatch(Mw::Ptr<iObject>) override {}
    };
    // Behind the queues, before a leak checker, which would take what the missing threads held for lost.
    std::atexit([] { std::_Exit(0); });
    static Owner owner;
    static const MwDC::NullCommand<MwDC::NoCtx, Safe> nothing;
    static DecouplingQueue<iObject> queue(2, 0, 0, 0, &owner, ~0u);
    static MwCmdProcessors::WorkerThreadQueue<Safe, MwDC::NoCtx> worker("standing", nothing, nothing, 0, 0, false);
    static Work wait = [] { checkUntilKilled(); };
    const auto waiting = start(wait, "waiting");
    if (const pid_t child = ::fork(); child != 0)
    {
        int status = 1;
        ::waitpid(child, &status, 0);
        std::_Exit(WIFEXITED(status) && !waiting->waitForExit(0) ? WEXITSTATUS(status) : 1);
    }
    ::alarm(4); // less than the worker's queue would wait for
    REQUIRE(!waiting->setPriority(0) && !waiting->setAffinity(0) && waiting->waitForExit(-1));
    std::exit(0);
}

using CoProcess = Diagnostics;

struct CoProcessDeath : testing::Test
{
    CoProcessDeath() { GTEST_FLAG_SET(death_test_style, "threadsafe"); }
};

} // namespace

TEST_F(CoProcess, logShowsWhoRuns)
{
    desktop_.settings(L"config.dat", iDesktop::eMachineSettings)->setValue("affinity.two_words", "3", "");
    Work show = []
    {
        co_print({});
        coDebugPrint(co_pid());
        coDebugPrint(9999);
    };
    const auto showing = start(show, "two words");
    showing->waitForExit(-1);
    const std::string text = said(), id = std::to_string(showing->threadId());
    EXPECT_NE(text.find("Default overridden: affinity.two_words = 3 (dflt 0)\n"), text.npos) << "and has no effect";
    EXPECT_NE(text.find(" : 01 R " + id + "/"), text.npos) << text;
    EXPECT_EQ(text.substr(text.rfind(':')), ": two words (" + id + ")\n");
    EXPECT_EQ((std::vector{mapThreadPriority(-3), mapThreadPriority(4), mapThreadPriority(5)}), (std::vector{2, 5, 2}));
}

TEST_F(CoProcessDeath, idsNamesAndObjectsStayWithTheirThreadsWhileTheTableGrows)
{
    EXPECT_EXIT(growTheTable(), testing::ExitedWithCode(0),
                "^(assertion failed processes_.size\\(\\) < kMaxProcesses at misc/switch line 161\n){26}$");
}

TEST_F(CoProcessDeath, killIsARequestAndShutdownLeavesTheSystem)
{
    EXPECT_EXIT(killAndShutDown(), crashed,
                "OMA_SPLAT: co_create: Attempt to create process after co-process deinitialisation\n");
    EXPECT_EXIT((prepareToDie(), co_kill(1)), crashed,
                "OMA_SPLAT: co_kill: Attempt to kill process before co-process initialisation\n");
}

TEST_F(CoProcessDeath, exceptionNamesItsThreadAndEndsTheProcess)
{
    EXPECT_EXIT(failInThread(), testing::ExitedWithCode(1),
                "\n\n\\*{17} EXCEPTION \\(n{200}\\) \\*{17}\n\n[^f]*f{250}\n$");
    EXPECT_EXIT((prepareToDie(), remote_exception_fn(),
                 protectedExecute([](void*) -> iThread::eExecRC { throw 1; }, nullptr),
                 std::exit(exceptionInProgress())),
                testing::ExitedWithCode(2), "^$");
}

TEST_F(CoProcessDeath, forkedChildEndsWithoutTheThreadsOfItsParent)
{
    EXPECT_EXIT(endAForkedChild(), testing::ExitedWithCode(0), "");
}

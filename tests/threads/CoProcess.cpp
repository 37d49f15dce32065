#include "misc/threads/CoProcess.h"

#include "OS/ThreadExit.h"
#include "diagnostics/Support.h"
#include "misc/diagnostics/FatalError.h"
#include "misc/threads/DecouplingQueue.h"
#include "misc/threads/ServiceLock.h"
#include "misc/threads/WorkerThreadQueue.h"
#include "platform/Sanitized.h"
#include "platform/ThreadSupport.h"
#include "threads/Calls.h"

#include <csignal>
#include <latch>
#include <stdexcept>
#include <sys/resource.h>
#include <sys/wait.h>
#include <thread>

using namespace test;

namespace
{

// A co-process that runs a function object.
class Co
{
public:
    explicit Co(std::function<void()> work, const char* name = "co") : work_(std::move(work))
    {
        id_ = co_create(body, name, 0, this, 0, 0);
        thread_ = coThreadGet(id_);
    }
    ~Co() { join(); }
    Co(const Co&) = delete;
    Co& operator=(const Co&) = delete;

    void join() { thread_->waitForExit(-1); }
    unsigned short id() const { return id_; }

private:
    static iThread::eExecRC body(void* self)
    {
        static_cast<Co*>(self)->work_();
        return iThread::eExecOK;
    }

    std::function<void()> work_;
    Mw::Ptr<iThread> thread_;
    unsigned short id_;
};

struct Marked : iObject
{
    explicit Marked(int value) : value_(value) {}
    const int value_;
};

void setMark(int value)
{
    setThreadLocalObject("mark", Mw::makePtr<Marked>(value));
}

// -1 where there is no mark.
int markOf()
{
    const auto object = Mw::dynamicCast<Marked>(getThreadLocalObject("mark"));
    return object ? object->value_ : -1;
}

using CoProcess = Diagnostics;

// For the cases in processes of their own. What they check ends the process with the number of the line.
struct CoProcessDeath : testing::Test
{
    CoProcessDeath() { GTEST_FLAG_SET(death_test_style, "threadsafe"); }
};

#define REQUIRE(condition) ((condition) ? void() : std::_Exit(__LINE__ & 255))

void prepareToDie()
{
    const rlimit noCore{0, 0};
    setrlimit(RLIMIT_CORE, &noCore);
    std::setvbuf(stderr, nullptr, _IOFBF, 1 << 14);
    SetLogOutput(stderr);
}

// By a signal; a sanitizer reports it and fails.
bool crashed(int status)
{
    return WIFSIGNALED(status) ? WTERMSIG(status) == SIGSEGV : MW_SANITIZED != 0 && WEXITSTATUS(status) != 0;
}

[[noreturn]] void checkUntilKilled()
{
    for (;;)
    {
        KillMyselfCheck();
        std::this_thread::yield();
    }
}

void killAndForget()
{
    prepareToDie();
    std::atomic<bool> unwound = false;
    std::latch ready(1);
    Co polite(
        [&]
        {
            struct AtEnd
            {
                std::atomic<bool>& unwound_;
                ~AtEnd() { unwound_ = true; }
            } atEnd{unwound};
            ready.count_down();
            checkUntilKilled();
        });
    ready.wait();
    REQUIRE(coThreadId(polite.id()) == coThreadGet(polite.id())->threadId());
    co_kill(polite.id());
    REQUIRE(unwound);
    REQUIRE(!coThreadGet(polite.id()) && coThreadId(polite.id()) == 0);
    co_kill(polite.id());
    co_kill(9999);

    std::atomic<bool> mayLeave = false;
    Co holder(
        [&]
        {
            service_disable();
            while (!mayLeave)
                KillMyselfCheck();
            service_enable();
            checkUntilKilled();
        });
    while (who_owns_service_lock() != coThreadId(holder.id()))
        std::this_thread::yield();
    set_crash_flag(1);
    co_kill(holder.id());
    REQUIRE(who_owns_service_lock() != 0);
    mayLeave = true;
    holder.join();

    Co suicide(
        []
        {
            co_kill(co_pid());
            KillMyselfCheck();
            REQUIRE(false);
        });
    suicide.join();
    std::_Exit(0);
}

void stopAllButTheSystems()
{
    prepareToDie();
    std::atomic<int> stopped = 0;
    std::atomic<bool> mayEnd = false;
    const auto work = [&]
    {
        try
        {
            checkUntilKilled();
        }
        catch (const ThreadExit&)
        {
            ++stopped;
            throw;
        }
    };
    Co first(work), second(work, ""), third(work, "3$");
    Co systems(
        [&]
        {
            while (!mayEnd)
                KillMyselfCheck();
        },
        "$ system");
    Shutdown::executeCallbacks(Shutdown::eNormalExit);
    REQUIRE(stopped == 3);
    REQUIRE(coThreadId(systems.id()) != 0 && coThreadId(0) == 0);
    co_kill(systems.id());
    REQUIRE(coThreadId(systems.id()) != 0);
    mayEnd = true;
    systems.join();
    Co tooLate([] {});
}

// Two with one function and argument; the second has the exception.
iThread::eExecRC failAsSecond(void* both)
{
    static_cast<std::latch*>(both)->arrive_and_wait();
    if (co_pid() == 2)
    {
        Mw::Exception::RuntimeError error("told", "misc/test", 1);
        error.stack_.clear();
        error.stack_.push_back(std::string(300, 'f').c_str());
        throw error;
    }
    for (;;)
        KillMyselfCheck();
}

void dieOfAnException()
{
    prepareToDie();
    std::latch both(2);
    co_create(failAsSecond, "one", 0, &both, 0, 0);
    co_create(failAsSecond, std::string(300, 'n').c_str(), 0, &both, 0, 0);
    for (;;)
        std::this_thread::yield();
}

void dieInAWorkerQueue()
{
    prepareToDie();
    using Safe = MwDC::ThreadSafetyTraits::ThreadSafe;
    const MwDC::NullCommand<MwDC::NoCtx, Safe> none;
    Calls<Safe, MwDC::NoCtx> calls([](auto&, auto&) -> bool { throw std::runtime_error("told"); });
    MwCmdProcessors::WorkerThreadQueue<Safe, MwDC::NoCtx> queue("worker", none, none, 0, 0, false);
    queue.insert(calls.cmd(), 0, {});
    for (;;)
        std::this_thread::yield();
}

void countExceptions()
{
    prepareToDie();
    remote_exception_fn();
    REQUIRE(exceptionInProgress() == 1);
    REQUIRE(protectedExecute([](void*) -> iThread::eExecRC { throw 1; }, nullptr) == 0);
    REQUIRE(exceptionInProgress() == 2);
    std::_Exit(0);
}

struct Countdown : DecouplingQueue<Marked>::Decoupler
{
    void despatch(Mw::Ptr<Marked>) override { ++despatched; }
    std::atomic<int> despatched = 0;
};

// Threads that look at everything while the process ends around them.
void stopWhileBusy()
{
    SetLogOutput(std::fopen("/dev/null", "w"));
    static std::atomic<int> begun = 0;
    const auto work = [](void* polite)
    {
        for (++begun;; polite != nullptr ? KillMyselfCheck() : void())
        {
            setMark(co_pid());
            coThreadGet(static_cast<unsigned short>(markOf() + 1));
            coDebugPrint(co_pid());
        }
        return iThread::eExecOK;
    };
    std::thread([work] { work(nullptr); }).detach();
    for (int i = 0; i < 4; ++i)
        co_create(work, i < 2 ? "$ system" : "polite", 0, i < 2 ? nullptr : &begun, 0, 0);
    static Countdown countdown;
    auto* const queue = new DecouplingQueue<Marked>(2, 0, 0, 0, &countdown, DecouplingQueue<Marked>::noTimeout);
    for (int i = 0; i < 100; ++i)
        queue->queue(Mw::makePtr<Marked>(i));
    while (begun < 5)
        std::this_thread::yield();
    delete queue;
    REQUIRE(countdown.despatched == 100);
    Shutdown::executeCallbacks(Shutdown::eNormalExit);
    std::exit(0);
}

// More than the table was once thought to hold, and more than one of its blocks; read by id all the while.
void growTheTable()
{
    prepareToDie();
    std::atomic<bool> done = false;
    std::atomic<int> wrong = 0;
    {
        Crowd readers(2,
                      [&](int)
                      {
                          while (!done)
                              for (unsigned short id = 0; id < 300; ++id)
                                  if (const auto thread = coThreadGet(id))
                                      wrong += thread->name() != "one of many" || id == 0;
                      });
        const auto create = [&](int)
        {
            for (int i = 0; i < 70; ++i)
            {
                unsigned short inside = 0;
                const auto look = [&]
                {
                    inside = co_pid();
                    wrong += isMainThread() || markOf() != -1 || coThreadId(inside) != threads().currentThreadId();
                    setMark(inside);
                    wrong += markOf() != inside;
                };
                Co one(look, "one of many");
                one.join();
                wrong += inside != one.id() || !isMainThread();
            }
        };
        Crowd(4, create);
        done = true;
    }
    setMark(1000);
    Crowd(1, [&](int) { wrong += markOf() != 1000; });
    setThreadLocalObject("mark", nullptr);
    REQUIRE(wrong == 0);
    std::exit(0);
}

} // namespace

TEST_F(CoProcess, logShowsWhoRuns)
{
    desktop_.settings(L"config.dat", iDesktop::eMachineSettings)->setValue("affinity.two_words", "3", "");
    std::latch end(1);
    const std::string longName(300, 'x');
    Co one([&] { end.wait(); }, "two words"), two([&] { end.wait(); }, longName.c_str());
    EXPECT_EQ(logged().substr(11), "Default overridden: affinity.two_words = 3 (dflt 0)\n") << "and has no effect";
    co_print({});
    coDebugPrint(one.id());
    coDebugPrint(9999);
    const std::string text = logged();
    const std::string id = std::to_string(coThreadId(one.id()));
    EXPECT_NE(text.find(" : 02 R " + id + "/"), text.npos) << text;
    EXPECT_NE(text.find(" two words\n"), text.npos) << text;
    EXPECT_NE(text.find(" " + longName.substr(0, 200) + "\n"), text.npos) << text;
    EXPECT_NE(text.find(": two words (" + id + ")\n"), text.npos) << text;
    EXPECT_EQ(coThreadGet(two.id())->name(), longName.c_str()) << "whole in the table";
    end.count_down();
}

TEST(CoProcessPriority, isThatOfThePlatform)
{
    const int expected[] = {2, 0, 1, 2, 3, 4, 5, 5, 2};
    for (int priority = -3; priority <= 5; ++priority)
        EXPECT_EQ(mapThreadPriority(priority), expected[priority + 3]);
}

TEST_F(CoProcessDeath, idsNamesAndObjectsStayWithTheirThreadsWhileTheTableGrows)
{
    EXPECT_EXIT(growTheTable(), testing::ExitedWithCode(0),
                "^(assertion failed processes_.size\\(\\) < kMaxProcesses at misc/switch line 161\n){26}$");
}

TEST_F(CoProcessDeath, killIsARequestAndShutdownLeavesTheSystem)
{
    EXPECT_EXIT(killAndForget(), testing::ExitedWithCode(0), "");
    EXPECT_EXIT(stopAllButTheSystems(), crashed,
                "OMA_SPLAT: co_create: Attempt to create process after co-process deinitialisation\n");
    EXPECT_EXIT((prepareToDie(), co_kill(1)), crashed,
                "OMA_SPLAT: co_kill: Attempt to kill process before co-process initialisation\n");
}

TEST_F(CoProcessDeath, exceptionNamesItsThreadAndEndsTheProcess)
{
    EXPECT_EXIT(dieOfAnException(), testing::ExitedWithCode(1),
                "\n\n\\*{17} EXCEPTION \\(n{200}\\) \\*{17}\n\n[^f]*f{250}\n$");
    EXPECT_EXIT(dieInAWorkerQueue(), testing::ExitedWithCode(1), "\n\n\\*{17} EXCEPTION \\*{17}\n\n$");
    EXPECT_EXIT(countExceptions(), testing::ExitedWithCode(0), "^$");
}

TEST_F(CoProcessDeath, processStopsInOrderWithBusyThreads)
{
    // The thread sanitizer waits a second at each end.
    const int rounds = std::getenv("MW_LONG_TESTS") != nullptr ? 200 : MW_SANITIZED != 0 ? 3 : 20;
    for (int round = 0; round < rounds; ++round)
        ASSERT_EXIT(stopWhileBusy(), testing::ExitedWithCode(0), "^$");
}

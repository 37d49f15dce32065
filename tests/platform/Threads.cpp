#include "ThreadSupport.h"
#include "platform/Sanitized.h"

#include "Mw/Exception.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <gtest/gtest.h>
#include <pthread.h>
#include <sched.h>
#include <stdexcept>
#include <sys/resource.h>
#include <unistd.h>

using namespace test;

namespace
{

// What the handler of the test was last given.
struct Reported
{
    int times = 0;
    iThread::Exception exception;
    std::uint32_t threadId = 0;
};
Reported reported;

void report(const iThread::Exception& exception)
{
    reported = {reported.times + 1, exception, threads().currentThreadId()};
}

class Threads : public testing::Test
{
protected:
    Threads()
    {
        reported = {};
        GTEST_FLAG_SET(death_test_style, "threadsafe");
    }
};
using ThreadsDeathTest = Threads;

struct AtEnd : iObject
{
    explicit AtEnd(std::function<void()> action) : action_(std::move(action)) {}
    ~AtEnd() override { action_(); }
    const std::function<void()> action_;
};

} // namespace

TEST_F(Threads, knowTheirIdAndTheirWholeName)
{
    // The system shows 15 bytes, and half a character is none.
    for (const auto& [name, shown] :
         {std::pair("$ a rather long name", "$ a rather long"), std::pair("fourteen bytes\xC3\xA9", "fourteen bytes")})
    {
        char seen[16] = {};
        std::uint32_t id = 0;
        const auto look = [&]
        {
            ::pthread_getname_np(::pthread_self(), seen, sizeof seen);
            id = threads().currentThreadId();
        };
        Runner runner(look, nullptr, name, 1); // raised to the least that a stack may have
        EXPECT_NE(runner->threadId(), threads().currentThreadId());
        runner.join();
        EXPECT_EQ(runner->threadId(), id);
        EXPECT_STREQ(seen, shown);
        EXPECT_EQ(runner->name(), name);
    }
}

TEST_F(Threads, reportTheExceptionThatEndsThem)
{
    std::size_t thrownFrames = 0;
    Runner carrying(
        [&]
        {
            Mw::Exception::RuntimeError error("test", "OS/Threads", 1);
            thrownFrames = error.stack_.size();
            throw error;
        },
        report);
    carrying.join();
    EXPECT_EQ(reported.times, 1);
    EXPECT_EQ(reported.exception.function, reinterpret_cast<std::uintptr_t>(&Runner::execute));
    EXPECT_EQ(reported.exception.argument, reinterpret_cast<std::uintptr_t>(&carrying));
    EXPECT_TRUE(thrownFrames != 0 && reported.exception.stack.size() == thrownFrames);
    EXPECT_EQ(reported.threadId, carrying->threadId()) << "on the dying thread";

    const auto fail = [](void*) -> iThread::eExecRC { throw 1; };
    EXPECT_EQ(threads().protect(fail, this, report), iThread::eExecFailed);
    EXPECT_EQ(reported.times, 2);
    EXPECT_EQ(reported.exception.argument, reinterpret_cast<std::uintptr_t>(this));
    EXPECT_TRUE(reported.exception.stack.empty());
    EXPECT_THROW(threads().protect(fail, nullptr, nullptr), int);
}

TEST_F(ThreadsDeathTest, endTheProcessWhereNobodyHandlesTheException)
{
    EXPECT_DEATH(Runner([] { throw std::runtime_error("nobody handles this"); }).join(), "nobody handles this");
}

TEST_F(Threads, exitThroughDestructorsWhichIsNoException)
{
    bool unwound = false, wentOn = false;
    Runner(
        [&]
        {
            const AtEnd onTheStack([&] { unwound = true; });
            threads().exitCurrentThread();
            wentOn = true;
        },
        report)
        .join();
    EXPECT_TRUE(unwound && !wentOn);
    Runner([&] { ::pthread_exit(nullptr); }, report).join();
    EXPECT_EQ(reported.times, 0);
}

TEST_F(Threads, endAfterTheirLocalObjects)
{
    bool objectGone = false, threadLocalGone = false;
    Mw::Ptr<iThread> self;
    const auto known = threads().createSemaphore(0);
    Runner runner(
        [&]
        {
            thread_local const AtEnd last([&] { threadLocalGone = true; });
            static_cast<void>(last);
            known->acquire();
            // Looks at its thread's objects while they go, and leaves another one.
            const auto lookAndLeave = [&]
            {
                EXPECT_TRUE(self->localObjects().empty());
                self->localObjects()["late"] = Mw::makePtr<AtEnd>([&] { objectGone = true; });
            };
            self->localObjects()["lookup"] = Mw::makePtr<AtEnd>(lookAndLeave);
            EXPECT_FALSE(self->waitForExit(-1)) << "a thread never waits for itself";
        });
    self = runner.handle();
    EXPECT_FALSE(runner->waitForExit(0) || runner->waitForExit(1));
    known->release();
    EXPECT_TRUE(runner->waitForExit(-1));
    EXPECT_TRUE(objectGone && threadLocalGone);
    EXPECT_FALSE(runner->setPriority(2) || runner->setAffinity(0)) << "its number may be another's by now";
}

TEST_F(Threads, runOnWhenTheirHandleIsDropped)
{
    const auto done = threads().createSemaphore(0);
    const auto work = [](void* semaphore)
    {
        threads().yield();
        static_cast<iSemaphore*>(semaphore)->release();
        return iThread::eExecOK;
    };
    threads().createThread({work, done.get(), 0, "dropped"});
    EXPECT_TRUE(done->acquire(20'000));
}

TEST_F(Threads, canBeBoundToAProcessor)
{
    const auto go = threads().createEvent(iThreadEvent::eAutoReset);
    Runner runner([&] { go->wait(); });
    const int here = std::min(::sched_getcpu(), 30); // a bit of an int
    const auto bound = [&](int processors)
    {
        EXPECT_TRUE(runner->setAffinity(processors));
        cpu_set_t set;
        ::sched_getaffinity(static_cast<pid_t>(runner->threadId()), sizeof set, &set);
        return std::pair(CPU_COUNT(&set), CPU_ISSET(here, &set) != 0);
    };
    EXPECT_EQ(bound(1 << here), std::pair(1, true));
    EXPECT_GE(static_cast<unsigned>(bound(0).first), threads().processorCount());
    go->set();
}

#if !MW_SANITIZED

// Children without rights, so that the test means the same for every user.
TEST_F(ThreadsDeathTest, takeTheNearestPriorityThatIsAllowed)
{
    const auto raise = []
    {
        const rlimit none{0, 0};
        ::setrlimit(RLIMIT_NICE, &none);
        if (::geteuid() == 0 && ::setuid(65534) != 0)
            ::_exit(1);
        const auto go = threads().createEvent(iThreadEvent::eManualReset);
        Runner runner([&] { go->wait(); });
        const auto niceValue = [&] { return ::getpriority(PRIO_PROCESS, runner->threadId()); };
        const int base = niceValue();
        bool good = !runner->setPriority(6) && !runner->setPriority(-1);
        for (const auto& [priority, nice] : {std::pair(5, base), {2, base}, {1, base + 5}, {4, base + 5}})
            good = runner->setPriority(priority) && niceValue() == std::min(nice, 19) && good;
        go->set();
        runner.join();
        std::fputs("end of messages\n", stderr);
        std::exit(good ? 0 : 2);
    };
    EXPECT_EXIT(raise(), testing::ExitedWithCode(0), "^Thread priority [^\n]*\nend of messages\n$");
}

TEST_F(ThreadsDeathTest, areNullWhereTheSystemHasNoRoom)
{
    const auto exhaust = []
    {
        const rlimit little{1u << 30, 1u << 30};
        ::setrlimit(RLIMIT_AS, &little);
        const auto work = [](void*) { return iThread::eExecOK; };
        std::exit(threads().createThread({work, nullptr, 2u << 30, "huge"}) == nullptr ? 0 : 1);
    };
    EXPECT_EXIT(exhaust(), testing::ExitedWithCode(0), "");
    EXPECT_EQ(threads().createThread({}), nullptr) << "nor without a function";
}

#endif

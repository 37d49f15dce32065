#include "ThreadSupport.h"

#include "Mw/Exception.h"
#include "OS/ThreadExit.h"

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

struct Witness : iObject
{
    explicit Witness(bool* gone) : gone_(gone) {}
    ~Witness() override { *gone_ = true; }
    bool* gone_;
};

} // namespace

TEST_F(Threads, keepTheirNameWholeAndShowTheSystemItsBeginning)
{
    const struct
    {
        const char* name;
        const char* shown;
    } cases[] = {{"fifteen bytes..", "fifteen bytes.."},
                 {"$ a rather long name", "$ a rather long"},
                 {"fourteen byte\xC3\xA9\xC3\xA9", "fourteen byte\xC3\xA9"},
                 {"fourteen bytes\xC3\xA9", "fourteen bytes"}};
    for (const auto& [name, shown] : cases)
    {
        char seen[16] = {};
        Runner runner([&] { ::pthread_getname_np(::pthread_self(), seen, sizeof seen); }, nullptr, name);
        runner.join();
        EXPECT_STREQ(seen, shown);
        EXPECT_EQ(runner->name(), name);
    }
}

TEST_F(Threads, haveTheIdThatTheySee)
{
    std::uint32_t seen = 0;
    Runner runner([&] { seen = threads().currentThreadId(); });
    const std::uint32_t id = runner->threadId();
    runner.join();
    EXPECT_EQ(id, seen);
    EXPECT_NE(id, 0u);
    EXPECT_NE(id, threads().currentThreadId());
}

TEST_F(Threads, runOnTheSmallestStackAndNotWithoutAFunction)
{
    bool ran = false;
    Runner([&] { ran = true; }, nullptr, "small", 1).join();
    EXPECT_TRUE(ran);
    EXPECT_EQ(threads().createThread({}), nullptr);
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
    EXPECT_EQ(reported.exception.stack.size(), thrownFrames);
    EXPECT_GT(thrownFrames, 0u);
    EXPECT_EQ(reported.threadId, carrying->threadId()) << "on the dying thread";

    Runner([] { throw std::runtime_error("test"); }, report).join();
    EXPECT_EQ(reported.times, 2);
    EXPECT_TRUE(reported.exception.stack.empty());
}

TEST_F(Threads, protectACall)
{
    const auto fail = [](void*) -> iThread::eExecRC { throw 1; };
    EXPECT_EQ(threads().protect(fail, this, report), iThread::eExecFailed);
    EXPECT_EQ(reported.exception.argument, reinterpret_cast<std::uintptr_t>(this));
    EXPECT_THROW(threads().protect(fail, nullptr, nullptr), int);
    EXPECT_EQ(threads().protect([](void*) { return iThread::eExecOK; }, nullptr, report), iThread::eExecOK);
    EXPECT_EQ(reported.times, 1);
}

TEST_F(ThreadsDeathTest, endTheProcessWhereNobodyHandlesTheException)
{
    EXPECT_DEATH(Runner([] { throw std::runtime_error("nobody handles this"); }).join(), "nobody handles this");
}

TEST_F(Threads, exitThroughDestructorsAndCatchAlls)
{
    bool unwound = false, wentOn = false;
    Runner(
        [&]
        {
            const Witness onTheStack(&unwound);
            try
            {
                threads().exitCurrentThread();
            }
            catch (const ThreadExit&)
            {
                throw;
            }
            catch (...)
            {
            }
            wentOn = true;
        },
        report)
        .join();
    EXPECT_TRUE(unwound);
    EXPECT_FALSE(wentOn);
    EXPECT_EQ(reported.times, 0) << "leaving is no exception";

    Runner([&] { ::pthread_exit(nullptr); }, report).join();
    EXPECT_EQ(reported.times, 0) << "nor is the system's way to leave";
}

TEST_F(Threads, endAfterTheirLocalObjects)
{
    bool objectGone = false, threadLocalGone = false;
    Mw::Ptr<iThread> self;
    const auto known = threads().createSemaphore(0);
    Runner runner(
        [&]
        {
            thread_local const Witness last(&threadLocalGone);
            known->acquire();
            self->localObjects()["witness"] = Mw::makePtr<Witness>(&objectGone);
            EXPECT_FALSE(self->waitForExit(-1)) << "a thread never waits for itself";
            (void)last;
        });
    self = runner.handle();
    EXPECT_FALSE(runner->waitForExit(0));
    EXPECT_FALSE(runner->waitForExit(1));
    known->release();
    EXPECT_TRUE(runner->waitForExit(-1));
    EXPECT_TRUE(objectGone);
    EXPECT_TRUE(threadLocalGone);
    EXPECT_FALSE(runner->setPriority(2)) << "its number may be another's by now";
    EXPECT_FALSE(runner->setAffinity(0));
}

TEST_F(Threads, runOnWhenTheirHandleIsDropped)
{
    const auto go = threads().createEvent(iThreadEvent::eManualReset);
    const auto done = threads().createSemaphore(0);
    struct Both
    {
        iThreadEvent* go;
        iSemaphore* done;
    } both{go.get(), done.get()};
    const auto work = [](void* argument)
    {
        auto& both = *static_cast<Both*>(argument);
        both.go->wait();
        both.done->release();
        return iThread::eExecOK;
    };
    for (int i = 0; i < 8; ++i)
        threads().createThread({work, &both, 0, "dropped"});
    go->set();
    for (int i = 0; i < 8; ++i)
        EXPECT_TRUE(done->acquire(20'000));
}

TEST_F(Threads, canBeBoundToProcessors)
{
    cpu_set_t allowed;
    ASSERT_EQ(::sched_getaffinity(0, sizeof allowed, &allowed), 0);
    EXPECT_EQ(threads().processorCount(), static_cast<unsigned>(CPU_COUNT(&allowed)));
    int first = 0;
    while (!CPU_ISSET(first, &allowed))
        ++first;
    if (first >= 32)
        GTEST_SKIP() << "none of this process's processors has a bit";
    const auto bound = threads().createSemaphore(0), look = threads().createSemaphore(0);
    int processors[2] = {};
    Runner runner(
        [&]
        {
            for (int& count : processors)
            {
                look->acquire();
                cpu_set_t mine;
                ::pthread_getaffinity_np(::pthread_self(), sizeof mine, &mine);
                count = CPU_COUNT(&mine);
                bound->release();
            }
        });
    EXPECT_TRUE(runner->setAffinity(1 << first));
    look->release();
    bound->acquire();
    EXPECT_TRUE(runner->setAffinity(0));
    look->release();
    runner.join();
    EXPECT_EQ(processors[0], 1);
    EXPECT_GE(processors[1], CPU_COUNT(&allowed));
}

#if !defined(MW_TEST_SANITIZED)

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
        bool good = runner->setPriority(5) && niceValue() == base && runner->setPriority(2) && niceValue() == base;
        good = good && runner->setPriority(1) && niceValue() == std::min(base + 5, 19);
        good = good && runner->setPriority(4) && niceValue() == std::min(base + 5, 19);
        good = good && !runner->setPriority(6) && !runner->setPriority(-1);
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
        const rlimit little{std::size_t{1} << 30, std::size_t{1} << 30};
        ::setrlimit(RLIMIT_AS, &little);
        iThreadMgr::ThreadParams params;
        params.function = [](void*) { return iThread::eExecOK; };
        params.stackSizeBytes = 2u << 30;
        std::exit(threads().createThread(params) == nullptr ? 0 : 1);
    };
    EXPECT_EXIT(exhaust(), testing::ExitedWithCode(0), "");
}

#endif

#include "ThreadSupport.h"
#include "platform/Sanitized.h"

#include "Mw/Exception.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <gtest/gtest.h>
#include <pthread.h>
#include <sys/resource.h>
#include <unistd.h>

using namespace test;

namespace
{

// What the handler of the test was given, on the thread that died.
std::vector<iThread::Exception> reported;

void report(const iThread::Exception& exception)
{
    reported.push_back(exception);
}

struct AtEnd : iObject
{
    explicit AtEnd(std::function<void()> action) : action_(std::move(action)) {}
    ~AtEnd() override { action_(); }
    const std::function<void()> action_;
};

} // namespace

TEST(Threads, knowTheirIdAndTheirWholeName)
{
    char seen[16] = {};
    std::uint32_t id = 0;
    const auto look = [&]
    {
        ::pthread_getname_np(::pthread_self(), seen, sizeof seen);
        id = threads().currentThreadId();
    };
    const char* const name = "fourteen bytes\xC3\xA9";
    Runner runner(look, nullptr, name, 1); // a stack that is raised to the least that one may have
    runner.join();
    EXPECT_EQ(runner->threadId(), id);
    EXPECT_STREQ(seen, "fourteen bytes") << "the system shows 15 bytes, and half a character is none";
    EXPECT_EQ(runner->name(), name);
}

TEST(Threads, reportTheExceptionThatEndsThem)
{
    reported.clear();
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
    const auto fail = [](void*) -> iThread::eExecRC { throw 1; };
    EXPECT_EQ(threads().protect(fail, nullptr, report), iThread::eExecFailed);
    EXPECT_THROW(threads().protect(fail, nullptr, nullptr), int);
    ASSERT_EQ(reported.size(), 2u);
    EXPECT_EQ(reported[0].function, reinterpret_cast<std::uintptr_t>(&Runner::execute));
    EXPECT_EQ(reported[0].argument, reinterpret_cast<std::uintptr_t>(&carrying));
    EXPECT_TRUE(thrownFrames != 0 && reported[0].stack.size() == thrownFrames && reported[1].stack.empty());
}

TEST(Threads, exitThroughDestructorsWhichIsNoException)
{
    reported.clear();
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
    EXPECT_TRUE(reported.empty());
}

TEST(Threads, endAfterTheirLocalObjects)
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
    EXPECT_FALSE(runner->waitForExit(1));
    known->release();
    EXPECT_TRUE(runner->waitForExit(-1));
    EXPECT_TRUE(objectGone && threadLocalGone);
    EXPECT_FALSE(runner->setPriority(2)) << "its number may be another's by now";
}

TEST(Threads, runOnWhenTheirHandleIsDropped)
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

#if !MW_SANITIZED

// Children without rights, so that the test means the same for every user.
TEST(ThreadsDeathTest, takeTheNearestPriorityThatIsAllowed)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
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
        for (const auto& [priority, nice] : {std::pair(5, base), {1, base + 5}, {4, base + 5}})
            good = runner->setPriority(priority) && niceValue() == std::min(nice, 19) && good;
        go->set();
        runner.join();
        std::fputs("end of messages\n", stderr);
        std::exit(good ? 0 : 2);
    };
    EXPECT_EXIT(raise(), testing::ExitedWithCode(0), "^Thread priority [^\n]*\nend of messages\n$");
}

#endif

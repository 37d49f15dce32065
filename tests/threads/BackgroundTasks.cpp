#include "misc/threads/BackgroundTaskBase.h"
#include "misc/threads/BackgroundTaskQueueManager.h"
#include "misc/threads/UIBackgroundTasksQueue.h"
#include "platform/Sanitized.h"
#include "platform/ThreadSupport.h"

#include "misc/diagnostics/Log.h"

#include <cmath>
#include <gtest/gtest.h>
#include <pthread.h>
#include <random>
#include <semaphore>
#include <stdexcept>

namespace
{

using Status = iBackgroundTask::eStatus;
using Queue = BackgroundTaskQueueBase;

class TestTask : public BackgroundTaskBase
{
public:
    explicit TestTask(std::function<void(TestTask&)> work = {}, const char* name = "task")
        : work_(std::move(work)), name_(name)
    {
    }
    LightweightString<char> getName() const override { return name_; }
    LightweightString<char> getDescription() const override { return {}; }
    void run() override
    {
        ++runs;
        if (work_)
            work_(*this);
        ++ends;
    }
    std::atomic<int> queuings{0}, completions{0}, removals{0}, runs{0}, ends{0};

private:
    const std::function<void(TestTask&)> work_;
    const LightweightString<char> name_;
};

using Task = Mw::Ptr<TestTask>;

template <class... Args>
Task makeTask(Args&&... args)
{
    return Mw::makePtr<TestTask>(std::forward<Args>(args)...);
}

// Counts its events in the tasks, and hands them on.
class TestQueue : public BackgroundTaskQueueBase
{
public:
    using Listener = std::function<void(int event, TestTask&)>;
    explicit TestQueue(
        int threads, Listener listener = [](int, TestTask&) {})
        : threads_(threads), listener_(std::move(listener))
    {
        for (const eEventType type : {eTaskQueued, eTaskDone, eTaskRemoved})
            addListener(Mw::makePtr<BoundCallback<&TestQueue::count>>(this), type);
    }
    ~TestQueue() override { shutdown(Shutdown::eNormalExit); }
    unsigned getCaps() const override { return 6; }
    int getNumThreads() const override { return threads_; }
    int getThreadPriority() const override { return 0; }

private:
    int count(const NotifyMsg& msg)
    {
        const auto task = Mw::dynamicCast<TestTask>(msg.object());
        const int event = msg.type();
        ++(event == eTaskQueued ? task->queuings : event == eTaskDone ? task->completions : task->removals);
        listener_(event, *task);
        return 0;
    }

    const int threads_;
    const Listener listener_;
};

// A task that occupies its thread until it is let go on, or aborted.
struct Blocker
{
    std::binary_semaphore running{0};
    std::atomic<bool> mayEnd{false};
    std::atomic<Status> seen{iBackgroundTask::eNotRunning};
    Task task = makeTask(
        [this](TestTask&)
        {
            running.release();
            while (!mayEnd && (seen = Queue::getCurrentTaskStatus()) != iBackgroundTask::eAbortRequested)
                std::this_thread::yield();
        },
        "blocker");
};

void randomUse(Queue& queue, const std::vector<Task>& tasks, unsigned seed)
{
    std::mt19937 random(seed);
    for (const Task& own : tasks)
    {
        const Task& other = tasks[random() % tasks.size()];
        queue.queue(own, random() % 2 == 0);
        switch (random() % 6)
        {
        case 0:
            queue.setTaskStatus(other, iBackgroundTask::eAbortRequested);
            break;
        case 1:
            queue.setAllTasksPaused(random() % 2 == 0);
            break;
        case 2:
            queue.queue(other, random() % 2 == 0);
            break;
        case 3:
            if (random() % 100 == 0)
                queue.abortAllTasks();
            break;
        }
    }
    queue.setAllTasksPaused(false);
}

TEST(BackgroundTasks, accountForEveryTimeThatATaskIsQueued)
{
    const auto work = [](TestTask&)
    {
        for (int i = 0; i < 20 && Queue::getCurrentTaskStatus() != iBackgroundTask::eAbortRequested; ++i)
            std::this_thread::yield();
    };
    std::vector<Task> tasks;
    for (int i = 0; i < (MW_SANITIZED ? 2500 : 10000); ++i)
        tasks.push_back(makeTask(work, std::to_string(i).c_str()));
    {
        // A listener may ask the queue and the manager, whatever others do to them.
        const auto ask = [](int, TestTask& task)
        {
            EXPECT_GE(task.queuings, task.completions + task.removals) << "told of before it was queued";
            task.getStatus();
            BackgroundTaskQueueManager::instance().empty(0);
        };
        TestQueue queue(3, ask);
        // Everybody queues all tasks: they meet in every state.
        test::Crowd(4, [&](int n) { randomUse(queue, tasks, static_cast<unsigned>(n)); });
        for (const Task& task : tasks)
        {
            task->waitForCompletion();
            EXPECT_EQ(task->queuings, task->ends + task->removals);
        }
    }
    for (const Task& task : tasks)
    {
        EXPECT_GT(task->queuings, 0);
        EXPECT_EQ(task->queuings, task->completions + task->removals);
        EXPECT_EQ(task->runs, task->completions);
    }
}

TEST(BackgroundTasks, neverRunWhatWasAbortedBeforeItBegan)
{
    Blocker blocker;
    // Also one that is aborted while listeners are told of it.
    const Task early = makeTask(), twice = makeTask(), again = makeTask(), kept = makeTask(), last = makeTask();
    TestQueue queue(1,
                    [&](int event, TestTask& task)
                    {
                        if (event == Queue::eTaskQueued && &task == early.get())
                            task.setStatus(iBackgroundTask::eAbortRequested);
                    });
    queue.queue(blocker.task, false);
    blocker.running.acquire();
    for (const Task& task : {early, twice, twice, again, kept})
        EXPECT_TRUE(queue.queue(task, false));
    queue.queueFront(last);
    EXPECT_EQ(queue.getQueuedTasks(), (std::vector<Mw::Ptr<iBackgroundTask>>{last, twice, twice, again, kept}));
    // The same while it runs: its second run is dropped, and the first is told.
    queue.queue(blocker.task, false);
    for (const Task& task : {twice, again, last})
        task->setStatus(iBackgroundTask::eAbortRequested);
    queue.queue(again, false);
    for (const Task& task : {early, twice, last})
        task->waitForCompletion();
    blocker.task->setStatus(iBackgroundTask::eAbortRequested);
    again->waitForCompletion();
    queue.shutdown(Shutdown::eNormalExit);

    EXPECT_EQ(blocker.seen, iBackgroundTask::eAbortRequested);
    for (const auto& [task, runs, removed] :
         {std::tuple(blocker.task, 1, 1), std::tuple(early, 0, 1), std::tuple(twice, 0, 2), std::tuple(again, 1, 1),
          std::tuple(kept, 1, 0), std::tuple(last, 0, 1)})
    {
        EXPECT_EQ(task->runs, runs);
        EXPECT_EQ(task->completions, runs);
        EXPECT_EQ(task->removals, removed);
    }
}

TEST(BackgroundTasks, keepAnAbortThatWasAskedForWhenAllPause)
{
    Blocker paused;
    TestQueue queue(1);
    queue.queue(paused.task, false);
    paused.running.acquire();
    queue.setAllTasksPaused(true);
    EXPECT_EQ(paused.task->getStatus(), iBackgroundTask::ePaused);
    queue.setAllTasksPaused(false);
    EXPECT_EQ(paused.task->getStatus(), iBackgroundTask::eRunning);

    const auto& manager = BackgroundTaskQueueManager::instance();
    EXPECT_EQ(manager.getQueues(2), std::vector<iBackgroundTaskQueue*>{&queue});
    EXPECT_TRUE(manager.getQueues(9).empty() && manager.empty(1) && !manager.empty(4));

    paused.task->setStatus(iBackgroundTask::eAbortRequested);
    queue.setAllTasksPaused(true);
    paused.task->waitForCompletion();
    EXPECT_EQ(Queue::getCurrentTaskStatus(), iBackgroundTask::eNotRunning);
}

TEST(BackgroundTasks, areUniqueByNameAmongTheRunningAndByThemselvesAmongTheQueued)
{
    Blocker blocker;
    TestQueue queue(1);
    queue.queue(blocker.task, true);
    blocker.running.acquire();
    const Task namesake = makeTask(nullptr, "blocker"), task = makeTask(), sameName = makeTask();
    EXPECT_FALSE(queue.queue(nullptr, false) || queue.queue(namesake, true));
    EXPECT_TRUE(queue.queue(task, true));
    EXPECT_FALSE(queue.queue(task, true));
    EXPECT_TRUE(queue.queue(sameName, true)) << "the one of its name doesn't run yet";
    queue.clear();
    sameName->waitForCompletion();
    EXPECT_EQ(sameName->runs, 0);
    blocker.mayEnd = true;
}

TEST(BackgroundTasks, goOnAtOnceWhenTheyWaitForThemselves)
{
    TestQueue queue(1);
    std::atomic<bool> outerAborted{false};
    const Task task = makeTask(
        [&](TestTask& self)
        {
            self.waitForCompletion();
            // Run within the other on its thread, this one waits for both. Neither takes what the other is asked.
            queue.despatch(makeTask(
                [&](TestTask&)
                {
                    self.setStatus(iBackgroundTask::eAbortRequested);
                    EXPECT_EQ(Queue::getCurrentTaskStatus(), iBackgroundTask::eRunning);
                    self.waitForCompletion();
                }));
            outerAborted = Queue::getCurrentTaskStatus() == iBackgroundTask::eAbortRequested;
        },
        "Conform");
    testing::internal::CaptureStdout();
    queue.queue(task, false);
    task->waitForCompletion();
    const std::string output = testing::internal::GetCapturedStdout();
    const char* const message = "The background task \"Conform\" waits for its own completion";
    EXPECT_NE(output.find(message, output.find(message) + 1), output.npos) << output;
    EXPECT_TRUE(outerAborted);
}

TEST(BackgroundTasks, endWhoeverShutsTheirQueueDown)
{
    TestQueue queue(2);
    testing::internal::CaptureStdout();
    test::Crowd(4,
                [&](int n)
                {
                    for (int i = 0; i < 20; ++i)
                    {
                        const Task task = makeTask(
                            [&](TestTask&)
                            {
                                if ((n + i) % 4 == 0)
                                    queue.shutdown(Shutdown::eNormalExit);
                                queue.queue(makeTask(), false);
                            });
                        queue.queue(task, false);
                        if (n == 0)
                            queue.shutdown(Shutdown::eNormalExit);
                        task->waitForCompletion();
                    }
                });
    queue.shutdown(Shutdown::eNormalExit);
    testing::internal::GetCapturedStdout(); // assertions, as many as came in while it stopped
    EXPECT_TRUE(queue.empty());
}

TEST(BackgroundTasks, areDoneWhenTheyEndTheirThread)
{
    for (void (*const end)() : {+[] { OS().threadMgr().exitCurrentThread(); }, +[] { ::pthread_exit(nullptr); }})
    {
        const Task task = makeTask([end](TestTask&) { end(); });
        {
            TestQueue queue(1);
            queue.queue(task, false);
            task->waitForCompletion();
        }
        EXPECT_EQ(task->completions, 1);
        EXPECT_TRUE(task->getLog()->getLines().empty());
    }
}

// Cases that end in a process of their own, which starts anew: this one has threads.
class BackgroundTasksDeath : public testing::Test
{
protected:
    void SetUp() override { GTEST_FLAG_SET(death_test_style, "threadsafe"); }
};

// Prints what the task's log says, when the co-processes are gone. The main thread waits for the task to the end of
// the process.
Task& theFailing = *new Task;
void printLog(Shutdown::eExitType)
{
    Log("in the end: %s\n", theFailing->getLog()->getLines().back().text.c_str());
}

void failWhileAwaited()
{
    SetLogOutput(stderr);
    Shutdown::addCallback(printLog, 800);
    std::binary_semaphore isAwaited{0};
    theFailing = makeTask(
        [&](TestTask&)
        {
            isAwaited.acquire();
            throw std::runtime_error("no such reel");
        });
    // The stop waits for this one, which waits for the other.
    const Task waiting = makeTask(
        [&](TestTask&)
        {
            isAwaited.release();
            theFailing->waitForCompletion();
        });
    for (const Task& task : {theFailing, waiting})
        UIBackgroundTasksQueue::instance().queue(task, false);
    theFailing->waitForCompletion();
}

TEST_F(BackgroundTasksDeath, takeTheProgramDownByAnExceptionAfterSayingWhy)
{
    EXPECT_EXIT(failWhileAwaited(), testing::ExitedWithCode(1),
                "EXCEPTION \\(\\$DQ<iBackgroundTask>\\)(.|\n)*in the end: Stopped by an exception: no such reel");
}

// Co-processes look at everything, one of them to the very end, while two tasks run at a time and another one waits.
[[noreturn]] void endWhileBusy(bool inOrder)
{
    SetLogOutput(std::fopen("/dev/null", "w"));
    const auto beBusy = [](void*) -> iThread::eExecRC
    {
        for (;; std::this_thread::yield(), KillMyselfCheck())
        {
            setThreadLocalObject("thread", coThreadGet(co_pid()));
            coThreadGet(getThreadLocalObject("thread") ? 1 : 2);
            coDebugPrint(co_pid());
        }
    };
    const unsigned short other = co_create(beBusy, "other", 0, nullptr, 0, 0);
    co_create(beBusy, "$ system", 0, nullptr, 0, 0);
    Queue& queue = UIBackgroundTasksQueue::instance();
    std::atomic<int> begun{0}, running{0}, ran{0};
    for (int i = 0; i < 3; ++i)
        queue.queue(makeTask(
                        [&](TestTask&)
                        {
                            const bool areTwo = ++running <= 2;
                            for (++begun; begun < 2;)
                                std::this_thread::yield();
                            for (int spins = 0; spins < 20; ++spins)
                                std::this_thread::yield();
                            ran += areTwo && coThreadId(other) != 0; // the queue is stopped first
                            --running;
                        }),
                    false);
    while (begun < 2)
        std::this_thread::yield();
    if (inOrder)
    {
        Shutdown::executeCallbacks(Shutdown::eNormalExit);
        const Task late = makeTask();
        if (ran != 3 || queue.queue(late, false) || TestQueue(1).queue(late, false))
            std::exit(2);
        late->waitForCompletion();
    }
    std::exit(0);
}

TEST_F(BackgroundTasksDeath, letTheProcessEndInOrderWhileBusy)
{
    for (int round = 0; round < (MW_SANITIZED ? 10 : 200); ++round)
        ASSERT_EXIT(endWhileBusy(round % 2 == 0), testing::ExitedWithCode(0), "") << round;
}

TEST(TaskLog, aggregatesTheProgressOfWeightedSubTasks)
{
    TaskLog log;
    log.setProgress(0, 0.5);
    EXPECT_EQ(log.calcAggregateProgress(), 0.5);
    log.setSubTasks({1, 0, 3});
    log.setProgress(2, 0.5);
    EXPECT_EQ(log.calcAggregateProgress(), 0.375);
    for (const double done : {-1.0, std::nan(""), 7.0})
        log.setProgress(2, done);
    log.setProgress(3, 1);
    EXPECT_EQ(log.calcAggregateProgress(), 0.75);
    log.setSubTasks({0, 0});
    EXPECT_EQ(log.calcAggregateProgress(), 0);
}

} // namespace

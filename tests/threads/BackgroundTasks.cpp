#include "misc/diagnostics/Log.h"
#include "misc/threads/BackgroundTaskBase.h"
#include "misc/threads/BackgroundTaskQueueManager.h"
#include "misc/threads/UIBackgroundTasksQueue.h"
#include "platform/Sanitized.h"
#include "platform/ThreadSupport.h"

#include <cmath>
#include <gtest/gtest.h>
#include <random>
#include <semaphore>
#include <stdexcept>

namespace
{

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
        if (work_)
            work_(*this);
        ++runs;
    }
    std::atomic<int> queuings{0}, completions{0}, removals{0}, runs{0};

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
    explicit TestQueue(int threads, Listener listener = {}) : threads_(threads), listener_(std::move(listener))
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
        if (listener_)
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
    Task task = makeTask(
        [this](TestTask&)
        {
            running.release();
            while (!mayEnd && Queue::getCurrentTaskStatus() != iBackgroundTask::eAbortRequested)
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
        if (const auto drawn = random() % 600; drawn < 100)
            queue.setTaskStatus(other, iBackgroundTask::eAbortRequested);
        else if (drawn < 200)
            queue.setAllTasksPaused(drawn % 2 == 0);
        else if (drawn < 300)
            queue.queue(other, drawn % 2 == 0);
        else if (drawn == 300)
            queue.abortAllTasks();
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
            EXPECT_EQ(task->queuings, task->runs + task->removals);
        }
    }
    for (const Task& task : tasks)
    {
        EXPECT_EQ(task->queuings, task->completions + task->removals);
        EXPECT_EQ(task->runs, task->completions);
    }
}

TEST(BackgroundTasks, neverRunWhatWasAbortedBeforeItBegan)
{
    Blocker blocker;
    // Also one that is aborted while listeners are told of it.
    const Task early = makeTask(), twice = makeTask(), again = makeTask(), kept = makeTask();
    const auto abortEarly = [&](int event, TestTask& task)
    {
        if (event == Queue::eTaskQueued && &task == early.get())
            task.setStatus(iBackgroundTask::eAbortRequested);
    };
    TestQueue queue(1, abortEarly);
    queue.queue(blocker.task, false);
    blocker.running.acquire();
    for (const Task& task : {early, twice, twice, again})
        EXPECT_TRUE(queue.queue(task, false));
    queue.queueFront(kept);
    EXPECT_EQ(queue.getQueuedTasks(), (std::vector<Mw::Ptr<iBackgroundTask>>{kept, twice, twice, again}));
    // The same while it runs: its second run is dropped, and the first is told.
    queue.queue(blocker.task, false);
    for (const Task& task : {twice, again})
        task->setStatus(iBackgroundTask::eAbortRequested);
    queue.queue(again, false);
    for (const Task& task : {early, twice})
        task->waitForCompletion();
    blocker.task->setStatus(iBackgroundTask::eAbortRequested);
    blocker.task->waitForCompletion();
    EXPECT_EQ(blocker.task->runs, 1) << "both are waited for, the dropped one and the one that ran";
    queue.shutdown(Shutdown::eNormalExit);
    for (const auto& [task, runs, removed] :
         {std::tuple(blocker.task, 1, 1), {early, 0, 1}, {twice, 0, 2}, {again, 1, 1}, {kept, 1, 0}})
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
    paused.task->setStatus(iBackgroundTask::eAbortRequested);
    queue.setAllTasksPaused(true);
    paused.task->waitForCompletion();
}

TEST(BackgroundTasks, areUniqueByNameAmongTheRunningAndByThemselvesAmongTheQueued)
{
    Blocker blocker;
    TestQueue queue(1);
    queue.queue(blocker.task, true);
    blocker.running.acquire();
    const Task namesake = makeTask(nullptr, "blocker"), task = makeTask();
    EXPECT_FALSE(queue.queue(namesake, true));
    EXPECT_TRUE(queue.queue(task, true));
    EXPECT_FALSE(queue.queue(task, true));
    EXPECT_TRUE(queue.queue(makeTask(), true)) << "the one of its name doesn't run yet";
    queue.clear();
    task->waitForCompletion();
    EXPECT_EQ(task->runs, 0);
    blocker.mayEnd = true;
}

TEST(BackgroundTasks, goOnAtOnceWhenTheyWaitForThemselves)
{
    const Task task = makeTask([](TestTask& self) { self.waitForCompletion(); }, "Conform");
    testing::internal::CaptureStdout();
    TestQueue queue(1);
    queue.queue(task, false);
    task->waitForCompletion();
    EXPECT_NE(testing::internal::GetCapturedStdout().find("task \"Conform\" waits for its own completion"),
              std::string::npos);
}

TEST(BackgroundTasks, endWhoeverShutsTheirQueueDown)
{
    TestQueue queue(2);
    testing::internal::CaptureStdout();
    const auto use = [&](int n)
    {
        const auto work = [&](TestTask&)
        {
            if (n == 1)
                queue.shutdown(Shutdown::eNormalExit);
            queue.queue(makeTask(), false);
        };
        for (int i = 0; i < 20; ++i)
        {
            const Task task = makeTask(work);
            queue.queue(task, false);
            if (n == 0)
                queue.shutdown(Shutdown::eNormalExit);
            task->waitForCompletion();
        }
    };
    test::Crowd(4, use);
    queue.shutdown(Shutdown::eNormalExit);
    testing::internal::GetCapturedStdout(); // assertions, as many as came in while it stopped
    EXPECT_TRUE(queue.empty());
}

TEST(BackgroundTasks, areDoneWhenTheyEndTheirThread)
{
    const Task task = makeTask([](TestTask&) { OS().threadMgr().exitCurrentThread(); });
    {
        TestQueue queue(1);
        queue.queue(task, false);
        task->waitForCompletion();
    }
    EXPECT_EQ(task->completions, 1);
}

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
    theFailing = makeTask([](TestTask&) { throw std::runtime_error("no such reel"); });
    UIBackgroundTasksQueue::instance().queue(theFailing, false);
    theFailing->waitForCompletion();
}

TEST(BackgroundTasksDeath, takeTheProgramDownByAnExceptionAfterSayingWhy)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(failWhileAwaited(), testing::ExitedWithCode(1),
                "EXCEPTION \\(\\$DQ<iBackgroundTask>\\)(.|\n)*in the end: Stopped by an exception: no such reel");
}

// Co-processes look at the table, one of them to the very end, while two tasks run at a time and another one waits.
[[noreturn]] void endWhileBusy(bool inOrder)
{
    SetLogOutput(std::fopen("/dev/null", "w"));
    const auto beBusy = [](void*) -> iThread::eExecRC
    {
        for (;; std::this_thread::yield(), KillMyselfCheck())
            coDebugPrint(co_pid());
    };
    const unsigned short other = co_create(beBusy, "other", 0, nullptr, 0, 0);
    co_create(beBusy, "$ system", 0, nullptr, 0, 0);
    Queue& queue = UIBackgroundTasksQueue::instance();
    std::atomic<int> begun{0}, running{0}, ran{0};
    const auto work = [&](TestTask&)
    {
        const bool areTwo = ++running <= 2;
        for (++begun; begun < 2;)
            std::this_thread::yield();
        for (int spins = 0; spins < 20; ++spins)
            std::this_thread::yield();
        ran += areTwo && coThreadId(other) != 0; // the queue is stopped first
        --running;
    };
    for (int i = 0; i < 3; ++i)
        queue.queue(makeTask(work), false);
    while (begun < 2)
        std::this_thread::yield();
    if (inOrder)
    {
        Shutdown::executeCallbacks(Shutdown::eNormalExit);
        const Task late = makeTask();
        if (ran != 3 || queue.queue(late, false))
            std::exit(2);
        late->waitForCompletion();
    }
    std::exit(0);
}

TEST(BackgroundTasksDeath, letTheProcessEndInOrderWhileBusy)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe"); // starts anew: this process has threads
    for (int round = 0; round < (MW_SANITIZED ? 10 : 200); ++round)
        ASSERT_EXIT(endWhileBusy(round % 2 == 0), testing::ExitedWithCode(0), "") << round;
}

TEST(TaskLog, aggregatesTheProgressOfWeightedSubTasks)
{
    TaskLog log;
    log.setSubTasks({1, 0, 3});
    log.setProgress(2, 0.5);
    EXPECT_EQ(log.calcAggregateProgress(), 0.375);
    for (const double done : {-1.0, std::nan(""), 7.0})
        log.setProgress(2, done);
    EXPECT_EQ(log.calcAggregateProgress(), 0.75);
    log.setSubTasks({0, 0});
    EXPECT_EQ(log.calcAggregateProgress(), 0);
}

} // namespace

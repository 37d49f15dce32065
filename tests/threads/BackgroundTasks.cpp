#include "misc/threads/BackgroundTaskBase.h"
#include "misc/threads/BackgroundTaskQueueManager.h"
#include "misc/threads/UIBackgroundTasksQueue.h"
#include "platform/Sanitized.h"
#include "platform/ThreadSupport.h"

#include "misc/diagnostics/Log.h"

#include <barrier>
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
using EventType = iBackgroundTaskQueue::eEventType;

class TestQueue : public BackgroundTaskQueueBase
{
public:
    explicit TestQueue(int threads, unsigned caps = 0) : threads_(threads), caps_(caps) {}
    ~TestQueue() override { shutdown(Shutdown::eNormalExit); }
    unsigned getCaps() const override { return caps_; }
    int getNumThreads() const override { return threads_; }
    int getThreadPriority() const override { return 0; }

private:
    const int threads_;
    const unsigned caps_;
};

struct Counts
{
    std::atomic<int> queued{0}, done{0}, removed{0}, runs{0}, ended{0};
};

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
        ++counts.runs;
        if (work_)
            work_(*this);
        ++counts.ended;
    }
    Counts counts;

private:
    const std::function<void(TestTask&)> work_;
    const LightweightString<char> name_;
};

using Task = Mw::Ptr<TestTask>;

Task makeTask(std::function<void(TestTask&)> work = {}, const char* name = "task")
{
    return Mw::makePtr<TestTask>(std::move(work), name);
}

// Counts the events of a queue in its tasks, and hands them on.
class EventCounter
{
public:
    explicit EventCounter(std::function<void(EventType, TestTask&)> next = {}) : next_(std::move(next)) {}

    void listenTo(Queue& queue)
    {
        for (const EventType type : {Queue::eTaskQueued, Queue::eTaskDone, Queue::eTaskRemoved})
            queue.addListener(Mw::makePtr<MethodCallback<EventCounter, NotifyMsg>>(this, &EventCounter::count), type);
    }

private:
    int count(const NotifyMsg& msg)
    {
        const Task task = Mw::dynamicCast<TestTask>(msg.object());
        ++(msg.type() == Queue::eTaskQueued ? task->counts.queued
           : msg.type() == Queue::eTaskDone ? task->counts.done
                                            : task->counts.removed);
        EXPECT_GE(task->counts.queued, task->counts.done + task->counts.removed) << "told of before it was queued";
        if (next_)
            next_(static_cast<EventType>(msg.type()), *task);
        return 0;
    }

    std::function<void(EventType, TestTask&)> next_;
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
            other->setStatus(iBackgroundTask::ePaused);
            break;
        case 3:
            queue.queue(other, random() % 2 == 0);
            break;
        case 4:
            if (random() % 100 == 0)
                queue.abortAllTasks();
            break;
        }
    }
    queue.setAllTasksPaused(false);
}

// Looks at what is asked of it, as tasks should.
void work(TestTask&)
{
    for (int i = 0; i < 20 && Queue::getCurrentTaskStatus() != iBackgroundTask::eAbortRequested; ++i)
        std::this_thread::yield();
}

TEST(BackgroundTasks, accountForEveryTimeThatATaskIsQueued)
{
    constexpr int users = 4;
    std::vector<Task> tasks;
    for (int i = 0; i < (MW_SANITIZED ? 2500 : 10000); ++i)
        tasks.push_back(makeTask(work, std::to_string(i).c_str()));
    {
        // A listener may ask the queue and the manager, whatever others do to them.
        const Queue* asked = nullptr;
        EventCounter counter(
            [&](EventType, TestTask& task)
            {
                asked->getTaskStatus(Task(&task));
                BackgroundTaskQueueManager::instance().empty(0);
            });
        TestQueue queue(3);
        asked = &queue;
        counter.listenTo(queue);
        // Everybody queues all tasks: they meet in every state.
        test::Crowd(users, [&](int n) { randomUse(queue, tasks, static_cast<unsigned>(n)); });
        for (const Task& task : tasks)
        {
            task->waitForCompletion();
            EXPECT_EQ(task->counts.queued, task->counts.ended + task->counts.removed);
        }
    }
    for (const Task& task : tasks)
    {
        EXPECT_GT(task->counts.queued, 0);
        EXPECT_EQ(task->counts.queued, task->counts.done + task->counts.removed);
        EXPECT_EQ(task->counts.runs, task->counts.done);
    }
}

TEST(BackgroundTasks, neverRunWhatWasAbortedBeforeItBegan)
{
    Blocker blocker;
    // Also one that is aborted while listeners are told of it.
    const Task early = makeTask();
    EventCounter counter(
        [&](EventType type, TestTask& task)
        {
            if (type == Queue::eTaskQueued && &task == early.get())
                task.setStatus(iBackgroundTask::eAbortRequested);
        });
    TestQueue queue(1);
    counter.listenTo(queue);
    ASSERT_TRUE(queue.queue(blocker.task, false));
    blocker.running.acquire();
    queue.queue(early, false);

    const Task twice = makeTask(), again = makeTask(), kept = makeTask(), last = makeTask();
    for (const Task& task : {twice, twice, again, kept})
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
    EXPECT_EQ(blocker.task->counts.runs, 1);
    EXPECT_EQ(blocker.task->counts.removed, 1);
    for (const auto& [task, runs, removed] : {std::tuple(early, 0, 1), std::tuple(twice, 0, 2), std::tuple(again, 1, 1),
                                              std::tuple(kept, 1, 0), std::tuple(last, 0, 1)})
    {
        EXPECT_EQ(task->counts.runs, runs);
        EXPECT_EQ(task->counts.done, runs);
        EXPECT_EQ(task->counts.removed, removed);
    }
}

TEST(BackgroundTasks, keepAnAbortThatWasAskedForWhenAllPause)
{
    Blocker paused;
    TestQueue queue(2);
    queue.queue(paused.task, false);
    paused.running.acquire();
    queue.setAllTasksPaused(true);
    EXPECT_EQ(paused.task->getStatus(), iBackgroundTask::ePaused);
    queue.setAllTasksPaused(false);
    EXPECT_EQ(paused.task->getStatus(), iBackgroundTask::eRunning);
    paused.task->setStatus(iBackgroundTask::eAbortRequested);
    queue.setAllTasksPaused(true);
    paused.task->waitForCompletion();
    EXPECT_EQ(Queue::getCurrentTaskStatus(), iBackgroundTask::eNotRunning);
}

TEST(BackgroundTasks, areUniqueByNameAmongTheRunningAndByThemselvesAmongTheQueued)
{
    Blocker blocker;
    EventCounter counter;
    TestQueue queue(1);
    counter.listenTo(queue);
    queue.queue(blocker.task, true);
    blocker.running.acquire();
    const Task namesake = makeTask({}, "blocker"), task = makeTask({}, "same"), sameName = makeTask({}, "same");
    EXPECT_FALSE(queue.queue(namesake, true));
    EXPECT_TRUE(queue.queue(task, true));
    EXPECT_FALSE(queue.queue(task, true));
    EXPECT_EQ(task->counts.queued, 1);
    EXPECT_TRUE(queue.queue(sameName, true)) << "the one of its name doesn't run yet";
    queue.clear();
    sameName->waitForCompletion();
    EXPECT_EQ(sameName->counts.removed + sameName->counts.runs, 0);
    EXPECT_FALSE(queue.queue(nullptr, false));
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
            self.setStatus(iBackgroundTask::eNotRunning);
            const Task inner = makeTask(
                [&](TestTask&)
                {
                    self.setStatus(iBackgroundTask::eAbortRequested);
                    self.waitForCompletion();
                });
            queue.despatch(inner);
            outerAborted = Queue::getCurrentTaskStatus() == iBackgroundTask::eAbortRequested;
        },
        "Conform");
    testing::internal::CaptureStdout();
    queue.queue(task, false);
    task->waitForCompletion();
    const std::string output = testing::internal::GetCapturedStdout();
    const std::string message = "The background task \"Conform\" waits for its own completion";
    const std::size_t first = output.find(message);
    EXPECT_NE(first, output.npos) << output;
    EXPECT_NE(output.find(message, first + 1), output.npos) << output;
    EXPECT_TRUE(outerAborted);
}

TEST(BackgroundTasks, canQueueMoreWhileTheQueueIsShutDown)
{
    TestQueue queue(1);
    std::atomic<int> left{20};
    Task task;
    task = makeTask([&](TestTask&) { --left > 0 ? queue.queue(task, false) : false; });
    testing::internal::CaptureStdout();
    queue.queue(task, false);
    queue.shutdown(Shutdown::eNormalExit);
    testing::internal::GetCapturedStdout(); // assertions, as many as came in while it stopped
    EXPECT_EQ(left, 0);
    left = 1;
    EXPECT_TRUE(queue.queue(task, false)) << "starts threads anew";
    task->waitForCompletion();
    EXPECT_EQ(left, 0);
    task = nullptr;
}

TEST(BackgroundTasks, endWhoeverShutsTheirQueueDown)
{
    constexpr int rounds = 20;
    TestQueue queue(2);
    testing::internal::CaptureStdout();
    test::Crowd(4,
                [&](int n)
                {
                    for (int i = 0; i < rounds; ++i)
                    {
                        const bool stops = (n + i) % 4 == 0;
                        const Task task = makeTask(
                            [&](TestTask&)
                            {
                                if (stops)
                                    queue.shutdown(Shutdown::eNormalExit);
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
        EventCounter counter;
        {
            TestQueue queue(1);
            counter.listenTo(queue);
            queue.queue(task, false);
            task->waitForCompletion();
        }
        EXPECT_EQ(task->counts.done, 1);
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

TEST_F(BackgroundTasksDeath, takeTheProgramDownByAnExceptionAfterSayingWhy)
{
    const auto fail = []
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
        UIBackgroundTasksQueue::instance().queue(theFailing, false);
        UIBackgroundTasksQueue::instance().queue(waiting, false);
        theFailing->waitForCompletion();
    };
    EXPECT_EXIT(fail(), testing::ExitedWithCode(1),
                "EXCEPTION \\(\\$DQ<iBackgroundTask>\\)(.|\n)*in the end: Stopped by an exception: no such reel");
}

// A task that works on until it is asked to end, and one after it.
[[noreturn]] void endWhileBusy(bool inOrder)
{
    SetLogOutput(stderr);
    Queue& queue = UIBackgroundTasksQueue::instance();
    std::counting_semaphore<3> running{0};
    std::atomic<int> ran{0};
    const unsigned short other = co_create(
        [](void*) -> iThread::eExecRC
        {
            for (;; std::this_thread::yield())
                KillMyselfCheck();
        },
        "other", 0, nullptr, 0, 0);
    for (int i = 0; i < 3; ++i)
        queue.queue(makeTask(
                        [&](TestTask&)
                        {
                            running.release();
                            for (int spins = 0; spins < 1000; ++spins)
                                std::this_thread::yield();
                            ran += coThreadId(other) != 0; // the queue is stopped first
                        }),
                    false);
    running.acquire();
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
        EXPECT_EXIT(endWhileBusy(round % 2 == 0), testing::ExitedWithCode(0), "") << round;
}

TEST_F(BackgroundTasksDeath, runTwoAtATimeForTheUserInterface)
{
    const auto meet = []
    {
        Queue& queue = UIBackgroundTasksQueue::instance();
        std::atomic<int> running{0}, most{0};
        std::barrier pair(2);
        std::vector<Task> tasks;
        for (int i = 0; i < 8; ++i)
        {
            tasks.push_back(makeTask(
                [&](TestTask&)
                {
                    const int now = ++running;
                    most = std::max<int>(most, now);
                    pair.arrive_and_wait();
                    --running;
                }));
            queue.queue(tasks.back(), false);
        }
        for (const Task& task : tasks)
            task->waitForCompletion();
        std::exit(most == 2 ? 0 : 2);
    };
    EXPECT_EXIT(meet(), testing::ExitedWithCode(0), "");
}

TEST(BackgroundTaskQueueManager, knowsQueuesByTheirCaps)
{
    const auto& manager = BackgroundTaskQueueManager::instance();
    Blocker blocker;
    TestQueue plain(0), busy(1, 6);
    busy.queue(blocker.task, false);
    EXPECT_EQ(manager.getQueues(2), std::vector<iBackgroundTaskQueue*>{&busy});
    EXPECT_EQ(manager.getQueues(0).size(), 2u);
    EXPECT_TRUE(manager.getQueues(9).empty());
    EXPECT_FALSE(manager.empty(4));
    EXPECT_TRUE(manager.empty(1));
    blocker.mayEnd = true;
}

TEST(TaskLog, aggregatesTheProgressOfWeightedSubTasks)
{
    TaskLog log;
    EXPECT_EQ(log.calcAggregateProgress(), 0);
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
    log.setProgress(0, 1);
    EXPECT_EQ(log.calcAggregateProgress(), 0);
}

} // namespace

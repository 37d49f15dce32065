#pragma once

#include "Mw/Guard.h"
#include "libmw/CriticalSection.h"
#include "libmw/Shutdown.h"
#include "misc/notify/Notifier.h"
#include "misc/threads/DecouplingQueue.h"
#include "misc/threads/iBackgroundTaskQueue.h"

#include <atomic>
#include <cstdint>
#include <vector>

extern template class MISC_API DecouplingQueue<iBackgroundTask>;

// Runs background tasks on threads of its own, which start with the first task, and tells listeners. A class
// derives from it and says how many threads there are and how urgent. Any thread, but for `clear` and `queueFront`.
//
// The queue registers with Shutdown, at priority 451: before the co-processes end it is shut down like in its
// destructor, which is not for a task of the queue to call.
class MISC_API BackgroundTaskQueueBase : public iBackgroundTaskQueue, public DecouplingQueue<iBackgroundTask>::Decoupler
{
public:
    BackgroundTaskQueueBase();
    // Shuts the queue down. A derived class that overrides `despatch` does so in its own destructor.
    ~BackgroundTaskQueueBase() override;

    // Queues a task behind the others, after telling the listeners. False if it was not queued: with `unique`, if a
    // task of its name runs, or the same task is queued already; and for a null one, or once the program stops, which
    // for a queue that is made then is at once. An exception of a listener goes on to the caller, and the task is not
    // queued.
    bool queue(Mw::Ptr<iBackgroundTask> task, bool unique);

    // The same before the others, unique or not. For the main thread.
    bool queueFront(Mw::Ptr<iBackgroundTask> task);

    // Sets the status of a task that runs, wherever it runs. `eAbortRequested` also takes it out of the queue,
    // which listeners are told. Anything else leaves a task that doesn't run alone.
    void setTaskStatus(Mw::Ptr<iBackgroundTask> task, iBackgroundTask::eStatus status) override;

    // eNotRunning for a task that doesn't run.
    iBackgroundTask::eStatus getTaskStatus(const Mw::Ptr<iBackgroundTask>& task) const override;

    // What is asked of the task that runs on the calling thread, a co-process or the main thread; eNotRunning if
    // none does. Cheap enough to be asked for every frame.
    static iBackgroundTask::eStatus getCurrentTaskStatus();

    // Asks all that run to pause, or those that were asked so to go on. An abort that was asked for stands.
    void setAllTasksPaused(bool paused);

    // Aborts what is queued, then what runs.
    void abortAllTasks();

    // Drops what is queued, without telling the listeners. For the main thread.
    void clear();

    // Lets the threads run what is queued, waits for them, however long that takes, and lets go of the listeners.
    // Called by a task of the queue it doesn't wait for that one's thread, nor for any if the queue is being shut down
    // already, and what no other thread takes is removed. A later task starts threads anew, unless the program stops.
    void shutdown(Shutdown::eExitType type);

    void addListener(const Mw::Ptr<iCallbackBase<int, NotifyMsg>>& listener, eEventType type) override;
    bool empty() const override;
    std::vector<Mw::Ptr<iBackgroundTask>> getQueuedTasks() const override;

    // Runs a task on the calling thread, and tells the listeners.
    void despatch(Mw::Ptr<iBackgroundTask> task) override;

    // Under which name a thread's status is kept among its objects.
    static const char* const kTaskStatusKey;

protected:
    using Task = Mw::Ptr<iBackgroundTask>;
    using Queue = DecouplingQueue<iBackgroundTask>;

    // What is asked of a thread's task. One that runs while another one does on its thread has a status of its own.
    class TaskStatus : public iObject
    {
    public:
        iBackgroundTask::eStatus get() const noexcept { return status_.load(std::memory_order_relaxed); }
        void set(iBackgroundTask::eStatus status) noexcept { status_.store(status, std::memory_order_relaxed); }

        // Whether a task uses it, whatever its status is: threads that the table of co-processes doesn't know share
        // one.
        bool claim() noexcept { return !isClaimed_.exchange(true, std::memory_order_relaxed); }
        void release() noexcept { isClaimed_.store(false, std::memory_order_relaxed); }

    private:
        std::atomic<bool> isClaimed_{false};
        std::atomic<iBackgroundTask::eStatus> status_{iBackgroundTask::eNotRunning};
    };

    // No task is queued from now on. Those that are stay.
    void close();

private:
    // Taking a task and entering it as one that runs are one step for whoever aborts it.
    Task take(Queue& queue) final;

    using QueuePtr = Mw::Ptr<Queue, Mw::DtorTraits, Mw::ExternalRefCountTraits>;

    enum class End
    {
        Front,
        Back
    };

    // A task that runs; one that runs twice at once is entered twice.
    struct InProgress
    {
        Task task;
        Mw::Ptr<TaskStatus> status;
        Mw::Ptr<TaskStatus> outer; // of the task that the thread runs already, or null
        std::uint32_t thread = 0;
        bool hasBegun = false; // until then it is taken from the queue
    };

    // Tells of events, some of them under the queue's lock. Listeners, who are called under the lock of the notifier,
    // may use the queue: so the lock of the notifier is the first to be taken.
    class Events : public Notifier
    {
    public:
        CriticalSection& lock() const noexcept { return lock_; }
    };

    // Takes what is needed to remove tasks.
    class RemovalLock;

    // Enters a task for a scope.
    class Run;

    static Mw::Ptr<TaskStatus> threadStatus();
    static InProgress entryOfThread();
    static void leaveThread(const InProgress& entry);

    bool enqueue(const Task& task, End end, bool unique);
    bool announce(const Task& task, End end, bool unique);
    void setRunningStatus(const Task& task, iBackgroundTask::eStatus status);
    void forget(const Task& task);
    void remove(const Task& task, std::size_t times);
    void removeQueued(const Task& task);
    void enter(const InProgress& entry);
    InProgress begin(const Task& task);
    void finish(const InProgress& entry);

    bool isNameInProgress(const Task& task) const;
    bool isQueued(const Task& task) const;
    QueuePtr insert(const Task& task, End end);
    QueuePtr makeQueue();
    void issue(eEventType type, const Task& task) const;
    void shutdownCallback(const Shutdown::eExitType& type) { shutdown(type); }

    static constexpr unsigned stackSizeBytes = 524288;
    static constexpr unsigned shutdownPriority = 451;

    // Taken after that of the notifier and before that of the queue. A task moves on under it: it is announced, queued,
    // in progress. It is announced only while the notifier's lock is held, until all listeners know of it.
    mutable CriticalSection lock_{"background task queue"};
    Events events_;
    std::vector<Mw::Ptr<Mw::Guard>> guards_; // go before the notifier
    std::vector<Task> announced_;            // listeners are being told that they are queued
    std::vector<InProgress> inProgress_;     // as many as there are threads
    QueuePtr queue_;                         // null before the first task
    std::vector<QueuePtr> shutByTasks_;      // earlier ones, each with a task of its own in its shutdown
    std::atomic<std::size_t> count_{0};      // of what is announced, queued or in progress
    bool closed_ = false;
    Mw::Ptr<Shutdown::Callback> shutdownCallback_;
};

#include "misc/threads/BackgroundTaskQueue.h"

#include "Mw/Assert.h"
#include "OS/Immortal.h"
#include "OS/ThreadExit.h"
#include "misc/threads/BackgroundTaskQueueManager.h"
#include "misc/threads/CoProcess.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <exception>
#include <utility>

template class DecouplingQueue<iBackgroundTask>;

const char* const BackgroundTaskQueueBase::kTaskStatusKey = "BTQStatus";

namespace
{

// The key as thread objects are looked up by it.
struct StatusKey
{
    const LightweightString<char> text = BackgroundTaskQueueBase::kTaskStatusKey;
};

const LightweightString<char>& statusKey()
{
    return immortal<StatusKey>().text;
}

unsigned cutTo8Bits(int value)
{
    return static_cast<std::uint8_t>(value);
}

} // namespace

class [[nodiscard]] BackgroundTaskQueueBase::RemovalLock
{
public:
    explicit RemovalLock(const BackgroundTaskQueueBase& queue) noexcept
        : events_(queue.events_.lock()), own_(queue.lock_)
    {
    }

private:
    const CriticalSection::Lock events_;
    const CriticalSection::Lock own_;
};

class BackgroundTaskQueueBase::Run
{
public:
    Run(BackgroundTaskQueueBase& queue, const Task& task) : queue_(queue), entry_(queue.begin(task)) {}
    ~Run() { queue_.finish(entry_); }
    Run(const Run&) = delete;
    Run& operator=(const Run&) = delete;

private:
    BackgroundTaskQueueBase& queue_;
    const InProgress entry_;
};

BackgroundTaskQueueBase::BackgroundTaskQueueBase()
    : shutdownCallback_(new MethodCallback<BackgroundTaskQueueBase, Shutdown::eExitType, void>(
          this, &BackgroundTaskQueueBase::shutdownCallback))
{
    Shutdown::addCallback(shutdownCallback_, shutdownPriority);
    closed_ = Shutdown::isExiting(); // the callback may not be called any more, and there may be no more threads
    BackgroundTaskQueueManager::instance().manage(this);
}

BackgroundTaskQueueBase::~BackgroundTaskQueueBase()
{
    BackgroundTaskQueueManager::instance().unmanage(this);
    Shutdown::removeCallback(shutdownCallback_);
    shutdown(Shutdown::eNormalExit);
}

bool BackgroundTaskQueueBase::queue(Task task, bool unique)
{
    return enqueue(task, End::Back, unique);
}

bool BackgroundTaskQueueBase::queueFront(Task task)
{
    MW_ASSERT_AT(co_pid() == 0, "misc/BackgroundTaskQueue line 185");
    return enqueue(task, End::Front, false);
}

bool BackgroundTaskQueueBase::enqueue(const Task& task, End end, bool unique)
{
    if (!task)
        return false;
    task->setQueue(this);
    QueuePtr queue;
    {
        // Who aborts the task, and tells so, waits here.
        const CriticalSection::Lock lock(events_.lock());
        if (!announce(task, end, unique))
            return false;
        try
        {
            issue(eTaskQueued, task);
            queue = insert(task, end);
        }
        catch (...)
        {
            forget(task);
            throw;
        }
    }
    // The thread that wakes needs the locks at once, and may well take the caller's place on its processor.
    if (queue)
        queue->wake();
    return true;
}

// A task that listeners know of is one that can be aborted, and that is no more unique.
bool BackgroundTaskQueueBase::announce(const Task& task, End end, bool unique)
{
    const CriticalSection::Lock lock(lock_);
    if (closed_ && !queue_)
    {
        Mw::assertionFailed("threadRequired_",
                            end == End::Back ? "misc/DecouplingQueue line 177" : "misc/DecouplingQueue line 161");
        task->queued();
        task->removed();
        return false;
    }
    if (unique && (isNameInProgress(task) || isQueued(task)))
        return false;
    announced_.push_back(task);
    ++count_;
    task->queued();
    return true;
}

void BackgroundTaskQueueBase::forget(const Task& task)
{
    const CriticalSection::Lock lock(lock_);
    if (const auto announced = std::ranges::find(announced_, task); announced != announced_.end())
    {
        announced_.erase(announced);
        remove(task, 1);
    }
}

void BackgroundTaskQueueBase::remove(const Task& task, std::size_t times)
{
    count_ -= times;
    for (; times != 0; --times)
        task->removed();
}

// Null if there is nothing to run: a listener may have aborted the task. If the queue was closed, the shutdown that
// did so removes the task.
BackgroundTaskQueueBase::QueuePtr BackgroundTaskQueueBase::insert(const Task& task, End end)
{
    const CriticalSection::Lock lock(lock_);
    const auto announced = std::ranges::find(announced_, task);
    QueuePtr queue = announced != announced_.end() ? makeQueue() : QueuePtr();
    if (!queue)
        return {};
    end == End::Back ? queue->append(task) : queue->prepend(task);
    announced_.erase(announced);
    return queue;
}

BackgroundTaskQueueBase::QueuePtr BackgroundTaskQueueBase::makeQueue()
{
    if (!queue_ && !closed_)
        queue_ = QueuePtr(new Queue(cutTo8Bits(getNumThreads()), cutTo8Bits(getThreadPriority()), 0, stackSizeBytes,
                                    this, Queue::noTimeout));
    return queue_;
}

bool BackgroundTaskQueueBase::isNameInProgress(const Task& task) const
{
    const LightweightString<char> name = task->getName();
    return std::ranges::any_of(inProgress_, [&name](const InProgress& running)
                               { return std::strcmp(running.task->getName().c_str(), name.c_str()) == 0; });
}

bool BackgroundTaskQueueBase::isQueued(const Task& task) const
{
    return std::ranges::find(announced_, task) != announced_.end() || (queue_ && queue_->isQueued(task));
}

void BackgroundTaskQueueBase::setTaskStatus(Task task, iBackgroundTask::eStatus status)
{
    if (status == iBackgroundTask::eAbortRequested)
    {
        const RemovalLock lock(*this);
        setRunningStatus(task, status);
        removeQueued(task);
    }
    else
    {
        const CriticalSection::Lock lock(lock_);
        setRunningStatus(task, status);
    }
}

void BackgroundTaskQueueBase::setRunningStatus(const Task& task, iBackgroundTask::eStatus status)
{
    for (const InProgress& running : inProgress_)
        if (running.task == task)
            running.status->set(status);
}

void BackgroundTaskQueueBase::removeQueued(const Task& task)
{
    std::size_t times = std::erase(announced_, task);
    while (queue_ && queue_->remove(task))
        ++times;
    remove(task, times);
    for (; times != 0; --times)
        issue(eTaskRemoved, task);
}

iBackgroundTask::eStatus BackgroundTaskQueueBase::getTaskStatus(const Task& task) const
{
    const CriticalSection::Lock lock(lock_);
    const auto running =
        std::ranges::find_if(inProgress_, [&task](const InProgress& entry) { return entry.task == task; });
    return running != inProgress_.end() ? running->status->get() : iBackgroundTask::eNotRunning;
}

iBackgroundTask::eStatus BackgroundTaskQueueBase::getCurrentTaskStatus()
{
    const Mw::Ptr<TaskStatus> status = threadStatus();
    return status ? status->get() : iBackgroundTask::eNotRunning;
}

void BackgroundTaskQueueBase::setAllTasksPaused(bool paused)
{
    const auto from = paused ? iBackgroundTask::eRunning : iBackgroundTask::ePaused;
    const auto to = paused ? iBackgroundTask::ePaused : iBackgroundTask::eRunning;
    const CriticalSection::Lock lock(lock_);
    for (const InProgress& running : inProgress_)
        if (running.status->get() == from)
            running.status->set(to);
}

// Listeners may change the lists.
void BackgroundTaskQueueBase::abortAllTasks()
{
    std::vector<Task> tasks; // their destructors run when the locks are free again
    const RemovalLock lock(*this);
    tasks = getQueuedTasks();
    for (const InProgress& running : inProgress_)
        tasks.push_back(running.task);
    for (const Task& task : tasks)
        setTaskStatus(task, iBackgroundTask::eAbortRequested);
}

void BackgroundTaskQueueBase::clear()
{
    MW_ASSERT_AT(co_pid() == 0, "misc/BackgroundTaskQueue line 197");
    std::list<Task> dropped; // their destructors run when the lock is free again
    const CriticalSection::Lock lock(lock_);
    if (queue_)
    {
        queue_->getQueuedItems(dropped);
        queue_->clear();
    }
    for (const Task& task : dropped)
        remove(task, 1);
}

// The queue stays in its place until its threads have ended: a task that they run may queue another, and have it run.
// Another shutdown may have ended it first, and the next task have made a new one, which is left alone. A task can't
// wait for its own thread, so the next shutdown that no task calls does: the destructor's at the latest.
void BackgroundTaskQueueBase::shutdown(Shutdown::eExitType)
{
    QueuePtr ending;
    std::vector<QueuePtr> shutByTasks;
    {
        const CriticalSection::Lock lock(lock_);
        closed_ = closed_ || Shutdown::isExiting();
        ending = queue_;
        shutByTasks = shutByTasks_;
    }
    const auto isOurs = [](const QueuePtr& queue) { return queue && queue->isOwnThread(); };
    if (isOurs(ending) || std::ranges::any_of(shutByTasks, isOurs))
        shutByTasks.clear();
    for (const QueuePtr& queue : shutByTasks)
        queue->stop();
    const bool goesOn = ending && !ending->stop();
    {
        const CriticalSection::Lock lock(lock_);
        for (const QueuePtr& queue : shutByTasks)
            std::erase(shutByTasks_, queue);
        if (goesOn && std::ranges::find(shutByTasks_, ending) == shutByTasks_.end())
            shutByTasks_.push_back(ending);
    }

    // What goes here does so when the locks are free again.
    std::vector<Mw::Ptr<Mw::Guard>> guards;
    std::vector<Task> removed;
    const RemovalLock lock(*this);
    if (queue_ && queue_ != ending)
        return;
    removed = getQueuedTasks();
    for (const Task& task : removed)
        removeQueued(task);
    queue_.reset();
    guards.swap(guards_);
}

void BackgroundTaskQueueBase::close()
{
    const CriticalSection::Lock lock(lock_);
    closed_ = true;
}

void BackgroundTaskQueueBase::addListener(const Mw::Ptr<iCallbackBase<int, NotifyMsg>>& listener, eEventType type)
{
    const Mw::Ptr<Mw::Guard> guard = events_.registerNotification(listener, type);
    const CriticalSection::Lock lock(lock_);
    guards_.push_back(guard);
}

// Without a lock: a listener may ask the manager, which asks all queues.
bool BackgroundTaskQueueBase::empty() const
{
    return count_ == 0;
}

std::vector<Mw::Ptr<iBackgroundTask>> BackgroundTaskQueueBase::getQueuedTasks() const
{
    std::list<Task> queued;
    const CriticalSection::Lock lock(lock_);
    if (queue_)
        queue_->getQueuedItems(queued);
    std::vector<Task> tasks(queued.begin(), queued.end());
    tasks.insert(tasks.end(), announced_.begin(), announced_.end());
    return tasks;
}

void BackgroundTaskQueueBase::despatch(Task task)
{
    if (!task)
        return;
    const Run run(*this, task);
    try
    {
        task->execute();
    }
    catch (const ThreadExit&)
    {
        issue(eTaskDone, task);
        throw;
    }
    catch (...)
    {
        if (!std::current_exception()) // the system ends the thread
            issue(eTaskDone, task);
        throw;
    }
    issue(eTaskDone, task);
}

BackgroundTaskQueueBase::Task BackgroundTaskQueueBase::take(Queue& queue)
{
    InProgress entry = entryOfThread();
    {
        const CriticalSection::Lock lock(lock_);
        inProgress_.reserve(inProgress_.size() + 1); // no task is lost for want of memory
        entry.task = queue.takeItem();
        if (entry.task)
        {
            enter(entry);
            return entry.task;
        }
    }
    leaveThread(entry);
    return {};
}

void BackgroundTaskQueueBase::enter(const InProgress& entry)
{
    inProgress_.push_back(entry);
    entry.status->set(iBackgroundTask::eRunning);
}

// A task that `take` gave is entered already.
BackgroundTaskQueueBase::InProgress BackgroundTaskQueueBase::begin(const Task& task)
{
    {
        const std::uint32_t thread = OS().threadMgr().currentThreadId();
        const CriticalSection::Lock lock(lock_);
        const auto taken = std::ranges::find_if(inProgress_, [&](const InProgress& e)
                                                { return e.thread == thread && !e.hasBegun && e.task == task; });
        if (taken != inProgress_.end())
        {
            taken->hasBegun = true;
            return *taken;
        }
    }
    InProgress entry = entryOfThread();
    entry.task = task;
    entry.hasBegun = true;
    const CriticalSection::Lock lock(lock_);
    enter(entry);
    ++count_;
    return entry;
}

void BackgroundTaskQueueBase::finish(const InProgress& entry)
{
    {
        const CriticalSection::Lock lock(lock_);
        entry.status->set(iBackgroundTask::eNotRunning);
        std::erase_if(inProgress_, [&entry](const InProgress& e) { return e.status == entry.status; });
        --count_;
    }
    leaveThread(entry);
}

Mw::Ptr<BackgroundTaskQueueBase::TaskStatus> BackgroundTaskQueueBase::threadStatus()
{
    return Mw::dynamicCast<TaskStatus>(getThreadLocalObject(statusKey()));
}

// The thread's own status, unless a task uses it that runs already and must not miss what is asked of it.
BackgroundTaskQueueBase::InProgress BackgroundTaskQueueBase::entryOfThread()
{
    InProgress entry;
    entry.thread = OS().threadMgr().currentThreadId();
    entry.status = threadStatus();
    if (entry.status && entry.status->claim())
        return entry;
    entry.outer = std::exchange(entry.status, Mw::makePtr<TaskStatus>());
    entry.status->claim();
    setThreadLocalObject(statusKey(), entry.status);
    return entry;
}

void BackgroundTaskQueueBase::leaveThread(const InProgress& entry)
{
    entry.status->release();
    if (entry.outer)
        setThreadLocalObject(statusKey(), entry.outer);
}

void BackgroundTaskQueueBase::issue(eEventType type, const Task& task) const
{
    if (events_.hasClients())
        events_.issueNotification(NotifyMsg(task), type);
}

#include "misc/threads/BackgroundTaskQueue.h"

#include "Mw/Assert.h"
#include "OS/Immortal.h"
#include "misc/threads/BackgroundTaskQueueManager.h"
#include "misc/threads/CoProcess.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
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
    if (!announce(task, end, unique))
        return false;
    try
    {
        issue(eTaskQueued, task);
    }
    catch (...)
    {
        forget(task);
        throw;
    }
    append(task, end);
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
        task->removed();
        return false;
    }
    if (unique && (isNameInProgress(task) || isQueued(task)))
        return false;
    announced_.push_back(task);
    return true;
}

void BackgroundTaskQueueBase::forget(const Task& task)
{
    const CriticalSection::Lock lock(lock_);
    if (const auto announced = std::ranges::find(announced_, task); announced != announced_.end())
        announced_.erase(announced);
}

// The thread that wakes needs the lock at once, and may well take the caller's place on its processor.
void BackgroundTaskQueueBase::append(const Task& task, End end)
{
    QueuePtr queue;
    {
        const CriticalSection::Lock lock(lock_);
        queue = insert(task, end);
    }
    if (queue)
        queue->wake();
}

// Null if there is nothing to run: the task may have been aborted meanwhile. If the queue was closed, the shutdown that
// did so removes the task.
BackgroundTaskQueueBase::QueuePtr BackgroundTaskQueueBase::insert(const Task& task, End end)
{
    const auto announced = std::ranges::find(announced_, task);
    const QueuePtr queue = announced != announced_.end() ? makeQueue() : QueuePtr();
    if (!queue)
        return {};
    announced_.erase(announced);
    task->queued();
    end == End::Back ? queue->append(task) : queue->prepend(task);
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
    if (times != 0)
        task->removed();
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
    const RemovalLock lock(*this);
    std::vector<Task> tasks = getQueuedTasks();
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
        task->removed();
}

// The queue stays in its place until its threads have ended: a task that they run may queue another, and have it run.
void BackgroundTaskQueueBase::shutdown(Shutdown::eExitType)
{
    QueuePtr ending;
    {
        const CriticalSection::Lock lock(lock_);
        closed_ = closed_ || Shutdown::isExiting();
        ending = queue_;
    }
    if (ending)
        ending->stop();

    std::vector<Mw::Ptr<Mw::Guard>> guards;
    {
        const RemovalLock lock(*this);
        for (const Task& task : getQueuedTasks())
            removeQueued(task);
        queue_.reset();
        guards.swap(guards_);
    }
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

bool BackgroundTaskQueueBase::empty() const
{
    const CriticalSection::Lock lock(lock_);
    return announced_.empty() && inProgress_.empty() && (!queue_ || queue_->empty());
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
    task->execute();
    issue(eTaskDone, task);
}

BackgroundTaskQueueBase::Task BackgroundTaskQueueBase::take(Queue& queue)
{
    InProgress entry = entryOfThread();
    {
        const CriticalSection::Lock lock(lock_);
        entry.task = queue.takeItem();
        if (entry.task)
        {
            enter(entry);
            return entry.task;
        }
    }
    restoreThread(entry);
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
    return entry;
}

void BackgroundTaskQueueBase::finish(const InProgress& entry)
{
    {
        const CriticalSection::Lock lock(lock_);
        entry.status->set(iBackgroundTask::eNotRunning);
        std::erase_if(inProgress_, [&entry](const InProgress& e) { return e.status == entry.status; });
    }
    restoreThread(entry);
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
    if (entry.status && entry.status->get() == iBackgroundTask::eNotRunning)
        return entry;
    entry.outer = std::exchange(entry.status, Mw::makePtr<TaskStatus>());
    setThreadLocalObject(statusKey(), entry.status);
    return entry;
}

void BackgroundTaskQueueBase::restoreThread(const InProgress& entry)
{
    if (entry.outer)
        setThreadLocalObject(statusKey(), entry.outer);
}

void BackgroundTaskQueueBase::issue(eEventType type, const Task& task) const
{
    if (events_.hasClients())
        events_.issueNotification(NotifyMsg(task), type);
}

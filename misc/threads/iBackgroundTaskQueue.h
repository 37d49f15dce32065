#pragma once

#include "Mw/Callback.h"
#include "misc/notify/NotifyMsg.h"
#include "misc/threads/iBackgroundTask.h"

#include <vector>

// A queue of background tasks as its observers see it. Any thread.
class MISC_API iBackgroundTaskQueue : public virtual iObject
{
public:
    // What a queue tells, as message types of a notifier of its own. The message's object is the task. For each
    // time that a task is queued, one of the other two follows, unless the queue is cleared or the program crashes.
    enum eEventType
    {
        eTaskQueued = 10, // before it can run
        eTaskDone = 11,   // it ran, to its end or until it heeded an abort
        eTaskRemoved = 12 // it was removed before it ran
    };

    // Calls the listener for events of one type from now on, for as long as the queue stands, on whatever thread
    // the event happens. A listener of eTaskRemoved is called while the queue is locked, and may not wait for a
    // thread that uses the queue.
    virtual void addListener(const Mw::Ptr<iCallbackBase<int, NotifyMsg>>& listener, eEventType type) = 0;

    // Bits that tell kinds of queues apart, for BackgroundTaskQueueManager.
    virtual unsigned getCaps() const { return 0; }

    // Whether no task is queued or runs. Takes no lock: it is asked under that of BackgroundTaskQueueManager, and by
    // listeners under those of a queue.
    virtual bool empty() const = 0;

    // The tasks that have not begun, in the order in which they will.
    virtual std::vector<Mw::Ptr<iBackgroundTask>> getQueuedTasks() const = 0;

    // Asked when the threads are started, cut to 8 bits without a sign. The priority is one of the library's.
    virtual int getNumThreads() const = 0;
    virtual int getThreadPriority() const = 0;

    // What the queue knows of a task, and wants of it.
    virtual iBackgroundTask::eStatus getTaskStatus(const Mw::Ptr<iBackgroundTask>& task) const = 0;
    virtual void setTaskStatus(Mw::Ptr<iBackgroundTask> task, iBackgroundTask::eStatus status) = 0;
};

#pragma once

#include "Mw/LightweightString.h"
#include "Mw/Ptr.h"
#include "OS/Export.h"
#include "misc/threads/TaskLog.h"

class iBackgroundTaskQueue;

// A long-running piece of work with a name, a progress and a log, which a queue runs on a thread of its own. The
// queue holds a reference until it has run.
//
// Cancelling. Whoever wants a task to stop sets its status to `eAbortRequested`:
// - A task that is queued and has not begun leaves the queue, and doesn't run for it. It counts as completed for
//   those who wait, until it is queued again.
// - A task that runs is told and no more: `BackgroundTaskQueueBase::getCurrentTaskStatus`, called on its thread,
//   gives `eAbortRequested` from then on. It looks at it as often as it can end in good order, and returns. A task
//   that never looks runs to its end. Pausing is the same with `ePaused`, and a task that heeds it looks again
//   until it may go on.
// There is nothing in between: from its queueing to its end a task is the one or the other. One that is queued
// while it runs is both.
//
// A task may wait for others, but its own completion doesn't come while it runs: a wait for that says so and
// returns at once. An exception that leaves a task is that of its thread: it takes the program down.
class MISC_API iBackgroundTask : public virtual iObject
{
public:
    enum eStatus
    {
        eNotRunning = 0, // or unknown to the queue
        eRunning = 1,
        eAbortRequested = 2,
        ePaused = 3
    };

    // Runs the task on the calling thread. For queues.
    virtual void execute() = 0;

    // Waits until the task has run, or was removed before that, as often as it was queued. A task that nobody queues is
    // waited for in vain.
    virtual void waitForCompletion() const = 0;

    // How much is done, from 0 to 1. Any thread.
    virtual float getProgress() const = 0;

    // For people, and for unique queueing: tasks of one name do the same.
    virtual LightweightString<char> getName() const = 0;

    // What is being done, for people.
    virtual LightweightString<char> getDescription() const = 0;

    // How much the task matters to its user. The library hands it through, and the next one too.
    virtual int getImportance() const = 0;

    virtual Mw::Ptr<iTaskLog> getLog() const = 0;

    // How long the task is to be kept when it is done.
    virtual int getLifetime() const { return 0; }

    // Whether its user may be offered to abort it.
    virtual bool isAbortable() const { return true; }

    // The queue that it was last given to, null before.
    virtual iBackgroundTaskQueue* getQueue() const = 0;
    virtual void setQueue(iBackgroundTaskQueue* queue) = 0;

    // What the queue says of it, and asks of it.
    virtual eStatus getStatus() const = 0;
    virtual void setStatus(eStatus status) = 0;

    // The work itself.
    virtual void run() = 0;

    // The queue tells that it takes the task in, and each time that it removed it before it ran, or refused it.
    // Called under the queue's lock, in the order in which this happens.
    virtual void queued() {}
    virtual void removed() {}
};

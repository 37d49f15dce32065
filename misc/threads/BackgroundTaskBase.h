#pragma once

#include "OS/Thread.h"
#include "libmw/CriticalSection.h"
#include "misc/identity/IdentifiedBase.h"
#include "misc/threads/iBackgroundTask.h"
#include "misc/threads/iBackgroundTaskQueue.h"

#include <atomic>

// What tasks have in common: an id, a log with the progress, a completion to wait for. A class derives from it and
// says what is done, in `run`. The queue that a task was last given to must live when the task is asked for its
// status. Any thread.
class MISC_API BackgroundTaskBase : public iBackgroundTask, public IdentifiedBase
{
public:
    BackgroundTaskBase();

    // Runs the task; it is completed then. An exception is written into the log and goes on to the caller, and the
    // task doesn't count as completed.
    void execute() override;

    // Waits until the task has ended as often as it was queued. In a task's own run it returns at once, with a message.
    // In that of another it also ends when the program goes down by an exception: the stop waits for the task that
    // waits.
    void waitForCompletion() const override;

    // That of the log.
    float getProgress() const override;
    int getImportance() const override { return 0; }
    Mw::Ptr<iTaskLog> getLog() const override { return log_; }
    iBackgroundTaskQueue* getQueue() const override { return queue_.load(std::memory_order_relaxed); }
    void setQueue(iBackgroundTaskQueue* queue) override { queue_.store(queue, std::memory_order_relaxed); }

    // Those of the queue. Without one the status is eNotRunning, and setting it has no effect.
    eStatus getStatus() const override;
    void setStatus(eStatus status) override;

    void queued() override;
    void removed() override { ended(); }

private:
    void ended();
    Mw::Ptr<iBackgroundTask> self() const { return Mw::Ptr<iBackgroundTask>(const_cast<BackgroundTaskBase*>(this)); }

    const Mw::Ptr<iTaskLog> log_;
    CriticalSection lock_{"background task"}; // the last to be taken
    unsigned pending_ = 0;                    // how often it is queued and has not ended
    const Mw::Ptr<iThreadEvent> completed_;   // set while that is 0, once it has ended
    std::atomic<iBackgroundTaskQueue*> queue_{nullptr};
};

#include "misc/threads/BackgroundTaskBase.h"

#include "Mw/Exception.h"
#include "OS/OS.h"
#include "OS/ThreadExit.h"
#include "OS/ThreadMgr.h"
#include "misc/diagnostics/FatalError.h"
#include "misc/diagnostics/Log.h"

#include <exception>

namespace
{

// A task that runs on this thread. A task may have its thread run another one.
class RunningTask
{
public:
    explicit RunningTask(const BackgroundTaskBase& task) noexcept : task_(task), outer_(innermost_)
    {
        innermost_ = this;
    }
    ~RunningTask() { innermost_ = outer_; }
    RunningTask(const RunningTask&) = delete;
    RunningTask& operator=(const RunningTask&) = delete;

    static bool any() noexcept { return innermost_ != nullptr; }
    static bool is(const BackgroundTaskBase& task) noexcept
    {
        const RunningTask* running = innermost_;
        while (running != nullptr && &running->task_ != &task)
            running = running->outer_;
        return running != nullptr;
    }

private:
    const BackgroundTaskBase& task_;
    const RunningTask* const outer_;
    static constinit thread_local const RunningTask* innermost_;
};

constinit thread_local const RunningTask* RunningTask::innermost_ = nullptr;

// How often a task that waits for another looks whether the program goes down.
constexpr int failurePollMs = 50;

// What the exception that is being handled says.
LightweightString<char> exceptionText()
{
    try
    {
        throw;
    }
    catch (const Mw::Exception::Base& exception)
    {
        return LightweightString<char>(exception.kind_) + ": " + exception.message_;
    }
    catch (const std::exception& exception)
    {
        return exception.what();
    }
    catch (...)
    {
        return "of an unknown type";
    }
}

} // namespace

BackgroundTaskBase::BackgroundTaskBase()
    : log_(new TaskLog), completed_(OS().threadMgr().createEvent(iThreadEvent::eManualReset))
{
}

void BackgroundTaskBase::execute()
{
    const RunningTask running(*this);
    try
    {
        run();
    }
    catch (const ThreadExit&)
    {
        ended();
        throw;
    }
    catch (...)
    {
        // The system's own unwinding of a thread is no exception, and must not be stopped.
        if (std::current_exception())
            log_->addLine(LightweightString<char>("Stopped by an exception: ") + exceptionText());
        else
            ended();
        throw;
    }
    ended();
}

void BackgroundTaskBase::waitForCompletion() const
{
    if (RunningTask::is(*this))
        LogBoth("The background task \"%.100s\" waits for its own completion, which can't come while it waits: "
                "it goes on at once.\n",
                getName().c_str());
    else if (RunningTask::any())
        while (completed_->wait(failurePollMs) == iThreadEvent::eWaitTimeout && exceptionInProgress() == 0)
            continue;
    else
        completed_->wait(-1);
}

void BackgroundTaskBase::queued()
{
    const CriticalSection::Lock lock(lock_);
    if (pending_++ == 0)
        completed_->reset();
}

// A task may also run that nobody queued.
void BackgroundTaskBase::ended()
{
    const CriticalSection::Lock lock(lock_);
    if (pending_ == 0 || --pending_ == 0)
        completed_->set();
}

float BackgroundTaskBase::getProgress() const
{
    return static_cast<float>(log_->calcAggregateProgress());
}

iBackgroundTask::eStatus BackgroundTaskBase::getStatus() const
{
    const iBackgroundTaskQueue* const queue = getQueue();
    return queue != nullptr ? queue->getTaskStatus(self()) : eNotRunning;
}

void BackgroundTaskBase::setStatus(eStatus status)
{
    if (iBackgroundTaskQueue* const queue = getQueue())
        queue->setTaskStatus(self(), status);
}

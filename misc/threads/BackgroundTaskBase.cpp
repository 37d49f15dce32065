#include "misc/threads/BackgroundTaskBase.h"

#include "Mw/Exception.h"
#include "OS/OS.h"
#include "OS/ThreadExit.h"
#include "OS/ThreadMgr.h"
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

// Set when an exception has left a task. Threads that still run at exit may look at it.
const Mw::Ptr<iThreadEvent>& taskFailure()
{
    static const auto& event = *new Mw::Ptr<iThreadEvent>(OS().threadMgr().createEvent(iThreadEvent::eManualReset));
    return event;
}

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
        completed_->set();
        throw;
    }
    catch (...)
    {
        log_->addLine(LightweightString<char>("Stopped by an exception: ") + exceptionText());
        taskFailure()->set();
        throw;
    }
    completed_->set();
}

void BackgroundTaskBase::waitForCompletion() const
{
    if (RunningTask::is(*this))
        LogBoth("The background task \"%.100s\" waits for its own completion, which can't come while it waits: "
                "it goes on at once.\n",
                getName().c_str());
    else if (RunningTask::any())
        OS().threadMgr().waitForEvents({completed_, taskFailure()}, false, -1);
    else
        completed_->wait(-1);
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

#pragma once

#include "OS/OS.h"
#include "OS/ThreadExit.h"
#include "OS/ThreadMgr.h"
#include "misc/threads/CoProcess.h"
#include "misc/threads/CommandQueue.h"
#include "misc/threads/ServiceLock.h"

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <utility>
#include <vector>

namespace MwCmdProcessors
{

namespace detail
{

// To the debug console and to the diagnostic stream.
MISC_API void printWorkerMessage(const char* text);

// Holds a mutex for a scope.
class Activity
{
public:
    explicit Activity(Mw::Ptr<iMutex> mutex) : mutex_(std::move(mutex)) { mutex_->acquire(-1); }
    ~Activity() { mutex_->release(); }
    Activity(const Activity&) = delete;
    Activity& operator=(const Activity&) = delete;

private:
    const Mw::Ptr<iMutex> mutex_;
};

} // namespace detail

// What a worker's queue holds: the caller's command and the context that it gave with it.
template <class Safety, class Ctx>
using WorkerCommand = MwDC::ParamCmd<CommandContextPair<MwDC::Cmd<Ctx, Safety>, Ctx>, MwDC::NoTag, Ctx,
                                     CommandContextPair<MwDC::Cmd<Ctx, Safety>, Ctx>&, Safety>;

// A queue with a thread of its own, which runs commands as they arrive: a caller hands work off by inserting it.
// With ThreadSafe, any thread may insert. With NoLocking, nothing keeps two threads apart: only what runs on the
// queue's own thread may insert into it or look at it. The thread is none of the co-processes, so that co_pid() is
// 0 on it.
//
// An exception that leaves a command ends the thread by way of threadExceptionHandler.
template <class Safety, class Ctx>
class WorkerThreadQueue : public Queue<Safety, Ctx>, public MwDC::Receiver<WorkerCommand<Safety, Ctx>>
{
public:
    using Command = MwDC::Cmd<Ctx, Safety>;
    using ParamCmd = WorkerCommand<Safety, Ctx>;
    using Pair = CommandContextPair<Command, Ctx>;

    // Starts the thread, which runs `initCmd` first and `exitCmd` last. Should `initCmd` fail or throw, the queue
    // never runs; what is inserted waits for the destructor to drop it. `priority` is one of the library's,
    // -2 to 4. The argument behind it is ignored.
    WorkerThreadQueue(const char* name, const Command& initCmd, const Command& exitCmd, int priority, int, bool sorted);

    // Runs what was inserted before, then `exitCmd`, and waits for the thread's end; this takes a tenth of a
    // second. Waits for 5 seconds at most: commands that take longer find the queue gone. One of the queue's own
    // commands may drop it: then what stands behind that one, `exitCmd` included, is never run.
    ~WorkerThreadQueue() override;

    // Hands a command over. During destruction it is dropped.
    void insert(const Command& cmd, unsigned priority, const Ctx& ctx);

    // Whether the thread runs; waits until it has started or failed to.
    bool threadRunning() const;

    // What the thread does: from `initCmd` to `exitCmd`.
    void theThreadProc();
    static iThread::eExecRC launchThreadProc(void* queue);

    // Runs the command that is bound to `cmd`, with its own context.
    virtual bool executeCommand(ParamCmd& cmd, Ctx& ctx);

private:
    enum State
    {
        notStarted,
        running,
        ended,
        failed
    };

    // What the thread may look at when the queue is gone.
    struct Life : iObject
    {
        std::atomic<bool> isOver{false};
    };

    // Tells at the end of a scope, however it is left, that the thread is done with the queue, if there still is one.
    class Finish;

    bool execute(ParamCmd& cmd, Pair& pair) override { return executeCommand(cmd, pair.context); }

    bool runInitCommand();
    void runUntilStopped(const Life& life);
    void runAll(const Life& life);
    void finish(State state);
    void awaitThread();

    static constexpr int stopTimeoutMs = 5000;
    static constexpr unsigned lateInsertMs = 100; // for an insert that is under way when the stop is seen
    static constexpr unsigned startPollMs = 50;

    const ParamCmd receiverCmd_{*this};
    Mw::Ptr<iMutex> activityLock_; // the thread's but for an instant after each batch
    Mw::Ptr<iThreadEvent> workEvent_;
    Mw::Ptr<iThreadEvent> stopEvent_;
    Mw::Ptr<iThreadEvent> doneEvent_;
    Mw::Ptr<iThread> thread_;
    Command initCmd_;
    Command exitCmd_;
    std::atomic<bool> stopping_{false};
    std::atomic<State> threadState_{notStarted};
    const Mw::Ptr<Life> life_{Mw::makePtr<Life>()};
};

template <class Safety, class Ctx>
class WorkerThreadQueue<Safety, Ctx>::Finish
{
public:
    explicit Finish(WorkerThreadQueue& queue) noexcept : queue_(queue), life_(queue.life_) {}
    ~Finish()
    {
        if (!life_->isOver)
            queue_.finish(state_);
    }
    Finish(const Finish&) = delete;
    Finish& operator=(const Finish&) = delete;

    const Life& life() const noexcept { return *life_; }

    State state_ = ended;

private:
    WorkerThreadQueue& queue_;
    const Mw::Ptr<Life> life_;
};

template <class Safety, class Ctx>
WorkerThreadQueue<Safety, Ctx>::WorkerThreadQueue(const char* name, const Command& initCmd, const Command& exitCmd,
                                                  int priority, int, bool sorted)
    : Queue<Safety, Ctx>(sorted), initCmd_(initCmd), exitCmd_(exitCmd)
{
    iThreadMgr& threads = OS().threadMgr();
    activityLock_ = threads.createMutex();
    workEvent_ = threads.createEvent(iThreadEvent::eAutoReset);
    stopEvent_ = threads.createEvent(iThreadEvent::eManualReset);
    doneEvent_ = threads.createEvent(iThreadEvent::eManualReset);
    thread_ = threads.createThread({launchThreadProc, this, 0, name, threadExceptionHandler});
    if (thread_)
        thread_->setPriority(mapThreadPriority(priority));
    else
    {
        detail::printWorkerMessage("OS().threadMgr().createThread() failed\n");
        finish(failed);
    }
}

template <class Safety, class Ctx>
WorkerThreadQueue<Safety, Ctx>::~WorkerThreadQueue()
{
    stopping_ = true;
    stopEvent_->set();
    awaitThread();
    life_->isOver = true;
}

template <class Safety, class Ctx>
void WorkerThreadQueue<Safety, Ctx>::insert(const Command& cmd, unsigned priority, const Ctx& ctx)
{
    if (stopping_)
        return;
    Queue<Safety, Ctx>::insert(receiverCmd_.boundTo({cmd, ctx}), priority);
    workEvent_->set();
}

template <class Safety, class Ctx>
bool WorkerThreadQueue<Safety, Ctx>::threadRunning() const
{
    while (threadState_ == notStarted)
        OS().threadMgr().sleep(startPollMs);
    return threadState_ == running;
}

template <class Safety, class Ctx>
iThread::eExecRC WorkerThreadQueue<Safety, Ctx>::launchThreadProc(void* queue)
{
    static_cast<WorkerThreadQueue*>(queue)->theThreadProc();
    return iThread::eExecOK;
}

template <class Safety, class Ctx>
void WorkerThreadQueue<Safety, Ctx>::theThreadProc()
{
    Finish finish(*this);
    if (!runInitCommand())
    {
        finish.state_ = failed;
        return;
    }
    threadState_ = running;
    runUntilStopped(finish.life());
    if (finish.life().isOver)
        return;
    Ctx ctx{};
    exitCmd_.execute(ctx);
}

template <class Safety, class Ctx>
bool WorkerThreadQueue<Safety, Ctx>::executeCommand(ParamCmd& cmd, Ctx&)
{
    Pair pair = cmd.rep().takeParameter();
    return pair.cmd.executeAndRelease(pair.context);
}

template <class Safety, class Ctx>
bool WorkerThreadQueue<Safety, Ctx>::runInitCommand()
{
    try
    {
        Ctx ctx{};
        return initCmd_.execute(ctx);
    }
    catch (const ThreadExit&)
    {
        throw;
    }
    catch (...)
    {
        detail::printWorkerMessage("Warning: WorkerTheadQueue init command threw an execption.\n");
        return false;
    }
}

template <class Safety, class Ctx>
void WorkerThreadQueue<Safety, Ctx>::runUntilStopped(const Life& life)
{
    const std::vector<Mw::Ptr<iThreadEvent>> events{workEvent_, stopEvent_};
    for (bool stop = false; !stop && !life.isOver;)
    {
        const detail::Activity activity(activityLock_);
        OS().threadMgr().waitForEvents(events, false, -1);
        stop = stopEvent_->wait(0) == iThreadEvent::eWaitSuccess;
        runAll(life);
        if (stop && !life.isOver)
        {
            OS().threadMgr().sleep(lateInsertMs);
            runAll(life);
        }
    }
}

// A command may drop the queue.
template <class Safety, class Ctx>
void WorkerThreadQueue<Safety, Ctx>::runAll(const Life& life)
{
    Ctx ctx{};
    while (!life.isOver && this->executeNext(ctx))
    {
    }
}

// The state comes first: whoever has seen the event may look at it.
template <class Safety, class Ctx>
void WorkerThreadQueue<Safety, Ctx>::finish(State state)
{
    threadState_ = state;
    doneEvent_->set();
}

// The end of the thread comes a little after the event, and until then the thread is on its way out of here.
template <class Safety, class Ctx>
void WorkerThreadQueue<Safety, Ctx>::awaitThread()
{
    const std::int64_t startMs = service_get_msecs();
    if (doneEvent_->wait(0) != iThreadEvent::eWaitSuccess)
    {
        // Neither does a thread wait for itself, nor a forked child for a thread of its parent.
        if (thread_->threadId() == OS().threadMgr().currentThreadId() || thread_->waitForExit(0) ||
            doneEvent_->wait(stopTimeoutMs) != iThreadEvent::eWaitSuccess)
            return;
    }
    if (thread_)
        thread_->waitForExit(
            static_cast<int>(std::max<std::int64_t>(0, startMs + stopTimeoutMs - service_get_msecs())));
}

extern template class MISC_API WorkerThreadQueue<MwDC::ThreadSafetyTraits::ThreadSafe, MwDC::NoCtx>;
extern template class MISC_API WorkerThreadQueue<MwDC::ThreadSafetyTraits::NoLocking, MwDC::NoCtx>;

} // namespace MwCmdProcessors

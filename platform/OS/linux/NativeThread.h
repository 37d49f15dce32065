#pragma once

#include "OS/ForkCount.h"
#include "OS/ThreadMgr.h"
#include "OS/linux/NativeEvent.h"

#include <sys/types.h>

// A detached thread of the system and the record of it, which thread and callers hold together: the
// thread until it ends, with its thread-local objects gone.
//
// A forked child has the records of its parent's threads, but none of those threads.
class NativeThread final : public iThread
{
public:
    // Null on failure.
    static Mw::Ptr<iThread> start(const iThreadMgr::ThreadParams& params);

    explicit NativeThread(const iThreadMgr::ThreadParams& params) : params_(params) {}

    std::uint32_t threadId() override;
    const LightweightString<char>& name() override { return params_.name; }
    bool setPriority(int priority) override;
    bool setAffinity(int processors) override;
    bool waitForExit(int timeoutMs) override;
    LocalObjects& localObjects() override { return localObjects_; }

private:
    class AtEnd;

    static void* body(void* thread);
    void begin();
    void run();
    void dropLocalObjects();
    void end() noexcept;

    bool isInherited() const noexcept { return forks_ != forkCount(); }

    // The system's number for calls on this thread, 0 once it has ended and the number may be another's, and for
    // a thread of the parent process.
    pid_t systemId();

    const iThreadMgr::ThreadParams params_;
    const unsigned forks_ = forkCount();
    Mw::Ptr<NativeThread> running_; // this record, while the thread runs
    FutexWord id_{0};               // 0 until the thread has begun
    NativeEvent ended_{iThreadEvent::eManualReset, false};
    LocalObjects localObjects_;
};

// Calls the function; an exception that leaves it goes to the handler, if there is one.
iThread::eExecRC executeProtected(iThread::EntryFunction function, void* argument, iThread::ExceptionHandler handler);

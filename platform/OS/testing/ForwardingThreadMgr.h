#pragma once

#include "OS/OS.h"
#include "OS/ThreadMgr.h"

// Threads that pass everything on, for a test to override what it wants to see or break. Passes on to what was
// in place when it was made; to use it, put it in place with an OSReplacement.
class ForwardingThreadMgr : public iThreadMgr
{
public:
    ForwardingThreadMgr() : target_(OS().threadMgr()) {}

    Mw::Ptr<iThread> createThread(const ThreadParams& params) override { return target_.createThread(params); }
    Mw::Ptr<iThreadEvent> createEvent(iThreadEvent::eKind kind, bool set) override
    {
        return target_.createEvent(kind, set);
    }
    Mw::Ptr<iMutex> createMutex() override { return target_.createMutex(); }
    Mw::Ptr<iSemaphore> createSemaphore(int units) override { return target_.createSemaphore(units); }
    Mw::Ptr<iCriticalSection> createCriticalSection() override { return target_.createCriticalSection(); }
    Mw::Ptr<iIOCompletionPort> createIOCompletionPort() override { return target_.createIOCompletionPort(); }
    int waitForEvents(const std::vector<Mw::Ptr<iThreadEvent>>& events, bool waitForAll, int timeoutMs) override
    {
        return target_.waitForEvents(events, waitForAll, timeoutMs);
    }
    std::uint32_t currentThreadId() override { return target_.currentThreadId(); }
    iThread::eExecRC protect(iThread::EntryFunction function, void* argument,
                             iThread::ExceptionHandler handler) override
    {
        return target_.protect(function, argument, handler);
    }
    void exitCurrentThread() override { target_.exitCurrentThread(); }
    void sleep(unsigned timeMs) override { target_.sleep(timeMs); }
    void yield() override { target_.yield(); }
    unsigned processorCount() override { return target_.processorCount(); }

private:
    iThreadMgr& target_;
};

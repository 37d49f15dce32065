#pragma once

#include "OS/Thread.h"

// Makes threads and what they wait for: OS().threadMgr(). Any thread.
class OS_API iThreadMgr
{
public:
    struct ThreadParams
    {
        iThread::EntryFunction function = nullptr;
        void* argument = nullptr;
        unsigned stackSizeBytes = 0; // 0: the system's default
        LightweightString<char> name;
        iThread::ExceptionHandler exceptionHandler = nullptr;
        bool suspended = false; // kept for callers that pass it; threads start at once
    };

    // What a wait for several events gives, beside the index of the event.
    static constexpr int waitTimedOut = -1;

    virtual ~iThreadMgr() = default;

    // Null on failure. Without a handler, an exception that leaves the function ends the process.
    virtual Mw::Ptr<iThread> createThread(const ThreadParams& params) = 0;

    virtual Mw::Ptr<iThreadEvent> createEvent(iThreadEvent::eKind kind, bool set = false) = 0;
    virtual Mw::Ptr<iMutex> createMutex() = 0;
    virtual Mw::Ptr<iSemaphore> createSemaphore(int units) = 0;
    virtual Mw::Ptr<iCriticalSection> createCriticalSection() = 0;

    // Waits for one (or all) of the events; a negative time means for ever. Gives the index of the first
    // event that was set (0 when waiting for all), or `waitTimedOut`.
    virtual int waitForEvents(const std::vector<Mw::Ptr<iThreadEvent>>& events, bool waitForAll, int timeoutMs) = 0;

    // The identity of the calling thread, the same that iThread::threadId gives; never 0.
    virtual std::uint32_t currentThreadId() = 0;

    // Calls the function; an exception that leaves it goes to the handler, and the result is then
    // iThread::eExecFailed.
    virtual iThread::eExecRC protect(iThread::EntryFunction function, void* argument,
                                     iThread::ExceptionHandler handler) = 0;

    // Ends the calling thread, which createThread made, running the destructors of its stack. Throws a
    // private type that every catch-all of this library lets through.
    [[noreturn]] virtual void exitCurrentThread() = 0;

    virtual void sleep(unsigned timeMs) = 0;
    virtual void yield() = 0;
    virtual unsigned processorCount() = 0;
};

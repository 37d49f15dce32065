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
        unsigned stackSizeBytes = 0; // 0: the system's default; raised to the system's least
        LightweightString<char> name;
        iThread::ExceptionHandler exceptionHandler = nullptr;
        bool suspended = false; // kept for callers that pass it; threads start at once
    };

    // What a wait for several events gives, beside the index of the event.
    static constexpr int waitTimedOut = -1;

    virtual ~iThreadMgr() = default;

    // Null on failure. An exception that leaves the function goes to the handler, on the thread; without a
    // handler it ends the process by std::terminate. The thread has the caller's nice value and processors
    // until others are set.
    virtual Mw::Ptr<iThread> createThread(const ThreadParams& params) = 0;

    virtual Mw::Ptr<iThreadEvent> createEvent(iThreadEvent::eKind kind, bool set = false) = 0;
    virtual Mw::Ptr<iMutex> createMutex() = 0;
    virtual Mw::Ptr<iSemaphore> createSemaphore(int units) = 0;
    virtual Mw::Ptr<iCriticalSection> createCriticalSection() = 0;
    virtual Mw::Ptr<iIOCompletionPort> createIOCompletionPort() = 0;

    // Waits for one (or all) of the events, which this manager made, none of them null or listed twice; a
    // negative time means for ever. Gives the index of the first event found set, which alone is taken
    // (0 when waiting for all, which are taken together), or `waitTimedOut`. Without events this is 0 for
    // all and `waitTimedOut` for one, at once.
    virtual int waitForEvents(const std::vector<Mw::Ptr<iThreadEvent>>& events, bool waitForAll, int timeoutMs) = 0;

    // The identity of the calling thread, the same that iThread::threadId gives; never 0.
    virtual std::uint32_t currentThreadId() = 0;

    // Calls the function; an exception that leaves it goes to the handler, and the result is then
    // iThread::eExecFailed. Without a handler the exception goes on to the caller.
    virtual iThread::eExecRC protect(iThread::EntryFunction function, void* argument,
                                     iThread::ExceptionHandler handler) = 0;

    // Ends the calling thread, which createThread made, running the destructors of its stack. Throws
    // ThreadExit, which whatever catches everything lets through ("OS/ThreadExit.h").
    [[noreturn]] virtual void exitCurrentThread() = 0;

    virtual void sleep(unsigned timeMs) = 0;
    virtual void yield() = 0;

    // How many processors this process may use; at least 1.
    virtual unsigned processorCount() = 0;
};

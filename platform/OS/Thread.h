#pragma once

#include "Mw/LightweightString.h"
#include "Mw/Ptr.h"

#include <cstdint>
#include <map>
#include <vector>

// A thread of the platform. Made by OS().threadMgr().createThread.
class OS_API iThread : public iObject
{
public:
    // What a thread's function gives back.
    enum eExecRC
    {
        eExecOK = 0,
        eExecFailed = 1
    };
    using EntryFunction = eExecRC (*)(void*);

    // A C++ exception that left a thread's entry function, as the thread's handler gets it.
    struct Exception
    {
        std::uint64_t function = 0; // the entry function's address
        std::uint64_t argument = 0; // its argument
        std::vector<LightweightString<char>> stack;
    };
    using ExceptionHandler = void (*)(const Exception&);

    using LocalObjects = std::map<LightweightString<char>, Mw::Ptr<iObject>>;

    // An identity that is unique among the threads that run; never 0.
    virtual std::uint32_t threadId() = 0;

    // 0 (lowest) to 5 (highest). A priority that the system does not grant becomes the nearest one that
    // it does; that counts as success.
    virtual bool setPriority(int priority) = 0;

    // Bit n allows processor n; 0 allows all.
    virtual bool setAffinity(int processors) = 0;

    // Waits until the thread has ended; a negative time means for ever. True if it has. A thread never
    // waits for its own end: called on itself, this gives false at once.
    virtual bool waitForExit(int timeoutMs) = 0;

    // Objects that belong to the thread, by name. For the thread itself only.
    virtual LocalObjects& localObjects() = 0;
};

// An event that threads wait for. Setting one that nobody waits for makes no system call.
class OS_API iThreadEvent : public iObject
{
public:
    enum eKind
    {
        eAutoReset,  // a satisfied wait clears it: one waiter goes on
        eManualReset // stays set until reset: all waiters go on
    };
    enum eWaitRC
    {
        eWaitSuccess = 0,
        eWaitTimeout = 1
    };

    // A negative time means for ever. Time is monotonic.
    virtual eWaitRC wait(int timeoutMs = -1) = 0;
    virtual void set() = 0;
    virtual void reset() = 0;
};

// A lock that can be waited for with a time limit. Recursive.
class OS_API iMutex : public iObject
{
public:
    // True once owned; a negative time means for ever.
    virtual bool acquire(int timeoutMs = -1) = 0;
    virtual void release() = 0;
};

class OS_API iSemaphore : public iObject
{
public:
    // True once a unit was taken; a negative time means for ever.
    virtual bool acquire(int timeoutMs = -1) = 0;
    virtual void release(int units = 1) = 0;
};

// A recursive lock without a time limit; the base of CriticalSection.
class OS_API iCriticalSection : public iObject
{
public:
    virtual void enter() = 0;
    virtual bool tryEnter() = 0;
    virtual void leave() = 0;

    // The id of the thread that holds it, 0 if none does.
    virtual std::uint32_t owner() = 0;
};

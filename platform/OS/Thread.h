#pragma once

#include "Mw/LightweightString.h"
#include "Mw/Ptr.h"

#include <cstdint>
#include <map>
#include <vector>

// A thread of the platform, made by OS().threadMgr().createThread. Whoever drops it while it runs lets it
// run on. Any thread, except where an operation says otherwise.
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

    // A C++ exception that left a thread's entry function, as the thread's handler gets it: on the thread
    // that died, inside of a catch, so that std::current_exception() still gives the exception itself.
    struct Exception
    {
        std::uint64_t function = 0;                 // the entry function's address
        std::uint64_t argument = 0;                 // its argument
        std::vector<LightweightString<char>> stack; // what a Mw::Exception::Base carried, else empty
    };
    using ExceptionHandler = void (*)(const Exception&);

    using LocalObjects = std::map<LightweightString<char>, Mw::Ptr<iObject>>;

    // An identity that is unique among the threads that run; never 0.
    virtual std::uint32_t threadId() = 0;

    // As it was given, whole; the system shows the first 15 bytes.
    virtual const LightweightString<char>& name() = 0;

    // 0 (lowest) to 5 (highest), 2 being that of the process. A priority that the system does not grant
    // becomes the nearest one that it does; that counts as success, and OS().message says so once. False
    // for any other number and for a thread that has ended.
    virtual bool setPriority(int priority) = 0;

    // Bit n allows processor n; 0 allows all. False if none of them exists or the thread has ended.
    virtual bool setAffinity(int processors) = 0;

    // Waits until the thread has ended, its thread_local objects gone; a negative time means for ever. True
    // if it has. A thread never waits for its own end: called on itself, this gives false at once. In a forked
    // child the threads of its parent count as ended; they take no priority and no processors there.
    virtual bool waitForExit(int timeoutMs) = 0;

    // Objects that belong to the thread, by name; let go on the thread when its function is done. For the
    // thread itself only.
    virtual LocalObjects& localObjects() = 0;
};

// An event that threads wait for. Setting one that nobody waits for makes no system call, nor does waiting
// for one that is set. What a thread did before it set the event is seen by those whom the event let go on.
// Any thread.
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

    // Time is monotonic; a negative one means for ever, 0 looks and gives the answer at once.
    virtual eWaitRC wait(int timeoutMs = -1) = 0;

    // Setting an event that is set changes nothing. The caller touches nothing of the event once a waiter
    // can go on, so that waiter may drop the last reference.
    virtual void set() = 0;

    // A waiter that had not yet gone on when the event was reset waits again.
    virtual void reset() = 0;
};

// A recursive lock that can be waited for with a time limit. Any thread.
class OS_API iMutex : public iObject
{
public:
    // True once owned; a negative time means for ever. Each success asks for one release.
    virtual bool acquire(int timeoutMs = -1) = 0;

    // For the owner only: on another thread an assertion, and nothing happens.
    virtual void release() = 0;
};

// A count of units, at most 2^31 - 1, that threads take and give. Any thread.
class OS_API iSemaphore : public iObject
{
public:
    // True once a unit was taken; a negative time means for ever.
    virtual bool acquire(int timeoutMs = -1) = 0;

    // Gives one or more units, whoever took them.
    virtual void release(int units = 1) = 0;
};

// A queue of what was completed: whoever completes something posts it, and the threads that wait take what
// was posted, in that order, each thing once. Any thread.
class OS_API iIOCompletionPort : public iObject
{
public:
    // What was completed, in the words of who posts it.
    struct Completion
    {
        std::uintptr_t key = 0;  // of whom
        std::int64_t result = 0; // bytes moved, or -1
        Mw::Ptr<iObject> operation;
    };
    enum eWaitRC
    {
        eCompleted = 0,
        eTimeout = 1,
        eClosed = 2
    };

    // False once the port is closed: nothing was posted.
    virtual bool post(const Completion& completion) = 0;

    // Takes the next completion. Time is monotonic; a negative one means for ever, 0 looks and gives the
    // answer at once. A closed port gives what was posted before, then eClosed.
    virtual eWaitRC wait(Completion& completion, int timeoutMs = -1) = 0;

    // Takes no more posts and lets all go on who wait for more than there is. More than once is once.
    virtual void close() = 0;
};

// A recursive lock without a time limit. Where no interface is asked for, CriticalSection is the same lock
// inline. Any thread.
class OS_API iCriticalSection : public iObject
{
public:
    virtual void enter() = 0;

    // False at once where another thread owns it.
    virtual bool tryEnter() = 0;

    // For the owner only: on another thread an assertion, and nothing happens.
    virtual void leave() = 0;

    // The id of the thread that holds it, 0 if none does.
    virtual std::uint32_t owner() = 0;
};

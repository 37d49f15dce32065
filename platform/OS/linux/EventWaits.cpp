#include "OS/linux/EventWaits.h"

#include "OS/RecursiveLock.h"

#include <algorithm>
#include <cerrno>
#include <linux/futex.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace
{

NativeEvent& eventOf(const Mw::Ptr<iThreadEvent>& event)
{
    return static_cast<NativeEvent&>(*event);
}

// Index of the first event that could be taken, or -1.
int takeFirst(EventList events)
{
    for (std::size_t i = 0; i < events.size(); ++i)
        if (eventOf(events[i]).take())
            return static_cast<int>(i);
    return -1;
}

// Counts the calling thread among the waiters of all events.
void enterAll(EventList events) noexcept
{
    for (const auto& event : events)
        eventOf(event).enter();
}

// The reverse. Wake-ups that came here and were not used go on to others.
void leaveAll(EventList events) noexcept
{
    for (const auto& event : events)
        eventOf(event).leave();
}

// The system's wait for several words, which kernels before 5.16 lack and which takes so many words.
constexpr std::size_t systemWaitLimit = FUTEX_WAITV_MAX;
std::atomic<bool> systemWaitMissing{false};

enum class Slept
{
    woken, // or never slept, since an event was set: look again
    timedOut,
    notSupported
};

class SystemWait
{
public:
    explicit SystemWait(EventList events) noexcept : events_(events), count_(static_cast<unsigned>(events.size()))
    {
        for (unsigned i = 0; i < count_; ++i)
            words_[i] = {0, reinterpret_cast<std::uintptr_t>(eventOf(events[i]).word()), FUTEX_32 | FUTEX_PRIVATE_FLAG,
                         0};
        enterAll(events_);
    }
    ~SystemWait() { leaveAll(events_); }
    SystemWait(const SystemWait&) = delete;
    SystemWait& operator=(const SystemWait&) = delete;

    Slept sleep(const Deadline& deadline) noexcept
    {
        const int callersErrno = errno;
        const long result = ::syscall(SYS_futex_waitv, words_, count_, 0, deadline.time(), CLOCK_MONOTONIC);
        const int error = result >= 0 ? 0 : errno;
        errno = callersErrno;
        if (error == ENOSYS || error == EPERM) // a filter of system calls answers with either
            return Slept::notSupported;
        return error == ETIMEDOUT ? Slept::timedOut : Slept::woken;
    }

private:
    EventList events_;
    unsigned count_;
    futex_waitv words_[systemWaitLimit];
};

// What a thread leaves behind where the system can't wait for its events: a word of its own, which those
// who set one of the events find in the list of all records.
class WaitRecord
{
public:
    // In the list before its thread is counted as a waiter, so that who sees the count finds it; out of it
    // before the thread stops being one, so that a wake-up that it was given and did not use is passed on.
    explicit WaitRecord(EventList events);
    ~WaitRecord();
    WaitRecord(const WaitRecord&) = delete;
    WaitRecord& operator=(const WaitRecord&) = delete;

    Slept sleep(const Deadline& deadline) noexcept
    {
        const bool inTime = futexWait(&woken_, 0, deadline);
        // Acquire: the events are looked at after this, so a wake-up that found the word raised already
        // may rely on this thread.
        woken_.exchange(0, std::memory_order_acq_rel);
        return inTime ? Slept::woken : Slept::timedOut;
    }

    static void wake(const void* word, int count) noexcept;

private:
    void enterList() noexcept;
    void leaveList() noexcept;

    bool waitsFor(const void* word) const noexcept
    {
        return std::ranges::any_of(events_, [&](const auto& event) { return eventOf(event).word() == word; });
    }

    FutexWord woken_{0};
    EventList events_;
    WaitRecord* next_ = nullptr;
    WaitRecord* previous_ = nullptr;

    // One list for the process: it is empty on any system of today, but for lists of more than
    // `systemWaitLimit` events.
    struct Lock
    {
        Lock() noexcept { theLock.enter(); }
        ~Lock() { theLock.leave(); }
    };
    static constinit RecursiveLock theLock;
    static constinit std::atomic<WaitRecord*> theFirst;
};

constinit RecursiveLock WaitRecord::theLock;
constinit std::atomic<WaitRecord*> WaitRecord::theFirst{nullptr};

WaitRecord::WaitRecord(EventList events) : events_(events)
{
    enterList();
    enterAll(events_);
}

WaitRecord::~WaitRecord()
{
    leaveList();
    leaveAll(events_);
}

void WaitRecord::enterList() noexcept
{
    const Lock lock;
    next_ = theFirst.load(std::memory_order_relaxed);
    if (next_ != nullptr)
        next_->previous_ = this;
    theFirst.store(this, std::memory_order_relaxed);
}

void WaitRecord::leaveList() noexcept
{
    const Lock lock;
    if (previous_ != nullptr)
        previous_->next_ = next_;
    else
        theFirst.store(next_, std::memory_order_relaxed);
    if (next_ != nullptr)
        next_->previous_ = previous_;
}

void WaitRecord::wake(const void* word, int count) noexcept
{
    // Relaxed: a record is entered before its thread is counted among the waiters of an event, and who
    // comes here read that count.
    if (theFirst.load(std::memory_order_relaxed) == nullptr)
        return;
    const Lock lock;
    for (WaitRecord* record = theFirst.load(std::memory_order_relaxed); record != nullptr && count > 0;
         record = record->next_)
    {
        if (!record->waitsFor(word) || record->woken_.exchange(1, std::memory_order_acq_rel) != 0)
            continue;
        futexWake(&record->woken_, 1);
        --count;
    }
}

constexpr int notSupported = -2;

template <class Sleeper>
int waitWith(Sleeper& sleeper, EventList events, const Deadline& deadline)
{
    for (;;)
    {
        if (const int taken = takeFirst(events); taken >= 0)
            return taken;
        const Slept slept = sleeper.sleep(deadline);
        if (slept == Slept::notSupported)
            return notSupported;
        if (slept == Slept::timedOut)
            return takeFirst(events);
    }
}

// Takes every event, or none. One that another thread takes meanwhile makes this fail; those taken before
// it are set again, and for that moment others see them clear.
bool takeAll(EventList events)
{
    for (std::size_t i = 0; i < events.size(); ++i)
    {
        if (eventOf(events[i]).take())
            continue;
        for (std::size_t taken = 0; taken < i; ++taken)
            eventOf(events[taken]).giveBack();
        return false;
    }
    return true;
}

} // namespace

int waitForAny(EventList events, int timeoutMs)
{
    if (const int taken = takeFirst(events); taken >= 0 || timeoutMs == 0 || events.empty())
        return taken;
    const Deadline deadline(timeoutMs);
    if (events.size() <= systemWaitLimit && !systemWaitMissing.load(std::memory_order_relaxed))
    {
        SystemWait words(events);
        if (const int taken = waitWith(words, events, deadline); taken != notSupported)
            return taken;
        systemWaitMissing.store(true, std::memory_order_relaxed);
    }
    WaitRecord record(events);
    return waitWith(record, events, deadline);
}

bool waitForAll(EventList events, int timeoutMs)
{
    const Deadline deadline(timeoutMs);
    for (;;)
    {
        const auto missing = std::ranges::find_if(events, [](const auto& event) { return !eventOf(event).isSet(); });
        if (missing == events.end())
        {
            if (takeAll(events))
                return true;
        }
        // Sleeping on one of them at a time is enough: the others are looked at again when it is set.
        else if (timeoutMs == 0 || !eventOf(*missing).waitUntilSet(deadline))
            return false;
    }
}

void wakeSleepers(const void* word, int count) noexcept
{
    if (const int woken = futexWake(word, count); woken < count)
        WaitRecord::wake(word, count - woken);
}

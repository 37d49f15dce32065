#include "OS/RecursiveLock.h"

#include "OS/linux/Futex.h"

#include <ctime>
#include <sys/syscall.h>
#include <unistd.h>

constinit thread_local std::uint32_t ThreadId::current_ = 0;

std::uint32_t ThreadId::assign() noexcept
{
    current_ = static_cast<std::uint32_t>(::syscall(SYS_gettid));
    return current_;
}

// How a thread that leaves learns of sleepers without a locked instruction.
//
// A leave stores 0 in the word and then asks whether anybody sleeps; a sleeper says that it does and then looks at
// the word once more. One of them must see the other, so each needs a full barrier between the two steps. The
// sleeper pays for both: it has all running threads pass a barrier. A leave that is under way at that moment has
// either stored its 0 already, and the sleeper finds it, or asks afterwards, and finds the sleeper.
//
// A leave that knows of sleepers beforehand takes the word by an exchange, which tells whether they sleep on this
// lock: the flag `contended` stands whenever a thread goes to sleep. One that learns of them only after its store may
// have wiped the flag out, and wakes a thread in any case.
//
// The sleepers are counted in a table beside the locks, by the lock's address, because the next owner may destroy the
// lock as soon as the word is 0. Locks that share a slot cost each other an exchange or a needless wake-up while
// one has sleepers; and a slot that had some when the process was forked stays at exchanges in the child.
//
// All counts begin one too high, and so leaves with exchanges, until the system has shown that it has such barriers.
// Where it has none that remains so; where it denies them later, that comes back.
//
// The barrier is about sleeping alone. What one owner wrote the next one sees by the word, as with any lock.
class RecursiveLock::Sleeper
{
public:
    explicit Sleeper(const RecursiveLock* lock) noexcept : slot_(slots_[slotOf(lock)])
    {
        slot_.sleepers.fetch_add(1);
        if (leavesByStore_.load() && !barrierInAllThreads()) [[unlikely]]
            leaveByExchange();
    }
    ~Sleeper() { slot_.sleepers.fetch_sub(1, std::memory_order_relaxed); }
    Sleeper(const Sleeper&) = delete;
    Sleeper& operator=(const Sleeper&) = delete;

private:
    static bool leaveByStore() noexcept
    {
        if (!barrierInAllThreads())
            return false;
        // First of all: whoever finds it false has counted itself before the counts sink.
        leavesByStore_.store(true);
        for (Slot& slot : slots_)
            slot.sleepers.fetch_sub(1);
        return true;
    }

    // Without a barrier, the store of a leave that is under way is given time to arrive.
    static void leaveByExchange() noexcept
    {
        for (Slot& slot : slots_)
            slot.sleepers.fetch_add(1);
        sleepForMs(2);
        leavesByStore_.store(false);
    }

    static std::atomic<bool> leavesByStore_;
    static const bool isStarted_;

    Slot& slot_;
};

constinit RecursiveLock::Slot RecursiveLock::slots_[slotCount];
constinit std::atomic<bool> RecursiveLock::Sleeper::leavesByStore_{false};
const bool RecursiveLock::Sleeper::isStarted_ = leaveByStore();

namespace
{

void relax() noexcept
{
#if defined(__x86_64__)
    __builtin_ia32_pause();
#elif defined(__aarch64__)
    asm volatile("yield");
#endif
}

std::int64_t nowNs() noexcept
{
    timespec now{};
    ::clock_gettime(CLOCK_MONOTONIC, &now);
    return now.tv_sec * 1'000'000'000LL + now.tv_nsec;
}

} // namespace

bool RecursiveLock::enterIfFree(std::uint32_t self) noexcept
{
    std::uint32_t found = word_.load(std::memory_order_relaxed);
    return found == 0 && word_.compare_exchange_weak(found, self, std::memory_order_acquire, std::memory_order_relaxed);
}

// For about as long as the calls of going to sleep take.
bool RecursiveLock::spinAndEnter(std::uint32_t self) noexcept
{
    for (int rounds = 100; rounds != 0; --rounds)
    {
        relax();
        if (enterIfFree(self))
            return true;
    }
    return false;
}

// Two threads that look for a free moment all the time find one after each step of the other, and pass the lock, with
// all that it guards, from processor to processor for each. The fewer looks, the longer are their turns.
void RecursiveLock::awaitTurnAndEnter(std::uint32_t self) noexcept
{
    constexpr std::int64_t turnNs = 6'500;
    for (int looks = 2; looks != 0; --looks)
    {
        for (const std::int64_t endNs = nowNs() + turnNs; nowNs() < endNs;)
            relax();
        if (enterIfFree(self))
            return;
    }
    waitAndEnter(self, -1);
}

// A thread that has slept can't know whether others still do, so it takes the lock with the flag set, at the price of
// one needless wake-up later.
//
// No wake-up is lost to a thread that gives up: it sets the flag before each sleep and gives up only when
// the sleep itself ran out of time, which is to say that no wake-up was spent on it.
bool RecursiveLock::waitAndEnter(std::uint32_t self, int timeoutMs) noexcept
{
    if (spinAndEnter(self))
        return true;
    const Deadline deadline(timeoutMs);
    const Sleeper sleeper(this);
    std::uint32_t found = word_.load(std::memory_order_relaxed);
    for (;;)
    {
        if (found == 0)
        {
            if (word_.compare_exchange_weak(found, self | contended, std::memory_order_acquire,
                                            std::memory_order_relaxed))
                return true;
            continue;
        }
        if ((found & contended) == 0 &&
            !word_.compare_exchange_weak(found, found | contended, std::memory_order_relaxed,
                                         std::memory_order_relaxed))
            continue;
        if (!futexWait(&word_, found | contended, deadline))
            return false;
        found = word_.load(std::memory_order_relaxed);
    }
}

void RecursiveLock::leaveWatched() noexcept
{
    if ((word_.exchange(0, std::memory_order_release) & contended) != 0)
        wakeOne(&word_);
}

void RecursiveLock::wakeOne(std::atomic<std::uint32_t>* word) noexcept
{
    futexWake(word, 1);
}

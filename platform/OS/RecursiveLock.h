#pragma once

#include "OS/Export.h"
#include "OS/ThreadId.h"

#include <atomic>
#include <cstddef>
#include <cstdint>

// A lock that the thread which holds it may enter again: the core of CriticalSection, iCriticalSection
// and iMutex. Entering and leaving one that nobody else wants is a locked instruction each, nested a
// plain count, all inline. Eight bytes, ready before any static constructor, nothing to destroy.
//
// A thread that leaves touches nothing of the lock once another can own it, so the next owner may
// destroy it at once.
class RecursiveLock
{
public:
    constexpr RecursiveLock() noexcept = default;
    RecursiveLock(const RecursiveLock&) = delete;
    RecursiveLock& operator=(const RecursiveLock&) = delete;

    // Blocks until the calling thread owns the lock. Each enter asks for one leave.
    void enter() noexcept
    {
        const std::uint32_t self = ThreadId::current();
        if (!enterAtOnce(self)) [[unlikely]]
            waitAndEnter(self, -1);
    }

    // As enter, for threads that each take the lock for moments and come again at once: who finds it taken stays
    // away for some microseconds, in which the other gets many steps done.
    void enterInTurns() noexcept
    {
        const std::uint32_t self = ThreadId::current();
        if (!enterAtOnce(self)) [[unlikely]]
            awaitTurnAndEnter(self);
    }

    // As enter, but gives false at once where another thread owns the lock.
    [[nodiscard]] bool tryEnter() noexcept { return enterAtOnce(ThreadId::current()); }

    // As enter, but gives false where the time passed first. Time is monotonic; a negative one means
    // for ever.
    [[nodiscard]] bool tryEnterFor(int timeoutMs) noexcept
    {
        const std::uint32_t self = ThreadId::current();
        return enterAtOnce(self) || (timeoutMs != 0 && waitAndEnter(self, timeoutMs));
    }

    // Gives up one level of ownership; only for the owner.
    void leave() noexcept
    {
        if (depth_ != 0)
        {
            --depth_;
            return;
        }
        const std::atomic<std::uint32_t>& sleepers = slots_[slotOf(this)].sleepers;
        if (sleepers.load(std::memory_order_relaxed) != 0) [[unlikely]]
            return leaveWatched();
        // Whoever goes to sleep sees to it that the load doesn't come before the store: the source tells how.
        word_.store(0, std::memory_order_release);
        std::atomic_signal_fence(std::memory_order_seq_cst);
        if (sleepers.load(std::memory_order_relaxed) != 0) [[unlikely]]
            wakeOne(&word_);
    }

    // The id of the thread that owns the lock, 0 if none does. Only whether it is the caller's own is
    // certain: others may come and go.
    std::uint32_t owner() const noexcept { return word_.load(std::memory_order_relaxed) & ~contended; }
    bool isMine() const noexcept { return owner() == ThreadId::current(); }

private:
    // Beside the owner's id while threads may sleep.
    static constexpr std::uint32_t contended = 0x80000000u;

    // How many threads may sleep on one of the locks that share the slot, and one more that is nobody until the
    // system has shown that leaves may be plain stores. Leaves are inline: all modules must agree on the table.
    struct Slot
    {
        std::atomic<std::uint32_t> sleepers{1};
    };
    static constexpr std::size_t slotCount = 256;
    static std::size_t slotOf(const RecursiveLock* lock) noexcept
    {
        return reinterpret_cast<std::uintptr_t>(lock) / 16 % slotCount;
    }
    class Sleeper;

    bool enterAtOnce(std::uint32_t self) noexcept
    {
        // Relaxed: a thread finds its own id only where it stored it itself.
        std::uint32_t found = word_.load(std::memory_order_relaxed);
        if ((found & ~contended) == self)
        {
            ++depth_;
            return true;
        }
        return found == 0 &&
               word_.compare_exchange_strong(found, self, std::memory_order_acquire, std::memory_order_relaxed);
    }

    bool enterIfFree(std::uint32_t self) noexcept;
    bool spinAndEnter(std::uint32_t self) noexcept;
    OS_API void awaitTurnAndEnter(std::uint32_t self) noexcept;
    OS_API bool waitAndEnter(std::uint32_t self, int timeoutMs) noexcept;
    OS_API void leaveWatched() noexcept;
    OS_API static void wakeOne(std::atomic<std::uint32_t>* word) noexcept;

    OS_API static constinit Slot slots_[slotCount];

    std::atomic<std::uint32_t> word_{0};
    std::uint32_t depth_ = 0; // of nesting beyond the first level; the owner's alone
};
